#pragma once

#include <QLabel>

namespace qm {

// A short text that lights up. Main thread.
class Lamp : public QLabel
{
public:
    explicit Lamp(const QString &text);

    bool isLit() const { return m_lit; }
    void setLit(bool lit);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    bool m_lit = false;
};

} // namespace qm
