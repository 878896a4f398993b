#include "helpers/qmscroll/wayland/WlrootsWay.h"

#include "helpers/qmscroll/WheelPace.h"
#include "helpers/qmscroll/wayland/WholePixels.h"
#include "helpers/wayland/Screencopy.h"

#include <algorithm>
#include <protocol/virtual-pointer.h>
#include <thread>
#include <wayland-client-protocol.h>

namespace qm {

namespace {

using namespace std::chrono_literals;

// Null where all of the output is to be taken: also if it is turned, for wlroots 0.15 turns a part the wrong way round.
WholePixels takenFor(const WaylandOutput &output, const RegionPart &part)
{
    const WholePixels all = {{}, part.pixels.topLeft()};
    return output.transform == WL_OUTPUT_TRANSFORM_NORMAL ? wholePixelsAround(part).value_or(all) : all;
}

class ScreencopyFrames : public RegionFrames
{
public:
    ScreencopyFrames(WaylandServer &server, const WaylandOutput &output, const RegionPart &part)
        : m_output(output)
        , m_part(part)
        , m_taken(takenFor(output, part))
        , m_shm(server.bind<wl_shm>(wl_shm_interface, 1))
        , m_screencopy(std::make_unique<Screencopy>(server, m_shm))
    {
    }
    ~ScreencopyFrames() override
    {
        m_screencopy.reset();
        wl_shm_destroy(m_shm);
    }

    QImage grab() override
    {
        const OutputPicture picture = m_screencopy->takePart(m_output, m_taken.logical);
        const QRect part(m_taken.part, m_part.pixels.size());
        if (!picture.pixels || !QRect(QPoint(), picture.size).contains(part))
            return {};
        const auto kept = new std::shared_ptr<uint32_t>(picture.pixels);
        return QImage(
            reinterpret_cast<uchar *>(picture.row(part.y()) + part.x()), part.width(), part.height(),
            picture.stride * 4, QImage::Format_RGB32,
            [](void *pixels) { delete static_cast<std::shared_ptr<uint32_t> *>(pixels); }, kept);
    }

private:
    const WaylandOutput &m_output;
    const RegionPart m_part;
    const WholePixels m_taken; // null: all of the output
    wl_shm *m_shm;
    std::unique_ptr<Screencopy> m_screencopy;
};

class VirtualPointer : public WheelDevice
{
public:
    VirtualPointer(WaylandServer &server, const WaylandOutputs &outputs)
        : m_server(server)
        , m_outputs(outputs)
        , m_manager(server.bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface, 1))
        , m_pointer(zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m_manager, nullptr))
    {
    }
    ~VirtualPointer() override
    {
        zwlr_virtual_pointer_v1_destroy(m_pointer);
        zwlr_virtual_pointer_manager_v1_destroy(m_manager);
        wl_display_flush(m_server.get());
    }

    void movePointer(QPointF to) override
    {
        QRect all;
        for (const std::unique_ptr<WaylandOutput> &output : m_outputs.all())
            all |= output->logical;
        constexpr int unit = 256; // places between whole coordinates are reached as well
        const QPoint at = ((to - all.topLeft()) * unit).toPoint();
        zwlr_virtual_pointer_v1_motion_absolute(m_pointer, now(), uint32_t(std::max(at.x(), 0)),
                                                uint32_t(std::max(at.y(), 0)), uint32_t(all.width() * unit),
                                                uint32_t(all.height() * unit));
        zwlr_virtual_pointer_v1_frame(m_pointer);
        m_server.roundTrip();
    }

    void turn(int clicks) override
    {
        constexpr int click = 15; // the distance that wheels report
        const int direction = clicks < 0 ? -1 : 1;
        for (int left = std::abs(clicks); left > 0; --left) {
            zwlr_virtual_pointer_v1_axis_source(m_pointer, WL_POINTER_AXIS_SOURCE_WHEEL);
            zwlr_virtual_pointer_v1_axis_discrete(m_pointer, now(), WL_POINTER_AXIS_VERTICAL_SCROLL,
                                                  wl_fixed_from_int(click * direction), direction);
            zwlr_virtual_pointer_v1_frame(m_pointer);
            wl_display_flush(m_server.get());
            if (left > 1)
                std::this_thread::sleep_for(WheelPace::interval(clicks));
        }
        m_server.roundTrip();
    }

private:
    static uint32_t now() { return uint32_t(std::chrono::steady_clock::now().time_since_epoch() / 1ms); }

    WaylandServer &m_server;
    const WaylandOutputs &m_outputs;
    zwlr_virtual_pointer_manager_v1 *m_manager;
    zwlr_virtual_pointer_v1 *m_pointer;
};

std::unique_ptr<RegionFrames> frames(WaylandServer &server, const WaylandOutputs &outputs, const RegionPart &part,
                                     QString *failure)
{
    for (const std::unique_ptr<WaylandOutput> &output : outputs.all()) {
        if (output->name == part.output && output->logical == part.logical) // monitors may show the same
            return std::make_unique<ScreencopyFrames>(server, *output, part);
    }
    *failure = QStringLiteral("the region could not be read from the screen");
    return nullptr;
}

std::unique_ptr<WheelDevice> wheel(WaylandServer &server, const WaylandOutputs &outputs)
{
    if (server.globals(zwlr_virtual_pointer_manager_v1_interface).empty())
        return nullptr;
    return std::make_unique<VirtualPointer>(server, outputs);
}

} // namespace

const ScrollWay wlrootsWay = {.isOffered = &Screencopy::isOffered, .frames = &frames, .wheel = &wheel};

} // namespace qm
