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
    // Where one cannot look on until what was above has gone: compositors fade it for up to 250.
    static constexpr std::chrono::milliseconds restTime{400};

    // Unseen: the screen is frozen, and covered with something that cannot be seen: only so does one learn where the pointer
    // is. Absent: it is frozen, and that is all.
    enum class Kind { covering, unseen, absent };
    // The windows that were on the screen, in the words of whoever knows them.
    struct Windows {
        enum class Source { nobody, sway, kwin } source = Source::nobody;
        std::string text = {};     // as swayTree() or KWinWindows::list() have it
        bool havePictures = false; // of their own, which KWin gives
    };
    // What there may be in place of pictures. Denied: the user did not allow them, some time ago. Dialog: the desktop lets the
    // user choose by one of its own, and tells nothing before.
    enum class Instead { cancelled, failed, denied, dialog };
    struct Frozen {
        std::vector<OutputPicture> pictures = {}; // of all monitors
        Windows windows = {};
        Instead instead = Instead::cancelled; // if there are no pictures
        std::string reason = {};              // of a failure, or a denial
    };
    // byDesktop is how it is done wherever the compositor does not offer its pixels. Returns once all has been sent to the
    // compositor.
    enum class Freeze { byCompositor, byDesktop };
    WaylandCurtain(WaylandServer &server, Kind kind, Freeze freeze,
                   const std::function<Frozen(const WaylandOutputs &)> &byDesktop);
    Q_DISABLE_COPY_MOVE(WaylandCurtain)

    bool isUp() const { return !m_frozen.pictures.empty(); } // however little of it is to be seen
    Instead instead() const { return m_frozen.instead; }     // if it is not
    const std::string &reason() const { return m_frozen.reason; }

    WaylandServer &server() const { return m_server; }
    WaylandSeat &seat() { return m_seat; }
    const SurfaceGlobals &globals() const { return m_globals; }
    // By monitor, in the same order. No surfaces if the curtain is absent.
    const WaylandOutputs &outputs() const { return m_outputs; }
    const std::vector<OutputPicture> &pictures() const { return m_frozen.pictures; }
    const std::vector<std::unique_ptr<OutputSurface>> &surfaces() const { return m_surfaces; }
    const Windows &windows() const { return m_frozen.windows; }

    void lift(); // takes it off the screen

private:
    void openSurfaces();
    void makeBuffers(Kind kind);
    void show(Kind kind);
    void giveUp(const char *reason);

    WaylandServer &m_server;
    const SurfaceGlobals m_globals;
    WaylandSeat m_seat;
    const WaylandOutputs m_outputs;
    Frozen m_frozen;
    std::vector<std::unique_ptr<OutputSurface>> m_surfaces;
};

} // namespace qm
