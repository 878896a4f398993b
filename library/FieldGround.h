#pragma once

#include <QWidget>

namespace qm {

// What a search field stands in: its ground, rounded.
class FieldGround : public QWidget
{
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace qm
