#pragma once

#include <QMimeData>

#include <atomic>
#include <memory>
#include <thread>

struct wl_seat;
struct zwlr_data_control_device_v1;
struct zwlr_data_control_manager_v1;
struct zwlr_data_control_source_v1;

namespace qm {

class WaylandServer;

// The clipboard of a Wayland compositor with wlroots' data control, on a connection of its own. Main thread. A thread of its
// own answers those who paste: one of them may be a window of this program, and the main thread waits for the answer then.
class DataControl
{
public:
    // Null without such a compositor, and once it has gone.
    static DataControl *shared();
    ~DataControl();
    Q_DISABLE_COPY_MOVE(DataControl)

    void set(std::unique_ptr<QMimeData> content); // null: nothing. It is read on another thread, too
    bool holds(const QMimeData *content) const { return content && m_offer && content == m_offer->content.get(); }

private:
    // What one source offers. It belongs to the thread that answers until the compositor has cancelled the source.
    struct Offer {
        std::shared_ptr<const QMimeData> content;
    };
    // Outlives this object where the compositor hangs, and the thread with it.
    struct Connection {
        std::unique_ptr<WaylandServer> server;
        std::atomic<bool> ends = false;   // said by the main thread
        std::atomic<bool> isOver = false; // by the other: nothing is answered any more
        ~Connection();
    };

    DataControl();
    bool isUsable() const;

    const std::shared_ptr<Connection> m_connection;
    wl_seat *m_seat = nullptr;
    zwlr_data_control_manager_v1 *m_manager = nullptr;
    zwlr_data_control_device_v1 *m_device = nullptr;
    std::shared_ptr<Offer> m_offer; // the newest
    std::thread m_answers;
};

} // namespace qm
