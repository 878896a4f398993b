#pragma once

#include <QByteArray>

#include <chrono>
#include <cstdint>
#include <memory>

struct wl_data_device;
struct wl_data_device_manager;
struct wl_data_source;

namespace qm {

class WaylandSeat;
class WaylandServer;

// The clipboard of a compositor that lets a client fill it only in answer to a key or a button. Something is put there while the
// overlay is on the screen, and delivered later: GNOME, which keeps what programs leave there, asks for it at once. One thread.
class ClipboardOffer
{
public:
    enum class What { picture, text };
    // serial: of the key or button. Null where there is data control, by which the application fills the clipboard itself.
    static std::unique_ptr<ClipboardOffer> make(WaylandServer &server, const WaylandSeat &seat, uint32_t serial,
                                                What what);
    ~ClipboardOffer();
    ClipboardOffer(const ClipboardOffer &) = delete;
    ClipboardOffer &operator=(const ClipboardOffer &) = delete;

    // Returns once somebody has read it (who asks and does not read is given 30 s), or something else is on the clipboard, or
    // nobody has asked in five seconds. A picture is a PNG file, a text UTF-8.
    void deliver(const QByteArray &content);

private:
    explicit ClipboardOffer(WaylandServer &server);
    void send(int to);

    WaylandServer &m_server;
    wl_data_device_manager *m_manager = nullptr;
    wl_data_device *m_device = nullptr;
    wl_data_source *m_source = nullptr;
    QByteArray m_content;
    bool m_isOver = false;
};

} // namespace qm
