#pragma once

#include "platform/TaskQueue.h"
#include "ui/FloatingPanel.h"

#include <QImage>
#include <QPointF>

#include <functional>
#include <memory>
#include <optional>

namespace qm {

class IconButton;

// One capture's card: the thumbnail, below it a row of buttons. Slides in, stays for 4 s and for as long as the pointer is on
// it, slides out. Main thread. Owned through a shared_ptr, since it must outlive a drag that began on it.
class CardWindow : public FloatingPanel, public std::enable_shared_from_this<CardWindow>
{
public:
    struct Actions {
        std::function<void()> open, copy, reveal, trash;
        std::function<void()> gone; // has slid out, or was closed: its owner drops it
    };

    static std::shared_ptr<CardWindow> make(const QString &file, const QImage &thumbnail, QScreen &monitor,
                                            Actions actions, TaskQueue &time);

    void slideIn();

    static constexpr QSize maxThumbnail{224, 150}; // points

protected:
    void paintEvent(QPaintEvent *event) override;
    void enterEvent(QEnterEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void dragEnded(bool isDropped) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    CardWindow(const QString &file, const QImage &thumbnail, QScreen &monitor, Actions actions, TaskQueue &time);
    IconButton *addButton(const QString &symbol, const QString &name, int x, std::function<void()> clicked);
    void slide(int direction);
    void waitToLeave();
    void open();
    void drag();

    QString m_file;
    QImage m_thumbnail; // in the monitor's pixels
    Actions m_actions;
    TaskQueue &m_time;
    Timer m_frame; // of the slide
    Timer m_leave;
    int m_framesIn = 0; // of those that sliding in takes
    std::optional<QPointF> m_press;
    bool m_dragging = false;
};

} // namespace qm
