#pragma once

#include <QLabel>

namespace qm {

// Text in the secondary colour, wrapped, and centred unless told otherwise.
class SecondaryLabel : public QLabel
{
public:
    explicit SecondaryLabel(const QString &text, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace qm
