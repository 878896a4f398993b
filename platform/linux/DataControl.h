#pragma once

#include <QMimeData>

#include <memory>

class QSocketNotifier;
struct wl_seat;
struct zwlr_data_control_device_v1;
struct zwlr_data_control_manager_v1;
struct zwlr_data_control_source_v1;

namespace qm {

class WaylandServer;

// The clipboard of a Wayland compositor with wlroots' data control, on a connection of its own. Main thread; what is pasted
// is written to the other program on a thread, as that may take its time.
class DataControl
{
public:
    // Null without such a compositor, and once it has gone.
    static DataControl *shared();
    ~DataControl();
    Q_DISABLE_COPY_MOVE(DataControl)

    void set(std::unique_ptr<QMimeData> content); // null: nothing
    bool holds(const QMimeData *content) const { return content && content == m_content.get(); }

private:
    DataControl();
    bool isUsable() const;
    void send(const char *type, int file) const;
    void drop();

    std::unique_ptr<WaylandServer> m_server;
    std::unique_ptr<QSocketNotifier> m_notifier;
    wl_seat *m_seat = nullptr;
    zwlr_data_control_manager_v1 *m_manager = nullptr;
    zwlr_data_control_device_v1 *m_device = nullptr;
    zwlr_data_control_source_v1 *m_source = nullptr;
    std::unique_ptr<QMimeData> m_content;
};

} // namespace qm
