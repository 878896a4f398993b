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

} // namespace

// Desktop pixels are points times the scale of the screen on which the region was drawn, even on other screens: this
// gives every place a coordinate, and those in the region match the picture's pixels.
struct ScrollDesktop::State {
    std::unique_ptr<QGuiApplication> application;
    std::unique_ptr<QLockFile> claim;
    QTemporaryDir frames;
    QScreen *screen = nullptr; // the one with the region
    QRect region;              // points
    std::optional<FrameWindow> frame;
    std::optional<PanelWindow> panel;
    std::optional<HotKeys> keys;
    std::deque<Input> inputs;
    QEventLoop *waiting = nullptr;

    double scale() const { return screen->devicePixelRatio(); }
    QRect pixels(const QRect &points) const
    {
        return QRectF(QPointF(points.topLeft()) * scale(), QSizeF(points.size()) * scale()).toRect();
    }
    QRect points(const QRect &pixels) const
    {
        return QRectF(QPointF(pixels.topLeft()) / scale(), QSizeF(pixels.size()) / scale()).toRect();
    }

    void tell(const Input &input)
    {
        inputs.push_back(input);
        if (waiting)
            waiting->quit();
    }
    void takeKeys()
    {
        keys.emplace([this](HotKeys::Key key) {
            tell({key == HotKeys::Key::enter ? Input::Kind::enter : Input::Kind::escape, {}});
        });
    }
    Input wait(std::chrono::milliseconds limit)
    {
        if (inputs.empty()) {
            QEventLoop loop;
            waiting = &loop;
            QTimer::singleShot(limit, &loop, &QEventLoop::quit);
            loop.exec();
            waiting = nullptr;
        }
        if (inputs.empty())
            return {};
        const Input input = inputs.front();
        inputs.pop_front();
        return input;
    }
};

ScrollDesktop::ScrollDesktop()
    : m_state(std::make_unique<State>())
{
}

ScrollDesktop::~ScrollDesktop() = default;

ScrollDesktop::Opened ScrollDesktop::open()
{
    if (CGMainDisplayID() == kCGNullDirectDisplay)
        return Opened::no;
    m_state->claim = std::make_unique<QLockFile>(QDir::tempPath() + QStringLiteral("/quillmere-scroll.lock"));
    m_state->claim->setStaleLockTime(0); // stale as soon as its process is gone, whatever its age
    return m_state->claim->tryLock(0) ? Opened::yes : Opened::busy;
}

// A menu fades for a quarter of a second.
void ScrollDesktop::waitForRest(const QRect &)
{
    QThread::msleep(300);
}

std::optional<ScrollDesktop::Region> ScrollDesktop::chooseRegion(QString *failure)
{
    static int argumentCount = 1;
    static char name[] = "qmscroll";
    static char *arguments[] = {name, nullptr};
    m_state->application = std::make_unique<QGuiApplication>(argumentCount, arguments);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    SystemStartup::becomeAccessory();
    if (!m_state->frames.isValid()) {
        *failure = m_state->frames.errorString();
        return {};
    }

    std::vector<std::unique_ptr<RegionWindow>> windows;
    for (QScreen *screen : QGuiApplication::screens()) {
        windows.push_back(std::make_unique<RegionWindow>(screen, [this, screen](QRect drawn) {
            m_state->screen = screen;
            m_state->region = drawn;
            m_state->tell({Input::Kind::release, {}});
        }));
        windows.back()
            ->show(); // not raise(): Qt would make this the front application instead of the one to be scrolled
    }
    m_state->takeKeys();
    Input::Kind end = Input::Kind::none;
    while (end != Input::Kind::release && end != Input::Kind::escape)
        end = m_state->wait(longestWait).kind;
    m_state->keys.reset();
    if (end != Input::Kind::release)
        return {};
    return Region{.area = m_state->pixels(m_state->region),
                  .scale = m_state->scale(),
                  .pictureScale = std::max(1, qRound(m_state->scale())),
                  .before = {}}; // the first frame is joined once it no longer changes
}

