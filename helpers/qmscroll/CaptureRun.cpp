#include "helpers/qmscroll/CaptureRun.h"

#include "helpers/qmscroll/FrameChange.h"
#include "ui/AppLocale.h"

#include <QDeadlineTimer>

#include <algorithm>

namespace qm {

namespace {

using namespace std::chrono_literals;
using Milliseconds = ScrollSession::Milliseconds;
using Order = ScrollSession::Order;
using Notice = ScrollSession::Notice;
using End = ScrollSession::End;

constexpr auto hintTime = 1500ms; // how long a panel that has to disappear is shown
constexpr auto lingerTime = 4s;   // time to read a line
constexpr double pointsPerInch = 72;
constexpr int clicksAtOnce = 16; // some 30 ms

bool isPause(Notice notice)
{
    return notice != Notice::none && notice != Notice::placeLost && notice != Notice::wheelDoesNothing;
}

} // namespace

CaptureRun::CaptureRun(ScrollDesktop &desktop, const ScrollDesktop::Region &region, const Options &options)
    : m_desktop(desktop)
    , m_region(region)
    , m_options(options)
    , m_session({.mode = options.mode, .regionHeight = region.area.height(), .heightLimit = options.heightLimit})
    , m_take(newTake({}))
{
}

CaptureRun::Result CaptureRun::run()
{
    m_clock.start();
    m_desktop.setUserScrolls(m_session.mode() == ScrollSession::Mode::manual);
    m_place = m_desktop.showFrame();
    m_panel.emplace(m_place.shape, m_place.scale);
    m_panel->setStatus(status(), ScrollPanel::Importance::ordinary);
    if (m_place.coversRegion) {
        m_panel->setStatus(AppLocale::text(u"Return when done, Escape to cancel", u"Return で完了、Esc でキャンセル"),
                           ScrollPanel::Importance::toBeRead);
        m_nextLook = hintTime;
    }
    showPanel();
    capture();

    m_desktop.hideFrame();
    Result result = {.end = m_session.end(), .mayBeStale = m_session.mayBeStale(), .cut = {}, .failure = m_failure};
    if (result.end == End::cancelled) {
        hidePanel();
        m_take.reset(); // at once: the key may be held for long, and the process end by a signal
        m_earlier.reset();
        m_desktop.letGo();
        return result;
    }
    chooseTake(&result);
    QString status = endText(result.end, result.mayBeStale);
    if (status.isEmpty())
        hidePanel();
    const Outcome written = m_take->finish();
    result.height = m_take->height();
    if (!written) {
        status = unwrittenText(written.reason(), result.height > 0);
        if (result.height > 0)
            result.cut = written.reason();
        else
            result.failure = QStringLiteral("cannot write %1: %2").arg(m_options.path, written.reason());
    }
    m_desktop.letGo();
    if (!status.isEmpty())
        linger(status);
    return result;
}

void CaptureRun::capture()
{
    while (m_session.end() == End::open) {
        m_take->write(QDeadlineTimer(std::max(m_nextLook - now(), 0ms)));
        if (!m_take->hasUnwritten() && std::exchange(m_thumbnailDue, false)) {
            m_panel->setThumbnail(m_take->thumbnail());
            updatePanel();
        }
        const ScrollDesktop::Input input = m_desktop.wait(std::max(m_nextLook - now(), 0ms));
        if (m_options.isAskedToEnd())
            m_session.cancel();
        else
            handle(input);
        if (m_session.end() == End::open && now() >= m_nextLook)
            look();
    }
}

void CaptureRun::handle(const ScrollDesktop::Input &input)
{
    using Kind = ScrollDesktop::Input::Kind;
    const auto bringIn = [this] {
        if (m_place.coversRegion)
            hidePanel(); // one more frame will be taken
        m_nextLook = now();
    };
    switch (input.kind) {
    case Kind::none: return;
    case Kind::enter:
        m_session.finish();
        bringIn();
        break;
    case Kind::escape:
        m_session.finishOrCancel();
        bringIn();
        break;
    case Kind::pointer: m_panel->movePointer(input.at); break;
    case Kind::press:
        m_panel->movePointer(input.at);
        m_panel->press();
        break;
    case Kind::release:
        m_panel->movePointer(input.at);
        switch (m_panel->release()) {
        case ScrollPanel::Button::done:
            m_session.finish();
            bringIn();
            break;
        case ScrollPanel::Button::cancel: m_session.cancel(); break;
        case ScrollPanel::Button::none: break;
        }
        break;
    case Kind::gone:
        m_failure = QStringLiteral("the display is gone");
        m_session.cancel();
        return;
    }
    updatePanel();
}

void CaptureRun::look()
{
    ScrollSession::Sight sight = pointerSeen();
    if (coveredLook(sight))
        return;
    const QImage frame = m_desktop.grab();
    if (frame.isNull()) {
        if (m_options.isAskedToEnd()) { // the signal may be why there is none
            m_session.cancel();
            return;
        }
        const ScrollDesktop::Input input = m_desktop.wait(0ms); // the display is gone, or the user has had enough
        handle(input);
        if (input.kind == ScrollDesktop::Input::Kind::gone || m_session.end() != ScrollSession::End::open)
            return;
        if (m_joined.isNull())
            m_failure = QStringLiteral("the region could not be read from the screen");
        m_session.abandon();
        return;
    }
    sight.changed = m_frame.isNull() || differs(frame, m_frame);
    if (sight.changed)
        m_fresh = m_joined.isNull() || differs(frame, m_joined);
    sight.aside = sight.changed && !m_frame.isNull() && !differs(frame, m_frame, sideWidth);
    sight.fresh = m_fresh;
    const std::optional<int> expected = m_session.expectedShift();
    sight.arrived = expected && sight.fresh && m_take->stitcher().hasMovedBy(*expected, frame);
    if (m_joined.isNull()) {
        sight.trusted = !differs(frame, m_region.before);
        sight.covered = !sight.trusted && isPartlyDimmed(frame, m_region.before);
    }
    m_frame = frame;
    act(m_session.look(now(), sight));
}

ScrollSession::Sight CaptureRun::pointerSeen()
{
    const ScrollDesktop::Pointer pointer = m_desktop.pointer();
    ScrollSession::Sight sight;
    sight.held = pointer.held;
    if (m_window) { // the pointer's place right after the region was drawn means nothing
        sight.pointer = place(pointer.at);
        sight.strange = pointer.window != *m_window;
    }
    return sight;
}

// A panel over the region is shown only while nothing happens, and no frame is taken meanwhile.
bool CaptureRun::coveredLook(const ScrollSession::Sight &sight)
{
    if (!m_place.coversRegion || !m_panelShown)
        return false;
    act(m_session.look(now(), sight));
    if (!isPause(m_session.notice()))
        hidePanel();
    return true;
}

void CaptureRun::act(const Order &order)
{
    Order next = order;
    while (next.kind == Order::Kind::find)
        next = m_session.found(now(), find(next.near));
    if (next.kind == Order::Kind::again)
        next = takeAgain();
    if (next.kind == Order::Kind::join)
        next = join(next);
    if (next.kind == Order::Kind::scroll) {
        if (!m_window) {
            m_desktop.movePointer(m_region.area.center());
            m_window = m_desktop.pointer().window;
        }
        turnWheel(next.clicks);
        m_session.turned(now());
    }
    m_nextLook = now() + next.wait;
    updatePanel();
}

// The way back over a long page is hundreds of clicks. In between the user is heard, and nothing else is scrolled when something
// gets in the way; the next look sees what it was.
void CaptureRun::turnWheel(int clicks)
{
    using Kind = ScrollDesktop::Input::Kind;
    for (int left = clicks; left != 0;) {
        const int part = std::clamp(left, -clicksAtOnce, clicksAtOnce);
        m_desktop.turnWheel(part);
        left -= part;
        if (left == 0)
            return;
        Kind kind = Kind::none;
        do {
            const ScrollDesktop::Input input = m_desktop.wait(0ms);
            kind = input.kind;
            handle(input);
            if (kind == Kind::enter || kind == Kind::escape || kind == Kind::release || kind == Kind::gone)
                return;
        } while (kind != Kind::none);
        const ScrollSession::Sight sight = pointerSeen();
        if (sight.held || sight.strange || sight.pointer != ScrollSession::Pointer::inside || m_options.isAskedToEnd())
            return;
    }
}

Order CaptureRun::join(const Order &order)
{
    m_joined = m_frame.copy();
    m_fresh = false;
    if (order.clicks != 0) {
        turnWheel(order.clicks);
        m_session.turned(now());
    }
    const int before = m_take->height();
    const Stitcher::Step step = m_take->join(m_joined, order.heading);
    const Stitcher &stitcher = m_take->stitcher();
    m_thumbnailDue = m_thumbnailDue || m_take->height() > before;
    return m_session.joined(now(),
                            {step, stitcher.lastShift(), stitcher.height(), stitcher.moving(), stitcher.renewed()});
}

ScrollSession::Found CaptureRun::find(int near) const
{
    const Stitcher &stitcher = m_take->stitcher();
    return {stitcher.find(m_frame, near), stitcher.isBeginning(m_frame)};
}

std::unique_ptr<Take> CaptureRun::newTake(const std::optional<ScrollBar> &bar, const Take *earlier) const
{
    const Take::Options options{.path = m_options.path,
                                .frame = m_region.area.size(),
                                .dpi = pointsPerInch * m_region.pictureScale,
                                .heightLimit = m_options.heightLimit,
                                .bar = bar};
    return std::make_unique<Take>(options, earlier);
}

Order CaptureRun::takeAgain()
{
    const std::optional<ScrollBar> bar = m_take->bar(); // so that both are as wide
    if (!m_earlier || m_take->height() >= m_earlier->height()) {
        m_earlier = std::move(m_take);
        m_earlierEnd = m_session.earlierEnd();
    }
    m_take = newTake(bar, m_earlier.get());
    m_joined = {};
    return {.kind = Order::Kind::join};
}

// The later take may have come to an early end, or not have moved at all.
void CaptureRun::chooseTake(Result *result)
{
    const bool isWhole = result->end == End::content && m_take->height() > m_region.area.height();
    if (!m_earlier || isWhole || m_take->height() >= m_earlier->height()) {
        m_earlier.reset(); // before the other has its name
        return;
    }
    m_take = std::move(m_earlier);
    result->end = m_earlierEnd;
    result->mayBeStale = true;
}

void CaptureRun::updatePanel()
{
    const Notice notice = m_session.notice();
    m_desktop.setUserScrolls(m_session.mode() == ScrollSession::Mode::manual || notice == Notice::placeLost);
    m_panel->setStatus(status(),
                       notice == Notice::none ? ScrollPanel::Importance::ordinary : ScrollPanel::Importance::toBeRead);
    m_panel->setHeight(m_take->height());
    if (!m_place.coversRegion || isPause(notice))
        showPanel();
}

QString CaptureRun::status() const
{
    return statusText(m_session.mode(), m_session.notice(), m_session.activity());
}

void CaptureRun::showPanel()
{
    const bool changed = m_panel->takeChanged();
    if (m_panelShown && !changed)
        return;
    m_desktop.showPanel(m_panel->picture());
    m_panelShown = true;
}

void CaptureRun::hidePanel()
{
    m_desktop.hidePanel();
    m_panelShown = false;
}

// Shows a last message. Another capture may begin meanwhile; a click on the panel or a signal ends it early.
void CaptureRun::linger(const QString &status)
{
    using Kind = ScrollDesktop::Input::Kind;
    m_panel->setClosing();
    m_panel->setStatus(status, ScrollPanel::Importance::toBeRead);
    showPanel();
    const Milliseconds end = now() + lingerTime;
    while (now() < end && !m_options.isAskedToEnd()) {
        const Kind kind = m_desktop.wait(end - now()).kind;
        if (kind == Kind::press || kind == Kind::gone)
            break;
    }
    hidePanel();
}

ScrollSession::Pointer CaptureRun::place(QPoint pointer) const
{
    if (m_panelShown && QRect(m_place.at, ScrollPanel::size(m_place.shape, m_place.scale)).contains(pointer))
        return ScrollSession::Pointer::overPanel;
    return m_region.area.contains(pointer) ? ScrollSession::Pointer::inside : ScrollSession::Pointer::away;
}

} // namespace qm
