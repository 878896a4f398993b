#pragma once

#include <QWidget>

namespace qm {

class SecondaryLabel;

// Tells how many places of a shot match the search, and goes through them. Main thread.
class HitBar : public QWidget
{
    Q_OBJECT

public:
    explicit HitBar(QWidget *parent = nullptr);

    void setHits(qsizetype count, qsizetype current); // hidden without any
    std::function<void(int step)> onStep;             // 1 or -1

private:
    SecondaryLabel *m_count = nullptr;
};

} // namespace qm
