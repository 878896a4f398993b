#pragma once

#include "helpers/wayland/OutputPicture.h"
#include "helpers/wayland/OutputSurface.h"
#include "helpers/wayland/WaylandOutputs.h"
#include "helpers/wayland/WaylandSeat.h"

#include <functional>
#include <string>

namespace qm {

// Freezes all monitors and covers them with their frozen, dimmed pictures, so that the user sees at once that the key worked.
// One thread.
class WaylandCurtain
{
public:
    // Unseen: the screen is frozen, and covered with something that cannot be seen: only so does one learn where the pointer
    // is. Absent: it is frozen, and that is all.
    enum class Kind { covering, unseen, absent };
    // The pictures of all monitors. Without any, and without a failure, the user has cancelled.
    struct Frozen {
        std::vector<OutputPicture> pictures = {};
        std::string failure = {};
    };
    // byDesktop is how it is done wherever the compositor does not offer its pixels. Returns once all has been sent to the
    // compositor.
    enum class Freeze { byCompositor, byDesktop };
    WaylandCurtain(WaylandServer &server, Kind kind, Freeze freeze,
                   const std::function<Frozen(const WaylandOutputs &)> &byDesktop);
    Q_DISABLE_COPY_MOVE(WaylandCurtain)

    bool isCancelled() const { return m_pictures.empty() && m_failure.empty(); }
    const std::string &failure() const { return m_failure; } // empty, or why there is no curtain

    WaylandServer &server() const { return m_server; }
    WaylandSeat &seat() { return m_seat; }
    const SurfaceGlobals &globals() const { return m_globals; }
    // By monitor, in the same order. No surfaces if the curtain is absent.
    const WaylandOutputs &outputs() const { return m_outputs; }
    const std::vector<OutputPicture> &pictures() const { return m_pictures; }
    const std::vector<std::unique_ptr<OutputSurface>> &surfaces() const { return m_surfaces; }
    const std::string &windows() const { return m_windows; } // as swayTree() has them

    void lift(); // takes it off the screen

private:
    void openSurfaces();
    void show(Kind kind);

    WaylandServer &m_server;
    const SurfaceGlobals m_globals;
    WaylandSeat m_seat;
    const WaylandOutputs m_outputs;
    std::vector<OutputPicture> m_pictures;
    std::vector<std::unique_ptr<OutputSurface>> m_surfaces;
    std::string m_windows;
    std::string m_failure;
};

} // namespace qm
