#pragma once

#include <QWidget>

namespace qm {

// Rounded background of a search field.
class FieldGround : public QWidget
{
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace qm
