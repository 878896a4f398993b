#include "helpers/qmscroll/ScrollDesktop.h"

#include "helpers/qmscroll/ScrollPanel.h"
#include "helpers/qmscroll/macos/HotKeys.h"
#include "helpers/qmscroll/macos/OverlayWindows.h"
#include "imaging/ImageFile.h"
#include "platform/ChildProcess.h"
#include "platform/SystemStartup.h"
#include "platform/ToolPaths.h"

#include <QCursor>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QGuiApplication>
#include <QLockFile>
#include <QScreen>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <deque>

namespace qm {

namespace {

using namespace std::chrono_literals;
using Input = ScrollDesktop::Input;

constexpr auto longestWait = 200ms;       // a signal does not wake the event loop
constexpr auto releaseLimit = 3s;         // a key reported down for longer is stuck
constexpr unsigned long keyInterval = 20; // ms
constexpr int linesPerClick = 3;          // per click of the wheel

// Desktop pixels are points times the scale of the screen on which the region was drawn, even on other screens: this
// gives every place a coordinate, and those in the region match the picture's pixels.
class MacScrollDesktop : public ScrollDesktop
{
public:
    bool claim() override;
    void waitForRest(const QRect &part) override;
    std::optional<Region> chooseRegion(QString *failure) override;
    QImage grab() override;
    Pointer pointer() override;
    void movePointer(QPoint to) override;
    bool canTurnWheel() const override;
    void turnWheel(int clicks) override;
    void setUserScrolls(bool) override {}
    PanelPlace showFrame() override;
    void showPanel(const QImage &picture) override;
    void hidePanel() override;
    void hideFrame() override;
    Input wait(std::chrono::milliseconds limit) override;
    void letGo() override;

private:
    double scale() const { return m_screen->devicePixelRatio(); }
    QRect pixels(const QRect &points) const;
    QRect points(const QRect &pixels) const;
    void tell(const Input &input);
    void takeKeys();

