#pragma once

#include <QColor>
#include <QWidget>

#include <functional>

namespace qm {

// Colours for one click, the last used first, and a button for any other. Main thread. A popup: a click elsewhere or Escape
// closes it, and it deletes itself.
class SwatchPanel : public QWidget
{
    Q_OBJECT

public:
    static constexpr int count = 8;

    // The callbacks must be set; the panel closes before either is called.
    SwatchPanel(const QColor &current, const std::function<void(const QColor &)> &chosen, std::function<void()> more,
                QWidget *parent);

    void openBelow(const QWidget &button);
    static void markUsed(const QColor &color); // moves it to the front, in the place of the one used longest ago
};

} // namespace qm
