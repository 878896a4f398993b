#pragma once

#include "helpers/wayland/OutputPicture.h"
#include "helpers/wayland/WaylandOutputs.h"

#include <array>
#include <functional>

struct wl_shm;
struct zwlr_screencopy_manager_v1;

namespace qm {

// Takes pictures of monitors with wlroots' screencopy protocol. One thread.
class Screencopy
{
public:
    static bool isOffered(const WaylandServer &server);

    Screencopy(WaylandServer &server, wl_shm *shm);
    ~Screencopy();
    Q_DISABLE_COPY_MOVE(Screencopy)

    // One picture for each output, all requested together and without the pointer. Empty if the compositor refuses one, or
    // does not answer for five seconds. meanwhile is called while it copies, which takes several milliseconds.
    std::vector<OutputPicture> take(const WaylandOutputs &outputs, const std::function<void()> &meanwhile);

    // The same of a part of one output, in its logical coordinates. Null: all of it. No picture if the compositor refuses. The
    // second call after this one reuses the memory.
    OutputPicture takePart(const WaylandOutput &output, const QRect &part);

private:
    WaylandServer &m_server;
    wl_shm *m_shm;
    zwlr_screencopy_manager_v1 *m_manager;
    std::array<std::shared_ptr<ShmBuffer>, 2> m_parts;
};

} // namespace qm
