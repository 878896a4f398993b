#pragma once

#include <QLabel>

namespace qm {

// A text in the secondary colour, centred, on as many lines as it needs.
class SecondaryLabel : public QLabel
{
public:
    explicit SecondaryLabel(const QString &text, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace qm
