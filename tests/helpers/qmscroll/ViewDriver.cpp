#include "tests/helpers/qmscroll/ViewDriver.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdlib>
#include <xcb/xcb.h>

namespace qm {

namespace {

bool isBlank(const QImage &image, int row, int columns)
{
    const auto *pixels = reinterpret_cast<const QRgb *>(image.constScanLine(row));
    return std::all_of(pixels, pixels + columns, [&](QRgb pixel) { return pixel == pixels[0]; });
}

void awaitThat(const char *what, const std::function<bool()> &condition)
{
    if (!Desktop::wait(condition))
        qFatal("%s does not come about", what);
}

} // namespace

int ViewDriver::View::lastRow() const
{
    int row = content.height() - 1;
    while (row > 0 && isBlank(content, row, content.width()))
        --row;
    return row;
}

ViewDriver::ViewDriver(Desktop &desktop)
    : m_desktop(desktop)
    , m_folder(desktop.home().file(QStringLiteral("captures")))
    , m_path(m_folder + QStringLiteral("/Quillmere 2026-03-05-14-07-09 scroll.png"))
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
    endViews();
}

const ViewDriver::View &ViewDriver::startView(const QString &kind, const QRect &area, int lines)
{
    const QString place =
        QStringLiteral("%1,%2,%3,%4").arg(area.x()).arg(area.y()).arg(area.width()).arg(area.height());
    const QString truth = m_desktop.home().file(QStringLiteral("truth.png"));
    const bool gtk = kind == QLatin1String("gtk");
    QProcess &process =
        gtk ? m_desktop.start(QStringLiteral("/usr/bin/python3"), // where Debian's bindings are
                              {QStringLiteral(QM_TEST_DATA "/../helpers/qmscroll/gtk_view.py"), place,
                               QString::number(lines), truth})
            : m_desktop.start(QCoreApplication::applicationDirPath() + QStringLiteral("/text_view"),
                              {kind, place, QString::number(lines), truth}, {QStringLiteral("QT_QPA_PLATFORM=xcb")});
    awaitThat("a view", [&] {
        if (process.state() == QProcess::NotRunning)
            qFatal("the view has ended: %s", process.readAllStandardError().constData());
        return process.canReadLine();
    });
    const QList<QByteArray> numbers = process.readLine().simplified().split(' ');
    View view{QRect(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(), numbers[3].toInt()),
              QImage(truth).convertToFormat(QImage::Format_RGB32), gtk ? 24 : 0, &process};
    m_views.push_back(view);
    // It shows its beginning.
    const QRect shown(QPoint(), QSize(view.area.width() - view.ignoredColumns, std::min(100, view.content.height())));
    awaitThat("the view's first rows",
              [&] { return m_desktop.picture(shown.translated(view.area.topLeft())) == view.content.copy(shown); });
    return m_views.back();
}

void ViewDriver::endViews()
{
    for (const View &view : m_views) {
        if (view.process->state() == QProcess::NotRunning)
            continue;
        view.process->terminate();
        view.process->waitForFinished();
    }
}

QProcess &ViewDriver::startCapture(const QRect &region, const QStringList &arguments, const QStringList &environment)
{
    m_helper = &m_desktop.start(QString::fromLatin1(program),
                                QStringList{QStringLiteral("--region"), m_path} + arguments, environment);
    drawRegion(region);
    return *m_helper;
}

QProcess &ViewDriver::startCaptureBelowShell(const QRect &region)
{
    m_helper = &m_desktop.start(
        QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"), QStringLiteral("\"$0\" --region \"$1\" & wait"), QString::fromLatin1(program), m_path});
    drawRegion(region);
    return *m_helper;
}

QProcess &ViewDriver::startCaptureOnSmallDisk(const QRect &region)
{
    m_helper = &m_desktop.start(
        QStringLiteral("unshare"),
        {QStringLiteral("-rm"), QStringLiteral("/bin/sh"), QStringLiteral("-c"),
         QStringLiteral("mount -t tmpfs -o size=64k none \"$1\" || exit 9; \"$0\" --region \"$1/a.png\"; status=$?\n"
                        "ls -A \"$1\"; exit $status"),
         QString::fromLatin1(program), m_folder});
    drawRegion(region);
    return *m_helper;
}

