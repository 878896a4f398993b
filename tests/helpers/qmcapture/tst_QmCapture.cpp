// The program itself, driven by keys and pointer on a real desktop.

#include "helpers/overlay/OverlayFrame.h"
#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"
#include "tests/support/Pixels.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using Steps = std::function<void(Desktop &)>;
using Kind = PatternWindow::Kind;

Q_DECLARE_METATYPE(Steps)

namespace {

constexpr QRect leftMonitor(0, 0, 1000, 800);
constexpr QRect rightMonitor(1000, 0, 600, 700);
constexpr QRect unseen(1000, 700, 600, 100); // no monitor shows it
const QString program = QStringLiteral(QM_PROGRAMS "/qmcapture");

int dotsPerInch(const QImage &image)
{
    return qRound(image.dotsPerMeterX() * 0.0254);
}

QImage rgb(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGB32);
}

QImage behindTheCurtain(QImage image)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<quint32 *>(image.scanLine(y));
        std::transform(row, row + image.width(), row, dimmed);
    }
    return image;
}

// On a screen of any depth: the server says how it stores the colour.
void fill(const Desktop &desktop, const QRect &area, const QColor &color)
{
    xcb_connection_t *connection = desktop.connection();
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const auto channel = [](int value) { return uint16_t(value * 0x101); };
    const auto stored =
        desktop.ask(xcb_alloc_color_reply, xcb_alloc_color(connection, screen->default_colormap, channel(color.red()),
                                                           channel(color.green()), channel(color.blue())));
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, screen->root, XCB_GC_FOREGROUND, &stored->pixel);
    const xcb_rectangle_t rectangle = {int16_t(area.x()), int16_t(area.y()), uint16_t(area.width()),
                                       uint16_t(area.height())};
    xcb_poly_fill_rectangle(connection, screen->root, context, 1, &rectangle);
    xcb_flush(connection);
}

} // namespace

