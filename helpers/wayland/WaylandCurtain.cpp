#include "helpers/wayland/WaylandCurtain.h"

#include "helpers/curtain/Dimming.h"
#include "helpers/wayland/Screencopy.h"
#include "helpers/wayland/SwayWindows.h"

#include <algorithm>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto configureLimit = 2s; // of a compositor that is busy

static OutputSurface::Alpha alphaOf(WaylandCurtain::Kind kind)
{
    return kind == WaylandCurtain::Kind::unseen ? OutputSurface::Alpha::clear : OutputSurface::Alpha::opaque;
}

WaylandCurtain::WaylandCurtain(WaylandServer &server, Kind kind, Freeze how,
                               const std::function<Frozen(const WaylandOutputs &)> &byDesktop)
    : m_server(server)
    , m_globals(server)
    , m_seat(server)
    , m_outputs(server)
{
    if (m_outputs.all().empty() || !m_globals.suffice()) {
        giveUp("this compositor shows no monitor, or lets nothing be shown on one");
        return;
    }
    const bool isQuick = how == Freeze::byCompositor && Screencopy::isOffered(m_server);
    if (isQuick && kind != Kind::absent)
        openSurfaces(); // the compositor says how large they are while it copies; nothing is seen of them yet
    if (isQuick)
        m_frozen.pictures = Screencopy(m_server, m_globals.shm).take(m_outputs, [&] { makeBuffers(kind); });
    if (!isUp()) {
        m_surfaces.clear();
        m_frozen = byDesktop(m_outputs);
    }
    if (isUp() && kind != Kind::absent) {
        if (m_surfaces.empty())
            openSurfaces();
        show(kind);
    }
    // Last, because asking takes a moment; the curtain is not among the windows that sway tells of.
    if (isUp() && m_frozen.windows.source == Windows::Source::nobody)
        m_frozen.windows = {Windows::Source::sway, swayTree()};
}

void WaylandCurtain::lift()
{
    m_surfaces.clear();
    wl_display_flush(m_server.get());
}

void WaylandCurtain::openSurfaces()
{
    for (const std::unique_ptr<WaylandOutput> &output : m_outputs.all())
        m_surfaces.push_back(std::make_unique<OutputSurface>(m_globals, *output));
    wl_display_flush(m_server.get());
}

// Ahead of the pictures, which nearly always have the size of the monitor's mode.
void WaylandCurtain::makeBuffers(Kind kind)
{
    for (size_t i = 0; i < m_surfaces.size(); ++i) {
        m_surfaces[i]->setPixels(m_outputs.all()[i]->pixels());
        if (ShmBuffer *buffer = m_surfaces[i]->idleBuffer(alphaOf(kind)))
            buffer->populate();
    }
}

void WaylandCurtain::giveUp(const char *reason)
{
    m_frozen = {};
    m_frozen.instead = Instead::failed;
    m_frozen.reason = reason;
}

void WaylandCurtain::show(Kind kind)
{
    // While the compositor makes up its mind, the pictures are dimmed.
    std::vector<ShmBuffer *> buffers;
    for (size_t i = 0; i < m_surfaces.size(); ++i) {
        const OutputPicture &picture = m_frozen.pictures[i];
        m_surfaces[i]->setPixels(picture.size);
        ShmBuffer *buffer = m_surfaces[i]->idleBuffer(alphaOf(kind));
        if (!buffer)
            return giveUp("not enough memory for the picture of a monitor");
        for (int y = 0; kind == Kind::covering && y < picture.size.height(); ++y)
            dim(buffer->pixels() + size_t(y) * size_t(picture.size.width()), picture.row(y),
                size_t(picture.size.width()));
        buffers.push_back(buffer);
    }
    const bool configured = m_server.waitFor(
        [this] {
            return std::all_of(m_surfaces.begin(), m_surfaces.end(),
                               [](const auto &surface) { return surface->isConfigured() || surface->isClosed(); });
        },
        configureLimit);
    if (!configured)
        return giveUp("the compositor does not show anything");
    for (size_t i = 0; i < m_surfaces.size(); ++i) {
        const QRect all(QPoint(), m_frozen.pictures[i].size);
        m_surfaces[i]->show(*buffers[i], {&all, 1});
    }
    wl_display_flush(m_server.get());
}

} // namespace qm