void ViewDriver::drawRegion(const QRect &region)
{
    awaitThat("the overlay",
              [this] { return m_desktop.selectionOwner("_QUILLMERE_CAPTURE") != 0 && !nothingIsHeld(m_desktop); });
    m_desktop.drag(region.topLeft(), region.bottomRight());
    awaitThat("the panel", [this] { return button(PanelButton::cancel).isValid(); });
}

bool ViewDriver::hasScrolled(const View &view) const
{
    const QRect top(view.area.topLeft(), QSize(view.area.width() - view.ignoredColumns, 100));
    return Desktop::wait([&] { return m_desktop.picture(top) != view.content.copy(QRect(QPoint(), top.size())); });
}

// By their colours, which nothing else on these desktops has.
QRect ViewDriver::button(PanelButton which) const
{
    const QRgb color = which == PanelButton::done ? 0xff0a84ff : 0xff58585c;
    const QImage shown = m_desktop.picture();
    QRect found;
    for (int y = 0; y < shown.height(); ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(shown.constScanLine(y));
        for (int x = 0; x + 8 < shown.width(); ++x) {
            // A block of it: the frame's lines are thinner.
            const auto isColor = [&](int dx, int dy) { return (shown.pixel(x + dx, y + dy) | 0xff000000) == color; };
            if ((row[x] | 0xff000000) == color && y + 4 < shown.height() && isColor(7, 0) && isColor(0, 4) &&
                isColor(7, 4) && isColor(3, 2))
                found |= QRect(x, y, 8, 5);
        }
    }
    return found;
}

void ViewDriver::clickButton(PanelButton which)
{
    // Both found by colour before the pointer changes it.
    m_desktop.click(button(which).center());
}

QStringList ViewDriver::files() const
{
    return QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
}

QString ViewDriver::compare(const QRect &region, const QImage &picture) const
{
    const View &view = m_views.back();
    const QImage taken = picture.convertToFormat(QImage::Format_RGB32);
    if (taken.width() != region.width())
        return QStringLiteral("it is %1 pixels wide").arg(taken.width());
    const QPoint from = region.topLeft() - view.area.topLeft();
    const int ignored = std::max(0, view.ignoredColumns - (view.area.right() - region.right()));
    const int columns = taken.width() - ignored;
    for (int y = 0; y < taken.height(); ++y) {
        const bool known = y + from.y() < view.content.height();
        const bool same = known ? taken.copy(0, y, columns, 1) == view.content.copy(from.x(), y + from.y(), columns, 1)
                                : isBlank(taken, y, columns);
        if (!same)
            return QStringLiteral("row %1 of %2 is another").arg(y).arg(taken.height());
    }
    return {};
}

bool ViewDriver::nothingIsHeld(Desktop &desktop)
{
    xcb_connection_t *connection = desktop.connection();
    auto *keyboard = xcb_grab_keyboard_reply(
        connection, xcb_grab_keyboard(connection, 0, desktop.root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
        nullptr);
    auto *pointer = xcb_grab_pointer_reply(
        connection,
        xcb_grab_pointer(connection, 0, desktop.root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, 0, 0, 0), nullptr);
    auto *state = xcb_query_pointer_reply(connection, xcb_query_pointer(connection, desktop.root()), nullptr);
    const bool free = keyboard && keyboard->status == XCB_GRAB_STATUS_SUCCESS && pointer &&
                      pointer->status == XCB_GRAB_STATUS_SUCCESS && state && (state->mask & 0x1f00) == 0;
    std::free(keyboard);
    std::free(pointer);
    std::free(state);
    xcb_ungrab_keyboard(connection, 0);
    xcb_ungrab_pointer(connection, 0);
    xcb_flush(connection);
    return free;
}

} // namespace qm