class tst_QmCapture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = m_desktop.home().file(u"captures"_s);
        QDir(m_folder).removeRecursively();
        QDir().mkpath(m_folder);
        m_path = m_folder + u"/a.png"_s;
        m_desktop.movePointer({10, 10});
        m_ground = std::make_unique<PatternWindow>(m_desktop, u"ground"_s, QRect(0, 0, 1600, 700), 1, Kind::unmanaged);
    }

    void cleanup()
    {
        m_desktop.releaseInput();
        if (m_helper && m_helper->state() != QProcess::NotRunning)
            m_helper->kill(); // only after a failure
        m_helper = nullptr;
        QVERIFY(m_desktop.overlayIsGone());
        m_ground.reset();
    }

    // Loading it would take longer than all that is done until the screen is dimmed.
    void startsWithoutQt()
    {
        QFile file(program);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray bytes = file.readAll();
        QVERIFY(bytes.contains("libxcb.so"));
        QVERIFY(!bytes.contains("libQt6"));
    }

    void region_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QRect>("area");
        QTest::newRow("across both monitors") << Steps([](Desktop &d) {
            d.drag({900, 600}, {1199, 650});
        }) << QRect(900, 600, 300, 51);
        QTest::newRow("to the last pixel, which no monitor shows") << Steps([](Desktop &d) {
            d.drag({1500, 500}, {1599, 799});
        }) << QRect(1500, 500, 100, 300);
        // Each key means what it says: the pointer and then the selection go to the right, a square is drawn and moved.
        QTest::newRow("by keys") << Steps([](Desktop &d) {
            d.movePointer({99, 120});
            d.tap(Key::right);
            QVERIFY(Desktop::wait([&] { return d.pointer() == QPoint(100, 120); }));
            d.buttonDown();
            d.keyDown(Key::rightShift);
            d.movePointer({199, 150});
            d.keyDown(Key::space);
            d.movePointer({299, 200});
            d.keyUp(Key::space);
            d.tap(Key::right);
            d.tap(Key::enter);
        }) << QRect(210, 170, 100, 100);
    }

    void region()
    {
        QFETCH(Steps, steps);
        QFETCH(QRect, area);
        const QImage picture = taken(u"-i"_s, steps);
        QPainter(&m_before).fillRect(unseen, Qt::black);
        QCOMPARE(rgb(picture), m_before.copy(area));
        QCOMPARE(dotsPerInch(picture), 72);
        QCOMPARE(files().size(), 1);
        QCOMPARE(m_helper->readAllStandardError(), QByteArray());
    }

    // What the server dims, what is painted and what is painted again lie side by side without a seam.
    void overlay()
    {
        startCapture(u"-i"_s);
        QVERIFY(m_desktop.overlayIsUp());
        const QRect selection({500, 300}, QPoint(700, 400)), beside(0, 0, 490, 700);
        m_desktop.movePointer(selection.topLeft());
        m_desktop.buttonDown();
        m_desktop.movePointer({900, 600});
        m_desktop.movePointer(selection.bottomRight());
        QVERIFY(m_desktop.shows(m_before.copy(selection), selection.topLeft()));
        QVERIFY(m_desktop.shows(0xffffffff, selection.topLeft() - QPoint(1, 1)));
        QVERIFY(m_desktop.shows(behindTheCurtain(m_before.copy(850, 560, 700, 100)), {850, 560}));
        QVERIFY(m_desktop.shows(m_before.pixel(selection.bottomRight()), {780, 480})); // the loupe's middle
        {
            const PatternWindow above(m_desktop, u"above for a while"_s, {100, 100, 300, 300}, 3, Kind::unmanaged);
        }
        QVERIFY(m_desktop.shows(behindTheCurtain(m_before.copy(beside))));
        m_desktop.tap(Key::escape);
        QVERIFY(Desktop::ended(*m_helper));
        QCOMPARE(files(), QStringList());
    }

    void heldDown_data()
    {
        QTest::addColumn<Steps>("cancel");
        QTest::addColumn<bool>("isStuck");
        QTest::newRow("a key") << Steps([](Desktop &d) { d.keyDown(Key::escape); }) << false;
        QTest::newRow("a button") << Steps([](Desktop &d) { d.buttonDown(Button::right); }) << false;
        QTest::newRow("a key that is stuck") << Steps([](Desktop &d) { d.keyDown(Key::escape); }) << true;
    }

    // The overlay closes when it goes down. The window below gets no half of it: keyboard and pointer are kept until it is up.
    void heldDown()
    {
        QFETCH(Steps, cancel);
        QFETCH(bool, isStuck);
        QProcess &helper = startCapture(u"-i"_s);
        QVERIFY(m_desktop.overlayIsUp());
        cancel(m_desktop);
        QVERIFY(m_desktop.shows(m_before));
        m_desktop.stillPicture();
        QVERIFY(m_desktop.overlayIsUp());
        if (!isStuck)
            m_desktop.releaseInput();
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.exitCode(), 0);
        QCOMPARE(files(), QStringList());
    }

    void framedWindow()
    {
        m_ground.reset();
        const PatternWindow window(m_desktop, u"A letter 手紙"_s, {200, 150, 320, 240}, 2);
        const QRect frame = window.frame();
        QVERIFY(frame.height() > window.content().height());
        const QRect lit(frame.topLeft() + QPoint(5, 5), QSize(frame.width() - 10, 60));
        const QImage picture = taken(u"-i"_s, [&](Desktop &d) {
            d.movePointer(window.content().center());
            d.tap(Key::space); // from regions to windows
            QVERIFY(d.shows(m_before.copy(lit), lit.topLeft()));
            d.click(window.content().center());
        });
        QCOMPARE(rgb(picture), m_before.copy(frame));
    }

    // Only what is seen of it can be taken: the part beside the other.
    void coveredWindow()
    {
        m_ground.reset();
        const PatternWindow window(m_desktop, u"below"_s, {200, 150, 320, 240}, 2);
        const PatternWindow above(m_desktop, u"above"_s, {360, 100, 400, 400}, 3);
        QRect seen = window.frame();
        seen.setRight(above.frame().left() - 1);
        const QImage picture = taken(u"-iw"_s, [&](Desktop &d) { d.click(seen.center()); });
        QCOMPARE(rgb(picture), m_before.copy(seen));
    }

    // Under a compositor each window has pixels of its own: all of them are taken, and nothing that shines through.
    void windowsUnderACompositor()
    {
        m_ground.reset();
        m_desktop.startCompositor();
        {
            const PatternWindow covered(m_desktop, u"below"_s, {200, 150, 320, 240}, 2);
            const PatternWindow above(m_desktop, u"above"_s, {360, 100, 400, 400}, 3);
            QImage glass(100, 80, QImage::Format_ARGB32_Premultiplied);
            glass.fill(0x80402010);
            const PatternWindow translucent(m_desktop, u"glass"_s, {900, 150, 100, 80}, glass, Kind::managed);
            QVERIFY(
                m_desktop.shows(above.pattern(), above.content().topLeft())); // the compositor shows it a little later
            for (const PatternWindow *window : {&covered, &translucent}) {
                const QRect content = window->content().translated(-window->frame().topLeft());
                const QPoint inside = window->content().topLeft() + QPoint(20, 20);
                const QImage picture = taken(u"-iw"_s, [&](Desktop &d) { d.click(inside); });
                QCOMPARE(picture.size(), window->frame().size());
                QCOMPARE(picture.copy(content).convertToFormat(window->pattern().format()), window->pattern());
            }
        }
        m_desktop.stopCompositor();
    }

    void grabbedByAnother_data()
    {
        QTest::addColumn<bool>("letGo");
        QTest::newRow("a menu that closes") << true;
        QTest::newRow("a menu that stays") << false;
    }

    void grabbedByAnother()
    {
        QFETCH(bool, letGo);
        QVERIFY(m_desktop.grabInput());
        QProcess &helper = startCapture(u"-i"_s);
        if (letGo) {
            // The loupe beside the pointer is there: it has tried more than once by then.
            QVERIFY(m_desktop.shows(m_before.pixel(10, 10), {90, 90}));
            m_desktop.releaseInput();
            QVERIFY(m_desktop.overlayIsUp());
            m_desktop.drag({100, 100}, {149, 149});
            QVERIFY(Desktop::ended(helper));
            QCOMPARE(QImage(m_path).size(), QSize(50, 50));
            return;
        }
        QVERIFY(Desktop::ended(helper));
        QVERIFY(failed(helper));
        QVERIFY(m_desktop.shows(m_before));
    }

    void secondHelper()
    {
        QProcess &first = startCapture(u"-i"_s);
        QVERIFY(m_desktop.overlayIsUp());
        QProcess &second = m_desktop.start(program, {u"-i"_s, m_folder + u"/second.png"_s});
        QVERIFY(Desktop::ended(second));
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(files(), QStringList());
        QCOMPARE(first.state(), QProcess::Running);
        m_desktop.drag({100, 100}, {149, 149});
        QVERIFY(Desktop::ended(first));
        QCOMPARE(rgb(QImage(m_path)), m_before.copy(100, 100, 50, 50));
    }

    void killedInTheMiddle_data()
    {
        QTest::addColumn<Steps>("end");
        QTest::addColumn<bool>("tells"); // why it has failed
        QTest::newRow("killed") << Steps() << false;
        QTest::newRow("its display gone") << Steps([](Desktop &d) {
            xcb_kill_client(d.connection(), d.selectionOwner("_QUILLMERE_CAPTURE"));
            xcb_flush(d.connection());
        }) << true;
        QTest::newRow("the screen changed") << Steps([](Desktop &d) {
            xcb_configure_notify_event_t event = {};
            event.response_type = XCB_CONFIGURE_NOTIFY;
            event.window = d.root();
            event.width = event.height = 640;
            xcb_send_event(d.connection(), 0, d.root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                           reinterpret_cast<char *>(&event));
            xcb_flush(d.connection());
        }) << true;
    }

    void killedInTheMiddle()
    {
        QFETCH(Steps, end);
        QFETCH(bool, tells);
        QProcess &helper = startCapture(u"-i"_s);
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.movePointer({100, 100});
        m_desktop.buttonDown();
        m_desktop.movePointer({300, 300});
        end ? end(m_desktop) : helper.kill();
        m_desktop.releaseInput();
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(failed(helper), tells);
        QVERIFY(m_desktop.overlayIsGone());
        QCOMPARE(files(), QStringList());
        QVERIFY(m_desktop.shows(m_before));
    }

    void endsWithItsParent()
    {
        QProcess &parent = m_desktop.start(u"/bin/sh"_s, {u"-c"_s, u"\"$0\" -i \"$1\" & wait"_s, program, m_path});
        QVERIFY(m_desktop.overlayIsUp());
        parent.kill();
        QVERIFY(Desktop::ended(parent));
        QVERIFY(m_desktop.overlayIsGone());
        QCOMPARE(files(), QStringList());
    }

    // The desktop's, and each monitor's own. No scale changes a pixel.
    void scales()
    {
        m_desktop.setResource("Xft.dpi:\t192\n");
        for (const auto &[area, dpi] : {std::pair(QRect(600, 300, 200, 100), 72), {{990, 300, 200, 100}, 144}}) {
            const auto drag = [of = area](Desktop &d) { d.drag(of.topLeft(), of.bottomRight()); };
            const QImage picture = taken(u"-i"_s, drag, {u"QT_SCREEN_SCALE_FACTORS=M0=1"_s});
            QCOMPARE(rgb(picture), m_before.copy(area));
            QCOMPARE(dotsPerInch(picture), dpi);
        }
        m_desktop.setResource({});
    }

    void failures_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("environment");
        const QString path = m_desktop.home().file(u"captures/a.png"_s);
        QTest::newRow("no such folder") << QStringList{u"-i"_s, u"/nowhere/at/all/a.png"_s} << QStringList();
        QTest::newRow("no X server") << QStringList{u"-i"_s, path} << QStringList(u"DISPLAY=:59999"_s);
        QTest::newRow("no path") << QStringList(u"-i"_s) << QStringList();
        QTest::newRow("unknown mode") << QStringList{u"-x"_s, path} << QStringList();
    }

    void failures()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, environment);
        m_helper = &m_desktop.start(program, arguments, environment);
        QVERIFY(Desktop::ended(*m_helper));
        QVERIFY(failed(*m_helper));
    }

    void fullDisk()
    {
        m_helper = &m_desktop.startOnFullDisk(program, {u"-i"_s, m_path});
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.drag({100, 100}, {799, 599});
        QVERIFY(Desktop::ended(*m_helper));
        QVERIFY(failed(*m_helper));
    }

    // it takes the window manager away
    void windowsWithoutAWindowManager()
    {
        m_ground.reset();
        const PatternWindow left(m_desktop, u"left behind"_s, {700, 150, 100, 100}, 3);
        m_desktop.stopWindowManager(); // its list still names that window
        const PatternWindow window(m_desktop, u"alone"_s, {200, 150, 320, 240}, 2, Kind::unmanaged);
        PatternWindow hidden(m_desktop, u"hidden"_s, {200, 150, 320, 240}, 4, Kind::unmanaged);
        hidden.hide();
        const QImage picture = taken(u"-iw"_s, [](Desktop &d) { d.click({300, 300}); });
        QCOMPARE(rgb(picture), window.pattern());
    }

    void screens_data()
    {
        QTest::addColumn<int>("depth");
        QTest::addColumn<QStringList>("server");
        QTest::addColumn<int>("tolerance");
        QTest::newRow("16 bits") << 16 << QStringList() << 4; // five bits are steps of eight
        QTest::newRow("30 bits") << 30 << QStringList() << 1;
        QTest::newRow("no shared memory") << 24 << QStringList{u"-extension"_s, u"MIT-SHM"_s} << 0;
    }

    // on desktops of their own, and the home goes with them
    // Each colour comes out as near as the screen could show it.
    void screens()
    {
        QFETCH(int, depth);
        QFETCH(QStringList, server);
        QFETCH(int, tolerance);
        Desktop desktop({.size = {641, 480}, // odd: rows are padded
                         .depth = depth,
                         .windowManager = false,
                         .panel = false,
                         .server = server});
        constexpr QColor shown(200, 100, 50), beside(40, 160, 240);
        fill(desktop, {0, 0, 641, 480}, shown);
        fill(desktop, {150, 0, 400, 480}, beside);
        const QString path = desktop.home().file(u"a.png"_s);
        QProcess &helper = desktop.start(program, {u"-i"_s, path});
        QVERIFY(desktop.overlayIsUp());
        desktop.drag({100, 100}, {199, 159});
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        const QImage taken(path);
        QCOMPARE(taken.size(), QSize(100, 60));
        for (int y : {0, 59}) {
            for (int x : {0, 49, 50, 99}) {
                const QColor pixel = taken.pixelColor(x, y), expected = x < 50 ? shown : beside;
                QVERIFY2(Pixels::near(pixel.rgb(), expected.rgb(), tolerance), qPrintable(pixel.name()));
            }
        }
    }

