#pragma once

#include <QScrollArea>

namespace qm {

// Scrolls only if the screen is too small: its size hint is the full size of its content. Main thread.
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
};

} // namespace qm
