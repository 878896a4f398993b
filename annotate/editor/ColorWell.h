#pragma once

#include <QColorDialog>
#include <QPointer>
#include <QToolButton>

#include <functional>

namespace qm {

// A button that shows a colour and opens a panel of colours, and from there the system's dialog, beside the window or,
// where there is no room, where it hides least of what is being coloured. Main thread.
class ColorWell : public QToolButton
{
    Q_OBJECT

public:
    explicit ColorWell(QWidget *parent);

    void setColor(const QColor &color);           // does not call onChange
    std::function<void(const QColor &)> onChange; // called while the user is choosing; always opaque
    // What the dialog should cover least, on the screen, the most important first; nothing but its window if empty.
    std::function<QList<QRect>()> keepInSight;

    QSize sizeHint() const override { return {34, 28}; }
    QSize minimumSizeHint() const override { return {26, 28}; }

protected:
    void paintEvent(QPaintEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void choose();
    void openDialog();

    QColor m_color;
    QPointer<QColorDialog> m_dialog;
};

} // namespace qm
