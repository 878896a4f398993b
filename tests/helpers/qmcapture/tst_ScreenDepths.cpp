// Screens with other pixels than those of today: each colour comes out as near as the screen could show it.

#include "tests/support/Desktop.h"

#include <QGuiApplication>
#include <QTest>

#include <xcb/xcb.h>

using namespace qm;

namespace {

constexpr QColor shown(200, 100, 50);
constexpr QColor beside(40, 160, 240);

// As the screen stores it: the server says how.
uint32_t pixelOf(Desktop &desktop, const xcb_screen_t *screen, const QColor &color)
{
    const auto channel = [](int value) { return uint16_t(value * 0x101); };
    xcb_alloc_color_reply_t *answer =
        xcb_alloc_color_reply(desktop.connection(),
                              xcb_alloc_color(desktop.connection(), screen->default_colormap, channel(color.red()),
                                              channel(color.green()), channel(color.blue())),
                              nullptr);
    const uint32_t pixel = answer ? answer->pixel : 0;
    std::free(answer);
    return pixel;
}

void fill(Desktop &desktop, const QRect &area, const QColor &color)
{
    xcb_connection_t *connection = desktop.connection();
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const uint32_t values[] = {pixelOf(desktop, screen, color), 1};
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, int16_t(area.x()), int16_t(area.y()),
                      uint16_t(area.width()), uint16_t(area.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(connection, window);
    xcb_flush(connection);
}

int distance(const QColor &a, const QColor &b)
{
    return std::max({qAbs(a.red() - b.red()), qAbs(a.green() - b.green()), qAbs(a.blue() - b.blue())});
}

} // namespace

class tst_ScreenDepths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void region_data();
    void region();
};

void tst_ScreenDepths::region_data()
{
    QTest::addColumn<int>("depth");
    QTest::addColumn<int>("tolerance");
    QTest::newRow("16 bits") << 16 << 4; // five bits are steps of eight
    QTest::newRow("30 bits") << 30 << 1;
}

void tst_ScreenDepths::region()
{
    QFETCH(int, depth);
    QFETCH(int, tolerance);
    Desktop desktop(
        {.size = {641, 480}, .depth = depth, .windowManager = false, .panel = false}); // odd: rows are padded
    fill(desktop, {0, 0, 641, 480}, shown);
    fill(desktop, {150, 0, 400, 480}, beside);
    const QString path = desktop.home().file(QStringLiteral("a.png"));
    QProcess &helper = desktop.start(QStringLiteral(QM_PROGRAMS "/qmcapture"), {QStringLiteral("-i"), path});
    QVERIFY(Desktop::wait([&] { return desktop.selectionOwner("_QUILLMERE_CAPTURE") != 0; }));
    // It listens once it has the pointer, which nobody else can have then.
    QVERIFY(Desktop::wait([&] {
        xcb_grab_pointer_reply_t *answer =
            xcb_grab_pointer_reply(desktop.connection(),
                                   xcb_grab_pointer(desktop.connection(), 0, desktop.root(), 0, XCB_GRAB_MODE_ASYNC,
                                                    XCB_GRAB_MODE_ASYNC, 0, 0, 0),
                                   nullptr);
        const bool taken = answer->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
        std::free(answer);
        if (!taken)
            xcb_ungrab_pointer(desktop.connection(), 0);
        xcb_flush(desktop.connection());
        return taken;
    }));
    desktop.drag({100, 100}, {199, 159});
    QVERIFY(Desktop::wait([&] { return helper.state() == QProcess::NotRunning; }));
    QCOMPARE(helper.readAllStandardError(), QByteArray());
    const QImage taken(path);
    QCOMPARE(taken.size(), QSize(100, 60));
    for (int y : {0, 59}) {
        for (int x : {0, 49, 50, 99})
            QVERIFY2(distance(taken.pixelColor(x, y), x < 50 ? shown : beside) <= tolerance,
                     qPrintable(taken.pixelColor(x, y).name()));
    }
}

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    tst_ScreenDepths test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_ScreenDepths.moc"
