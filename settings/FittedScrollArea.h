#pragma once

#include <QEvent>
#include <QScreen>
#include <QScrollArea>

#include <algorithm>
#include <utility>

namespace qm {

// Scrolls only if the screen is too small: its size hint is the full size of its content, and when the content grows, the
// window does. Main thread.
class FittedScrollArea : public QScrollArea
{
public:
    explicit FittedScrollArea(QWidget *content)
    {
        setWidget(content);
        setWidgetResizable(true);
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
    }

    QSize sizeHint() const override { return widget()->sizeHint(); }

protected:
    bool eventFilter(QObject *object, QEvent *event) override
    {
        const bool filtered = QScrollArea::eventFilter(object, event);
        if (object == widget() && event->type() == QEvent::LayoutRequest)
            growWindow();
        return filtered;
    }

private:
    // By no more than the content has grown: the user may have made the window smaller.
    void growWindow()
    {
        const int needed = widget()->sizeHint().height();
        const int grown = needed - std::exchange(m_needed, needed);
        const int lacking = std::min(grown, needed - viewport()->height());
        const int room = screen()->availableGeometry().bottom() - window()->frameGeometry().bottom();
        if (isVisible() && !window()->isMaximized() && std::min(lacking, room) > 0)
            window()->resize(window()->size() + QSize(0, std::min(lacking, room)));
    }

    int m_needed = 0;
};

} // namespace qm
