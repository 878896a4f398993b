#pragma once

#include "platform/wayland/WaylandServer.h"

#include <QRect>

struct wl_output;
struct zxdg_output_manager_v1;
struct zxdg_output_v1;

namespace qm {

// A monitor as the compositor describes it.
struct WaylandOutput {
    uint32_t id = 0; // of its global
    wl_output *handle = nullptr;
    std::string name = {}; // "DP-1"
    QRect logical = {};    // its place among the others, in the compositor's coordinates
    QSize mode = {};       // pixels, before the transform
    QSize pixels() const { return transform % 2 ? mode.transposed() : mode; }
    int transform = 0; // a wl_output.transform: how the screen is turned
    int scale = 1;     // what the compositor asks of clients that know whole scales only
};

// The compositor's monitors when the capture began. One thread.
class WaylandOutputs
{
public:
    explicit WaylandOutputs(WaylandServer &server); // one round trip
    ~WaylandOutputs();
    Q_DISABLE_COPY_MOVE(WaylandOutputs)

    const std::vector<std::unique_ptr<WaylandOutput>> &all() const { return m_outputs; }
    bool haveChanged() const; // a monitor came, went, or became another size

private:
    WaylandServer &m_server;
    std::vector<std::unique_ptr<WaylandOutput>> m_outputs, m_switchedOff;
    zxdg_output_manager_v1 *m_places = nullptr;
    std::vector<zxdg_output_v1 *> m_details;
    struct Shape {
        QRect logical;
        QSize mode;
        int transform;
        int scale;
        bool operator==(const Shape &) const = default;
    };
    static Shape shape(const WaylandOutput &output);
    std::vector<Shape> m_atFirst;
};

} // namespace qm