private:
    QProcess &startCapture(const QString &mode, const QStringList &environment = {})
    {
        m_before = m_desktop.stillPicture();
        m_helper = &m_desktop.start(program, {mode, m_path}, environment);
        return *m_helper;
    }
    // By a whole capture; null when something went wrong.
    QImage taken(const QString &mode, const Steps &steps, const QStringList &environment = {})
    {
        const QProcess &helper = startCapture(mode, environment);
        const bool isUp = m_desktop.overlayIsUp();
        steps(m_desktop);
        m_desktop.releaseInput();
        const bool isWhole = isUp && Desktop::ended(helper) && helper.exitCode() == 0 && m_desktop.overlayIsGone();
        return isWhole ? QImage(m_path) : QImage();
    }
    QStringList files() const { return QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System); }
    bool failed(QProcess &helper) const // with one line on stderr, and nothing left
    {
        const QByteArray said = helper.readAllStandardError();
        return helper.exitCode() == 1 && said.startsWith("qmcapture: ") && said.count('\n') == 1 && files().isEmpty();
    }

    Desktop m_desktop{{.size = {1600, 800}, .monitors = {leftMonitor, rightMonitor}, .panel = false}};
    QString m_folder, m_path;
    QProcess *m_helper = nullptr;
    std::unique_ptr<PatternWindow> m_ground; // above everything: all of the desktop is known
    QImage m_before;                         // the desktop as it was
};

QTEST_MAIN(tst_QmCapture)
#include "tst_QmCapture.moc"