    std::unique_ptr<QGuiApplication> m_application;
    std::unique_ptr<QLockFile> m_claim;
    QTemporaryDir m_frames;
    QScreen *m_screen = nullptr; // the one with the region
    QRect m_region;              // points
    std::optional<FrameWindow> m_frame;
    std::optional<PanelWindow> m_panel;
    std::optional<HotKeys> m_keys;
    std::deque<Input> m_inputs;
    QEventLoop *m_waiting = nullptr;
};

} // namespace

std::unique_ptr<ScrollDesktop> ScrollDesktop::open(QString *failure)
{
    if (CGMainDisplayID() != kCGNullDirectDisplay)
        return std::make_unique<MacScrollDesktop>();
    *failure = QStringLiteral("no display to capture from");
    return nullptr;
}

bool MacScrollDesktop::claim()
{
    m_claim = std::make_unique<QLockFile>(QDir::tempPath() + QStringLiteral("/quillmere-scroll.lock"));
    m_claim->setStaleLockTime(0); // stale as soon as its process is gone, whatever its age
    return m_claim->tryLock(0);
}

QRect MacScrollDesktop::pixels(const QRect &points) const
{
    return QRectF(QPointF(points.topLeft()) * scale(), QSizeF(points.size()) * scale()).toRect();
}

QRect MacScrollDesktop::points(const QRect &pixels) const
{
    return QRectF(QPointF(pixels.topLeft()) / scale(), QSizeF(pixels.size()) / scale()).toRect();
}

void MacScrollDesktop::tell(const Input &input)
{
    m_inputs.push_back(input);
    if (m_waiting)
        m_waiting->quit();
}

void MacScrollDesktop::takeKeys()
{
    m_keys.emplace([this](HotKeys::Key key) {
        tell({key == HotKeys::Key::enter ? Input::Kind::enter : Input::Kind::escape, {}});
    });
}

// A menu fades for a quarter of a second.
void MacScrollDesktop::waitForRest(const QRect &)
{
    QThread::msleep(300);
}

std::optional<ScrollDesktop::Region> MacScrollDesktop::chooseRegion(QString *failure)
{
    static int argumentCount = 1;
    static char name[] = "qmscroll";
    static char *arguments[] = {name, nullptr};
    m_application = std::make_unique<QGuiApplication>(argumentCount, arguments);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    SystemStartup::becomeAccessory();
    if (!m_frames.isValid()) {
        *failure = m_frames.errorString();
        return {};
    }

    std::vector<std::unique_ptr<RegionWindow>> windows;
    for (QScreen *screen : QGuiApplication::screens()) {
        windows.push_back(std::make_unique<RegionWindow>(screen, [this, screen](QRect drawn) {
            m_screen = screen;
            m_region = drawn;
            tell({Input::Kind::release, {}});
        }));
        windows.back()
            ->show(); // not raise(): Qt would make this the front application instead of the one to be scrolled
    }
    takeKeys();
    Input::Kind end = Input::Kind::none;
    while (end != Input::Kind::release && end != Input::Kind::escape)
        end = wait(longestWait).kind;
    m_keys.reset();
    if (end != Input::Kind::release)
        return {};
    return Region{.area = pixels(m_region),
                  .scale = scale(),
                  .pictureScale = std::max(1, qRound(scale())),
                  .before = {}}; // the first frame is joined once it no longer changes
}

// Uses the system's capture tool. A frame takes it a few tenths of a second, but it needs no permission beyond the one
// captures need anyway; ScreenCaptureKit would be faster, but is only for Objective-C and its queues.
QImage MacScrollDesktop::grab()
{
    const std::optional<QString> tool = toolPaths().capture;
    if (!tool)
        return {};
    const QString path = m_frames.filePath(QStringLiteral("frame.png"));
    const QRect region = m_region;
    const QString area =
        QStringLiteral("-R%1,%2,%3,%4").arg(region.x()).arg(region.y()).arg(region.width()).arg(region.height());
    QFile::remove(path);
    ChildProcess::run(*tool, {QStringLiteral("-x"), area, path}); // -x: no sound; waiting is fine here
    const QImage frame = ImageFile::load(path).image.pixels;
    return frame.size() == pixels(region).size() ? frame.convertToFormat(QImage::Format_RGB32) : QImage();
}

ScrollDesktop::Pointer MacScrollDesktop::pointer()
{
    constexpr uint64_t changesTheWheel =
        uint64_t(kCGEventFlagMaskShift) | kCGEventFlagMaskControl | kCGEventFlagMaskAlternate | kCGEventFlagMaskCommand;
    const bool key = CGEventSourceFlagsState(kCGEventSourceStateCombinedSessionState) & changesTheWheel;
    const bool button = CGEventSourceButtonState(kCGEventSourceStateCombinedSessionState, kCGMouseButtonLeft);
    return {(QPointF(QCursor::pos()) * scale()).toPoint(), key || button};
}

void MacScrollDesktop::movePointer(QPoint to)
{
    CGWarpMouseCursorPosition({to.x() / scale(), to.y() / scale()});
    CGAssociateMouseAndMouseCursorPosition(true); // otherwise the mouse would be ignored for a quarter of a second
}

bool MacScrollDesktop::canTurnWheel() const
{
    return CGPreflightPostEventAccess(); // included in the accessibility permission
}

void MacScrollDesktop::turnWheel(int clicks)
{
    // Quartz counts upwards.
    const CGEventRef event =
        CGEventCreateScrollWheelEvent(nullptr, kCGScrollEventUnitLine, 1, int32_t(-clicks * linesPerClick));
    if (!event)
        return;
    CGEventPost(kCGSessionEventTap, event);
    CFRelease(event);
}

PanelPlace MacScrollDesktop::showFrame()
{
    m_frame.emplace(m_region);
    m_frame->show();

    const auto screenOf = [&](const QScreen *screen) {
        return PanelScreen{pixels(screen->availableGeometry()), scale()};
    };
    QList<PanelScreen> others;
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen != m_screen)
            others.append(screenOf(screen));
    }
    const PanelPlace place = placePanel(pixels(FrameWindow::outerArea(m_region)), screenOf(m_screen), others);
    m_panel.emplace(points(QRect(place.at, ScrollPanel::size(place.shape, place.scale))), place.scale,
                    [this](const Input &input) { tell(input); });
    takeKeys();
    return place;
}

void MacScrollDesktop::showPanel(const QImage &picture)
{
    m_panel->setPicture(picture);
    if (!m_panel->isVisible())
        m_panel->show();
}

void MacScrollDesktop::hidePanel()
{
    m_panel->hide();
}

void MacScrollDesktop::hideFrame()
{
    m_frame->hide();
}

ScrollDesktop::Input MacScrollDesktop::wait(std::chrono::milliseconds limit)
{
    if (m_inputs.empty()) {
        QEventLoop loop;
        m_waiting = &loop;
        QTimer::singleShot(std::min<std::chrono::milliseconds>(limit, longestWait), &loop, &QEventLoop::quit);
        loop.exec();
        m_waiting = nullptr;
    }
    if (m_inputs.empty())
        return {};
    const Input input = m_inputs.front();
    m_inputs.pop_front();
    return input;
}

void MacScrollDesktop::letGo()
{
    const QDeadlineTimer deadline(releaseLimit);
    while (!HotKeys::areUp() && !deadline.hasExpired())
        QThread::msleep(keyInterval);
    m_keys.reset();
    m_claim->unlock();
}

} // namespace qm
