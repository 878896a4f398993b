#pragma once

#include "annotate/document/Annotation.h"

#include <QToolButton>

#include <functional>

namespace qm {

// A button that shows what lies behind texts, nothing, light or dark, and steps through the three. Main thread.
class PlateButton : public QToolButton
{
    Q_OBJECT

public:
    explicit PlateButton(QWidget *parent);

    void setPlate(Annotation::Plate plate); // does not call onChange
    std::function<void(Annotation::Plate)> onChange;

    QSize sizeHint() const override { return {34, 28}; }
    QSize minimumSizeHint() const override { return {26, 28}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void describe();

    Annotation::Plate m_plate = Annotation::Plate::none;
};

} // namespace qm