// Uses the system's capture tool. A frame takes it a few tenths of a second, but it needs no permission beyond the one
// captures need anyway; ScreenCaptureKit would be faster, but is only for Objective-C and its queues.
QImage ScrollDesktop::grab()
{
    const std::optional<QString> tool = toolPaths().capture;
    if (!tool)
        return {};
    const QString path = m_state->frames.filePath(QStringLiteral("frame.png"));
    const QRect region = m_state->region;
    const QString area =
        QStringLiteral("-R%1,%2,%3,%4").arg(region.x()).arg(region.y()).arg(region.width()).arg(region.height());
    QFile::remove(path);
    ChildProcess::run(*tool, {QStringLiteral("-x"), area, path}); // -x: no sound; waiting is fine here
    const QImage frame = ImageFile::load(path).image.pixels;
    return frame.size() == m_state->pixels(region).size() ? frame.convertToFormat(QImage::Format_RGB32) : QImage();
}

ScrollDesktop::Pointer ScrollDesktop::pointer() const
{
    constexpr uint64_t changesTheWheel =
        uint64_t(kCGEventFlagMaskShift) | kCGEventFlagMaskControl | kCGEventFlagMaskAlternate | kCGEventFlagMaskCommand;
    const bool key = CGEventSourceFlagsState(kCGEventSourceStateCombinedSessionState) & changesTheWheel;
    const bool button = CGEventSourceButtonState(kCGEventSourceStateCombinedSessionState, kCGMouseButtonLeft);
    return {(QPointF(QCursor::pos()) * m_state->scale()).toPoint(), key || button};
}

void ScrollDesktop::movePointer(QPoint to)
{
    CGWarpMouseCursorPosition({to.x() / m_state->scale(), to.y() / m_state->scale()});
    CGAssociateMouseAndMouseCursorPosition(true); // otherwise the mouse would be ignored for a quarter of a second
}

bool ScrollDesktop::canTurnWheel() const
{
    return CGPreflightPostEventAccess(); // included in the accessibility permission
}

void ScrollDesktop::turnWheel(int clicks)
{
    // Quartz counts upwards.
    const CGEventRef event =
        CGEventCreateScrollWheelEvent(nullptr, kCGScrollEventUnitLine, 1, int32_t(-clicks * linesPerClick));
    if (!event)
        return;
    CGEventPost(kCGSessionEventTap, event);
    CFRelease(event);
}

PanelPlace ScrollDesktop::showFrame()
{
    State &state = *m_state;
    state.frame.emplace(state.region);
    state.frame->show();

    const auto screenOf = [&](const QScreen *screen) {
        return PanelScreen{state.pixels(screen->availableGeometry()), state.scale()};
    };
    QList<PanelScreen> others;
    for (const QScreen *screen : QGuiApplication::screens()) {
        if (screen != state.screen)
            others.append(screenOf(screen));
    }
    const PanelPlace place =
        placePanel(state.pixels(FrameWindow::outerArea(state.region)), screenOf(state.screen), others);
    state.panel.emplace(state.points(QRect(place.at, ScrollPanel::size(place.shape, place.scale))), place.scale,
                        [&state](const Input &input) { state.tell(input); });
    state.takeKeys();
    return place;
}

void ScrollDesktop::showPanel(const QImage &picture)
{
    m_state->panel->setPicture(picture);
    if (!m_state->panel->isVisible())
        m_state->panel->show();
}

void ScrollDesktop::hidePanel()
{
    m_state->panel->hide();
}

void ScrollDesktop::hideFrame()
{
    m_state->frame->hide();
}

ScrollDesktop::Input ScrollDesktop::wait(std::chrono::milliseconds limit)
{
    return m_state->wait(std::min<std::chrono::milliseconds>(limit, longestWait));
}

void ScrollDesktop::letGo()
{
    const QDeadlineTimer deadline(releaseLimit);
    while (!HotKeys::areUp() && !deadline.hasExpired())
        QThread::msleep(keyInterval);
    m_state->keys.reset();
    m_state->claim->unlock();
}

} // namespace qm
