#pragma once

#include <QEvent>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

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
        const QSize needed = widget()->sizeHint();
        const int grown = needed.height() - std::exchange(m_needed, needed.height());
        const int lacking = std::min(grown, needed.height() - viewport()->height());
        if (lacking <= 0 || !isVisible() || window()->isMaximized())
            return;
        const int room = screen()->availableGeometry().bottom() - window()->frameGeometry().bottom();
        const int bar = lacking > room ? verticalScrollBar()->sizeHint().width() : 0; // takes no width from the content
        const QSize more(needed.width() + bar - width(), std::min(lacking, room));
        window()->resize(window()->size() + more.expandedTo({0, 0}));
    }

    int m_needed = 0;
};

} // namespace qm
