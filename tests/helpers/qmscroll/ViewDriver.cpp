#include "tests/helpers/qmscroll/ViewDriver.h"

#include "tests/support/PatternWindow.h"
#include "tests/support/TextPage.h"

#include <QDir>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace qm {

namespace {

constexpr int rowsPerClick = 57;
constexpr int mostTurnsAtOnce = 6; // the others are lost, as in browsers

QImage pageOf(int width, int lines)
{
    static const QStringList words = u"page line scroll header total window before enough 行 番号 見出し"_s.split(u' ');
    TextPage page;
    page.width = width;
    for (int i = 0; i < lines; ++i) {
        page.lines += QString::number(i);
        for (int word = i; page.lines.last().size() < width / 8; word += i % 7 + 1)
            page.lines.last() += u' ' + words[word % words.size()];
    }
    return page.painted();
}

} // namespace

// The page is a window as tall as its content, within one as large as the area.
ScrolledPage::ScrolledPage(Desktop &desktop, const QRect &place, int lines)
    : area(place)
    , content(pageOf(place.width(), lines))
    , m_connection(xcb_connect(desktop.display().toLatin1().constData(), nullptr))
    , m_window(xcb_generate_id(m_connection))
    , m_page(xcb_generate_id(m_connection))
{
    const auto make = [this](quint32 id, quint32 parent, const QRect &where, uint32_t fields, const auto &values) {
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, id, parent, int16_t(where.x()), int16_t(where.y()),
                          uint16_t(where.width()), uint16_t(where.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, fields, values);
        xcb_map_window(m_connection, id);
    };
    const uint32_t passesTheManager[] = {1, XCB_EVENT_MASK_BUTTON_PRESS};
    make(m_window, desktop.root(), area, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, passesTheManager);
    const xcb_pixmap_t pixels = PatternWindow::makePixmap(m_connection, content);
    make(m_page, m_window, content.rect(), XCB_CW_BACK_PIXMAP, &pixels);
    xcb_flush(m_connection);
    m_events = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read);
    QObject::connect(m_events.get(), &QSocketNotifier::activated, m_events.get(), [this] { readEvents(); });
    const QRect seen(QPoint(), area.size().boundedTo(content.size()));
    if (!desktop.shows(content.copy(seen), area.topLeft()))
        qFatal("the page is not shown");
}

void ScrolledPage::close()
{
    m_events.reset();
    if (m_connection)
        xcb_disconnect(std::exchange(m_connection, nullptr));
}

void ScrolledPage::readEvents()
{
    while (auto *event = xcb_poll_for_event(m_connection)) {
        const auto [button, time] = [event] {
            const auto &press = *reinterpret_cast<const xcb_button_press_event_t *>(event);
            return std::pair(press.detail, press.time);
        }();
        m_turns = time - m_lastTurn < 2 ? m_turns + 1 : 1;
        m_lastTurn = time;
        if ((button == 4 || button == 5) && m_turns <= mostTurnsAtOnce) {
            const int by = button == 5 ? rowsPerClick : -rowsPerClick;
            m_offset = std::clamp(m_offset + by, 0, std::max(0, content.height() - area.height()));
            const auto y = uint32_t(-m_offset);
            xcb_configure_window(m_connection, m_page, XCB_CONFIG_WINDOW_Y, &y);
        }
        std::free(event);
    }
    xcb_flush(m_connection);
}

ViewDriver::ViewDriver(Desktop &desktop)
    : m_desktop(desktop)
    , m_folder(desktop.home().file(u"captures"_s))
    , m_path(m_folder + u"/a.png"_s)
{
    QDir(m_folder).removeRecursively();
    QDir().mkpath(m_folder);
}

ViewDriver::~ViewDriver()
{
    if (m_helper && m_helper->state() != QProcess::NotRunning) { // only after a failure
        m_helper->kill();
        m_helper->waitForFinished();
    }
}

const ScrolledPage &ViewDriver::startView(const QRect &area, int lines)
{
    m_view = std::make_unique<ScrolledPage>(m_desktop, area, lines);
    return *m_view;
}

QProcess &ViewDriver::startCapture(const QRect &region, const QStringList &arguments, const QStringList &environment)
{
    m_helper =
        &m_desktop.start(QString::fromLatin1(program), QStringList{u"--region"_s, m_path} + arguments, environment);
    drawRegion(region);
    return *m_helper;
}

void ViewDriver::drawRegion(const QRect &region)
{
    if (!m_desktop.overlayIsUp())
        qFatal("there is no overlay");
    m_desktop.drag(region.topLeft(), region.bottomRight());
    if (!Desktop::wait([this] { return m_desktop.find(cancel).isValid(); }))
        qFatal("there is no panel");
}

bool ViewDriver::hasScrolled() const
{
    return Desktop::wait([this] { return m_view->offset() > 0; });
}

void ViewDriver::click(QRgb button)
{
    m_desktop.click(m_desktop.find(button).center());
}

QStringList ViewDriver::files() const
{
    return QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
}

QString ViewDriver::compare(const QRect &region, const QImage &picture) const
{
    const QImage own = m_view->content.copy(QRect(region.topLeft() - m_view->area.topLeft(), picture.size()));
    if (picture.width() != region.width())
        return u"it is %1 pixels wide"_s.arg(picture.width());
    for (int y = 0; y < picture.height(); ++y) {
        if (picture.copy(0, y, picture.width(), 1) != own.copy(0, y, picture.width(), 1))
            return u"row %1 of %2 is another"_s.arg(y).arg(picture.height());
    }
    return {};
}

} // namespace qm
