#include "helpers/qmscroll/CaptureRun.h"

#include "helpers/qmscroll/FrameChange.h"
#include "ui/AppLocale.h"

#include <QPainter>

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
constexpr int thumbnailWidth = 160; // pixels, same as TallPicture's
constexpr int rowsAtOnce = 48;      // written between two looks

bool isPause(Notice notice)
{
    return notice != Notice::none && notice != Notice::placeLost;
}

} // namespace

CaptureRun::CaptureRun(ScrollDesktop &desktop, const ScrollDesktop::Region &region, const Options &options)
    : m_desktop(desktop)
    , m_region(region)
    , m_options(options)
    , m_session({.mode = options.mode, .regionHeight = region.area.height(), .heightLimit = options.heightLimit})
    , m_picture(options.path, region.area.width(), pointsPerInch * region.pictureScale)
    , m_stitcher(region.area.size(), [this](const QImage &rows) { return keep(rows); })
{
}

CaptureRun::Result CaptureRun::run()
{
    m_clock.start();
    m_place = m_desktop.showFrame();
    m_panel.emplace(m_place.shape, m_place.scale);
    m_panel->setStatus(statusText(m_options.mode, Notice::none), ScrollPanel::Importance::ordinary);
    if (m_place.coversRegion) {
        m_panel->setStatus(AppLocale::text(u"Return when done, Escape to cancel", u"Return で完了、Esc でキャンセル"),
                           ScrollPanel::Importance::toBeRead);
        m_nextLook = hintTime;
    }
    showPanel();
    capture();

    const QString status = endText(m_session.end(), m_session.mayBeStale());
    m_desktop.hideFrame();
    if (status.isEmpty())
        hidePanel();
    Result result = {m_session.end(), 0, m_session.mayBeStale(), m_failure};
    if (result.end == End::cancelled) {
        m_desktop.letGo();
        return result;
    }
    if (const Outcome written = finish(); !written)
        result.failure = QStringLiteral("cannot write %1: %2").arg(m_options.path, written.reason());
    result.height = m_picture.height();
    m_desktop.letGo();
    if (!status.isEmpty() && result.failure.isEmpty())
        linger(status);
    return result;
}

void CaptureRun::capture()
{
    while (m_session.end() == End::open) {
        writePending(m_nextLook);
        if (m_pending.isEmpty() && std::exchange(m_thumbnailDue, false)) {
            m_panel->setThumbnail(thumbnail());
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
    const ScrollDesktop::Pointer pointer = m_desktop.pointer();
    ScrollSession::Sight sight;
    sight.held = pointer.held;
    if (m_window) { // the pointer's place right after the region was drawn means nothing
        sight.pointer = place(pointer.at);
        sight.strange = pointer.window != *m_window;
    }
    if (coveredLook(sight))
        return;
    const QImage frame = m_desktop.grab();
    if (frame.isNull()) {
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
    sight.fresh = m_fresh;
    sight.trusted = m_joined.isNull() && !differs(frame, m_region.before);
    m_frame = frame;
    act(m_session.look(now(), sight));
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
    if (next.kind == Order::Kind::join)
        next = join(next.heading);
    if (next.kind == Order::Kind::scroll) {
        if (!m_window) {
            m_desktop.movePointer(m_region.area.center());
            m_window = m_desktop.pointer().window;
        }
        m_desktop.turnWheel(next.clicks);
    }
    m_nextLook = now() + next.wait;
    updatePanel();
}

Order CaptureRun::join(Heading heading)
{
    if (m_pending.size() > 1)
        writePending(Milliseconds::max()); // the file is slower than the view
    m_joined = m_frame.copy();
    m_fresh = false;
    const int before = m_stitcher.height();
    const Stitcher::Step step = m_stitcher.add(m_joined, heading);
    m_thumbnailDue = m_thumbnailDue || m_stitcher.height() > before;
    return m_session.joined(
        now(), {step, m_stitcher.lastShift(), m_stitcher.height(), m_stitcher.moving(), m_stitcher.renewed()});
}

bool CaptureRun::keep(const QImage &rows)
{
    const int count = std::min(rows.height(), m_options.heightLimit - m_rows);
    if (count > 0)
        m_pending.append(rows.copy(0, 0, rows.width(), count));
    m_rows += std::max(count, 0);
    return m_writes;
}

// Writes as many of the pending rows as time allows.
void CaptureRun::writePending(Milliseconds until)
{
    while (!m_pending.isEmpty() && m_writes && now() < until) {
        QImage &rows = m_pending.first();
        const int count = std::min(rows.height(), rowsAtOnce);
        m_writes = m_picture.append(rows.copy(0, 0, rows.width(), count));
        if (count < rows.height())
            rows = rows.copy(0, count, rows.width(), rows.height() - count);
        else
            m_pending.removeFirst();
    }
}

// What is in the file, plus what the stitcher still holds back.
QImage CaptureRun::thumbnail() const
{
    const QImage kept = m_picture.thumbnail();
    const QImage held = m_stitcher.heldRows();
    const int width = kept.isNull() ? std::min(held.width(), thumbnailWidth) : kept.width();
    const QSize size(width, std::max(1, qRound(held.height() * double(width) / held.width())));
    const QImage rest = held.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QImage all(width, kept.height() + rest.height(), QImage::Format_RGB32);
    QPainter painter(&all);
    painter.drawImage(0, 0, kept);
    painter.drawImage(0, kept.height(), rest);
    return all;
}

Outcome CaptureRun::finish()
{
    m_stitcher.finish();
    writePending(Milliseconds::max());
    return m_picture.finish(); // reports any earlier failure, too
}

void CaptureRun::updatePanel()
{
    const Notice notice = m_session.notice();
    m_panel->setStatus(statusText(m_options.mode, notice),
                       notice == Notice::none ? ScrollPanel::Importance::ordinary : ScrollPanel::Importance::toBeRead);
    m_panel->setHeight(std::min(m_stitcher.height(), m_options.heightLimit));
    if (!m_place.coversRegion || isPause(notice))
        showPanel();
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
