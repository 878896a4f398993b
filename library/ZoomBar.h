#pragma once

#include "library/PictureZoom.h"

#include <QWidget>

#include <functional>

class QToolButton;

namespace qm {

class SecondaryLabel;

// Tells how large a picture is shown, and changes it. Main thread.
class ZoomBar : public QWidget
{
    Q_OBJECT

public:
    explicit ZoomBar(QWidget *parent = nullptr);

    // percentage: of the picture's own size, 0 if there is none. The button for its width is for tall pictures only.
    void setZoom(const PictureZoom &zoom, double percentage, bool isTall);
    std::function<void(const PictureZoom &zoom)> onZoom;

private:
    QToolButton *addButton(const QString &title, const QString &help, const PictureZoom &zoom);

    SecondaryLabel *m_percentage = nullptr;
    QToolButton *m_all = nullptr;
    QToolButton *m_width = nullptr;
    QToolButton *m_actual = nullptr;
};

} // namespace qm
