#include "helpers/qmscroll/wayland/KWinWay.h"

#include "helpers/qmscroll/WheelPace.h"
#include "helpers/qmscroll/wayland/WholePixels.h"
#include "helpers/wayland/desktop/DesktopFreeze.h"
#include "helpers/wayland/desktop/KWinScreenShot.h"
#include "helpers/wayland/desktop/UserBus.h"

#include <cstdlib>
#include <protocol/fake-input.h>
#include <thread>
#include <wayland-client-protocol.h>

namespace qm {

namespace {

// Each is drawn for the question, so it is never older than that.
class ScreenShotFrames : public RegionFrames
{
public:
    explicit ScreenShotFrames(const RegionPart &part)
        : m_part(part)
        , m_taken(wholePixelsAround(part))
    {
    }
    QImage grab() override
    {
        const QImage taken =
            m_taken ? KWinScreenShot::takeArea(m_bus, m_taken->logical.translated(m_part.logical.topLeft()))
                    : KWinScreenShot::takeMonitor(m_bus, m_part.output);
        const QRect part(m_taken ? m_taken->part : m_part.pixels.topLeft(), m_part.pixels.size());
        if (part == taken.rect())
            return taken;
        return taken.rect().contains(part) ? taken.copy(part) : QImage(); // otherwise the monitor has become another
    }

private:
    const UserBus m_bus;
    const RegionPart m_part;
    const std::optional<WholePixels> m_taken; // of the monitor; std::nullopt: all of it
};

constexpr double click = 10; // KWin says nothing of clicks to other programs: ten units are one to all toolkits

class Wheel : public WheelDevice
{
public:
    Wheel(WaylandServer &server, org_kde_kwin_fake_input *device)
        : m_server(server)
        , m_device(device)
    {
        org_kde_kwin_fake_input_authenticate(device, "Quillmere", "scrolling captures");
    }
    ~Wheel() override { org_kde_kwin_fake_input_destroy(m_device); }

    void movePointer(QPointF to) override
    {
        org_kde_kwin_fake_input_pointer_motion_absolute(m_device, wl_fixed_from_double(to.x()),
                                                        wl_fixed_from_double(to.y()));
        m_server.roundTrip();
    }
    void turn(int clicks) override
    {
        const auto interval = WheelPace::interval(clicks);
        for (int i = 0; i < std::abs(clicks); ++i) {
            if (i > 0)
                std::this_thread::sleep_for(interval);
            org_kde_kwin_fake_input_axis(m_device, WL_POINTER_AXIS_VERTICAL_SCROLL,
                                         wl_fixed_from_double(clicks < 0 ? -click : click));
            wl_display_flush(m_server.get());
        }
        m_server.roundTrip();
    }

private:
    WaylandServer &m_server;
    org_kde_kwin_fake_input *const m_device;
};

bool isOffered(const WaylandServer &server)
{
    return !server.globals(org_kde_kwin_fake_input_interface).empty();
}

std::unique_ptr<RegionFrames> openFrames(WaylandServer &, const WaylandOutputs &, const RegionPart &part,
                                         QString *failure)
{
    auto frames = std::make_unique<ScreenShotFrames>(part);
    if (!frames->grab().isNull())
        return frames;
    *failure = noPictureOfScreen();
    return nullptr;
}

std::unique_ptr<WheelDevice> openWheel(WaylandServer &server, const WaylandOutputs &)
{
    auto *const device = server.bind<org_kde_kwin_fake_input>(org_kde_kwin_fake_input_interface, 3);
    return device ? std::make_unique<Wheel>(server, device) : nullptr;
}

} // namespace

const ScrollWay kwinWay = {isOffered, openFrames, openWheel};

} // namespace qm
