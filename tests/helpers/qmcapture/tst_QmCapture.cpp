// The program itself, driven by keys and pointer on a real desktop.

#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <functional>
#include <unistd.h>
#include <xcb/xcb.h>

using namespace qm;
using Steps = std::function<void(Desktop &)>;

Q_DECLARE_METATYPE(Steps)

namespace {

constexpr QRect leftMonitor(0, 0, 1000, 800);
constexpr QRect rightMonitor(1000, 0, 600, 800);
constexpr char program[] = QM_PROGRAMS "/qmcapture";

enum class Grab { pointer, keyboard };

// Whether another program may grab it now. Grabs it for that moment, or for longer.
bool tryGrab(Desktop &desktop, Grab what, bool keep = false)
{
    xcb_connection_t *connection = desktop.connection();
    uint8_t status = XCB_GRAB_STATUS_FROZEN;
    if (what == Grab::pointer) {
        xcb_grab_pointer_reply_t *answer = xcb_grab_pointer_reply(
            connection,
            xcb_grab_pointer(connection, 0, desktop.root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, 0, 0, 0),
            nullptr);
        status = answer->status;
        std::free(answer);
        if (!keep && status == XCB_GRAB_STATUS_SUCCESS)
            xcb_ungrab_pointer(connection, 0);
    } else {
        xcb_grab_keyboard_reply_t *answer = xcb_grab_keyboard_reply(
            connection, xcb_grab_keyboard(connection, 0, desktop.root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
            nullptr);
        status = answer->status;
        std::free(answer);
        if (!keep && status == XCB_GRAB_STATUS_SUCCESS)
            xcb_ungrab_keyboard(connection, 0);
    }
    xcb_flush(connection);
    return status == XCB_GRAB_STATUS_SUCCESS;
}

int dotsPerInch(const QImage &image)
{
    return qRound(image.dotsPerMeterX() * 0.0254);
}

QImage rgb(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGB32);
}

} // namespace

class tst_QmCapture : public QObject
{
    Q_OBJECT

public:
    explicit tst_QmCapture(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private Q_SLOTS:
    void init();
    void cleanup();

    void startsWithoutQt();
    void region_data();
    void region();
    void clickInRegionModeDoesNothing();
    void cancelled_data();
    void cancelled();
    void theWindowBelowGetsNoHalfKeys();

    void framedWindow();
    void coveredWindow();
    void coveredWindowUnderACompositor();
    void windowsNotOffered();
    void spaceSwitchesToWindows();

    void grabbedByAnother_data();
    void grabbedByAnother();
    void secondHelper();
    void killedInTheMiddle();
    void endsWithItsParent();

    void scales_data();
    void scales();
    void failures_data();
    void failures();
    void fullDisk();

    void windowsWithoutAWindowManager(); // the last: it takes the window manager away

private:
    QProcess &startCapture(const char *mode, const QStringList &environment = {});
    bool overlayIsUp();
    bool overlayIsGone();
    bool loupeIsShown() const;
    bool finished(QProcess &process);
    QStringList files() const { return QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System); }
    QImage capture() const { return QImage(m_path); }

    Desktop &m_desktop;
    QString m_folder;
    QString m_path;
    QProcess *m_helper = nullptr;
    std::unique_ptr<PatternWindow> m_ground;
    QImage m_before; // the desktop as it was
};

void tst_QmCapture::init()
{
    m_folder = m_desktop.home().file(QStringLiteral("captures"));
    QDir(m_folder).removeRecursively();
    QDir().mkpath(m_folder);
    m_path = m_folder + QStringLiteral("/Quillmere 2026-03-05-14-07-09.png");
    // Lies above everything, so that all of the desktop is known.
    m_desktop.movePointer({10, 10});
    m_ground = std::make_unique<PatternWindow>(m_desktop, QStringLiteral("ground"), QRect(0, 0, 1600, 700), 1,
                                               PatternWindow::Kind::unmanaged);
    m_before = m_desktop.stillPicture();
}

void tst_QmCapture::cleanup()
{
    m_desktop.releaseInput();
    if (m_helper && m_helper->state() != QProcess::NotRunning)
        m_helper->kill(); // only after a failure
    m_helper = nullptr;
    QVERIFY(overlayIsGone());
    m_ground.reset();
}

QProcess &tst_QmCapture::startCapture(const char *mode, const QStringList &environment)
{
    m_before = m_desktop.stillPicture();
    m_helper = &m_desktop.start(QString::fromLatin1(program), {QString::fromLatin1(mode), m_path}, environment);
    return *m_helper;
}

// Dimmed, and keyboard and pointer are held.
bool tst_QmCapture::overlayIsUp()
{
    const QPoint corner(1590, 690);
    return Desktop::wait([&] {
        return m_desktop.selectionOwner("_QUILLMERE_CAPTURE") != 0 &&
               m_desktop.pixel(corner) != m_before.pixelColor(corner) && !tryGrab(m_desktop, Grab::pointer) &&
               !tryGrab(m_desktop, Grab::keyboard);
    });
}

bool tst_QmCapture::overlayIsGone()
{
    return Desktop::wait([&] {
        return m_desktop.selectionOwner("_QUILLMERE_CAPTURE") == 0 && tryGrab(m_desktop, Grab::pointer) &&
               tryGrab(m_desktop, Grab::keyboard);
    });
}

// The dark strip below the loupe of a pointer at 10, 10: the ground is not dark there.
bool tst_QmCapture::loupeIsShown() const
{
    const auto isDark = [](const QColor &color) { return std::max({color.red(), color.green(), color.blue()}) < 50; };
    return isDark(m_desktop.pixel({140, 170})) && isDark(m_desktop.pixel({148, 170}));
}

bool tst_QmCapture::finished(QProcess &process)
{
    return Desktop::wait([&] { return process.state() == QProcess::NotRunning; });
}

// Loading it would take longer than all that is done until the screen is dimmed.
void tst_QmCapture::startsWithoutQt()
{
    QFile file(QString::fromLatin1(program));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    QVERIFY(bytes.contains("libxcb.so"));
    QVERIFY(!bytes.contains("libQt6"));
}

void tst_QmCapture::region_data()
{
    QTest::addColumn<Steps>("steps");
    QTest::addColumn<QRect>("area");
    const auto row = [](const char *name, const Steps &steps, const QRect &area) {
        QTest::newRow(name) << steps << area;
    };
    row("dragged", [](Desktop &d) { d.drag({100, 120}, {399, 319}); }, {100, 120, 300, 200});
    row("dragged to the upper left", [](Desktop &d) { d.drag({399, 319}, {100, 120}); }, {100, 120, 300, 200});
    row("across both monitors", [](Desktop &d) { d.drag({900, 600}, {1199, 650}); }, {900, 600, 300, 51});
    row("to the last pixel", [](Desktop &d) { d.drag({1500, 500}, {1599, 799}); }, {1500, 500, 100, 300});
    row("square with Shift",
        [](Desktop &d) {
            d.keyDown(Key::leftShift);
            d.drag({100, 120}, {399, 300});
            d.keyUp(Key::leftShift);
        },
        {100, 120, 300, 300});
    row("moved with Space",
        [](Desktop &d) {
            d.movePointer({100, 120});
            d.buttonDown();
            d.movePointer({199, 219});
            d.keyDown(Key::space);
            d.movePointer({299, 269});
            d.keyUp(Key::space);
            d.buttonUp();
        },
        {200, 170, 100, 100});
    row("nudged, and taken with Return",
        [](Desktop &d) {
            d.movePointer({100, 120});
            d.buttonDown();
            d.movePointer({199, 219});
            d.tap(Key::right);
            d.tap(Key::up);
            d.keyDown(Key::rightShift);
            d.tap(Key::right);
            d.keyUp(Key::rightShift);
            d.tap(Key::enter);
        },
        {111, 119, 100, 100});
}

void tst_QmCapture::region()
{
    QFETCH(Steps, steps);
    QFETCH(QRect, area);
    QProcess &helper = startCapture("-i");
    QVERIFY(overlayIsUp());
    steps(m_desktop);
    m_desktop.releaseInput();
    QVERIFY(finished(helper));
    QCOMPARE(helper.exitCode(), 0);
    QCOMPARE(rgb(capture()), m_before.copy(area));
    QCOMPARE(dotsPerInch(capture()), 72);
    QCOMPARE(files().size(), 1);
    QCOMPARE(helper.readAllStandardError(), QByteArray());
}

void tst_QmCapture::clickInRegionModeDoesNothing()
{
    QProcess &helper = startCapture("-i");
    QVERIFY(overlayIsUp());
    m_desktop.click({300, 300});
    // What comes after the click shows that it was gone through, and the overlay still listens.
    m_desktop.drag({100, 100}, {149, 149});
    QVERIFY(finished(helper));
    QCOMPARE(capture().size(), QSize(50, 50));
}

void tst_QmCapture::cancelled_data()
{
    QTest::addColumn<Steps>("steps");
    const auto drag = [](Desktop &d) {
        d.movePointer({100, 100});
        d.buttonDown();
        d.movePointer({300, 300});
    };
    QTest::newRow("Escape") << Steps([](Desktop &d) { d.tap(Key::escape); });
    QTest::newRow("Escape in a drag") << Steps([drag](Desktop &d) {
        drag(d);
        d.tap(Key::escape);
    });
    QTest::newRow("the right button") << Steps([](Desktop &d) { d.click({300, 300}, Button::right); });
    QTest::newRow("the right button in a drag") << Steps([drag](Desktop &d) {
        drag(d);
        d.buttonDown(Button::right);
    });
}

void tst_QmCapture::cancelled()
{
    QFETCH(Steps, steps);
    QProcess &helper = startCapture("-i");
    QVERIFY(overlayIsUp());
    steps(m_desktop);
    m_desktop.releaseInput();
    QVERIFY(finished(helper));
    QCOMPARE(helper.exitCode(), 0);
    QCOMPARE(files(), QStringList());
    QVERIFY(Desktop::wait([this] { return m_desktop.picture() == m_before; }));
}

// Escape closes the overlay when it goes down, and keyboard and pointer are kept until it is up.
void tst_QmCapture::theWindowBelowGetsNoHalfKeys()
{
    QProcess &helper = startCapture("-i");
    QVERIFY(overlayIsUp());
    m_desktop.keyDown(Key::escape);
    QVERIFY(Desktop::wait([this] { return m_desktop.picture() == m_before; }));
    QVERIFY(!tryGrab(m_desktop, Grab::keyboard));
    QVERIFY(!tryGrab(m_desktop, Grab::pointer));
    QCOMPARE(helper.state(), QProcess::Running);
    m_desktop.keyUp(Key::escape);
    QVERIFY(finished(helper));
}

void tst_QmCapture::framedWindow()
{
    m_ground.reset();
    const PatternWindow window(m_desktop, QStringLiteral("A letter 手紙"), {200, 150, 320, 240}, 2);
    const QRect frame = window.frame();
    QVERIFY(frame.height() > window.content().height());
    m_desktop.movePointer(window.content().center());
    QProcess &helper = startCapture("-iw");
    QVERIFY(overlayIsUp());
    m_desktop.click(window.content().center());
    QVERIFY(finished(helper));
    QCOMPARE(capture().size(), frame.size());
    QCOMPARE(rgb(capture()), m_before.copy(frame));
}

// Only what is seen of it can be taken: the part beside the other.
void tst_QmCapture::coveredWindow()
{
    m_ground.reset();
    const PatternWindow window(m_desktop, QStringLiteral("below"), {200, 150, 320, 240}, 2);
    const PatternWindow above(m_desktop, QStringLiteral("above"), {360, 100, 400, 400}, 3);
    QProcess &helper = startCapture("-iw");
    QVERIFY(overlayIsUp());
    m_desktop.click(window.content().topLeft() + QPoint(20, 20));
    QVERIFY(finished(helper));
    QRect seen = window.frame();
    seen.setRight(above.frame().left() - 1);
    QCOMPARE(rgb(capture()), m_before.copy(seen));
}

void tst_QmCapture::coveredWindowUnderACompositor()
{
    m_ground.reset();
    m_desktop.startCompositor();
    {
        const PatternWindow window(m_desktop, QStringLiteral("below"), {200, 150, 320, 240}, 2);
        const PatternWindow above(m_desktop, QStringLiteral("above"), {360, 100, 400, 400}, 3);
        QVERIFY(Desktop::wait([&] { // the compositor shows it a little later
            return m_desktop.picture(above.content()) == above.pattern();
        }));
        QProcess &helper = startCapture("-iw");
        QVERIFY(overlayIsUp());
        m_desktop.click(window.content().topLeft() + QPoint(20, 20));
        QVERIFY(finished(helper));
        const QImage taken = rgb(capture());
        QCOMPARE(taken.size(), window.frame().size());
        QCOMPARE(taken.copy(window.content().translated(-window.frame().topLeft())), window.pattern());
    }
    QVERIFY(overlayIsGone());
    m_desktop.stopCompositor();
}

void tst_QmCapture::windowsNotOffered()
{
    m_ground.reset();
    PatternWindow window(m_desktop, QStringLiteral("hidden"), {200, 150, 320, 240}, 2);
    const QPoint middle = window.content().center();
    window.hide();
    QVERIFY(Desktop::wait([this] { return !m_desktop.windowTitled(QStringLiteral("hidden")).has_value(); }));
    QProcess &helper = startCapture("-iw");
    QVERIFY(overlayIsUp());
    m_desktop.click(middle);
    m_desktop.tap(Key::escape);
    QVERIFY(finished(helper));
    QCOMPARE(files(), QStringList());
}

void tst_QmCapture::spaceSwitchesToWindows()
{
    m_ground.reset();
    const PatternWindow window(m_desktop, QStringLiteral("chosen"), {200, 150, 320, 240}, 2);
    QProcess &helper = startCapture("-i");
    QVERIFY(overlayIsUp());
    m_desktop.tap(Key::space);
    m_desktop.click(window.content().center());
    QVERIFY(finished(helper));
    QCOMPARE(rgb(capture()), m_before.copy(window.frame()));
}

void tst_QmCapture::grabbedByAnother_data()
{
    QTest::addColumn<bool>("letGo");
    QTest::newRow("a menu that closes") << true;
    QTest::newRow("a menu that stays") << false;
}

void tst_QmCapture::grabbedByAnother()
{
    QFETCH(bool, letGo);
    QVERIFY(tryGrab(m_desktop, Grab::pointer, true));
    QVERIFY(tryGrab(m_desktop, Grab::keyboard, true));
    QProcess &helper = startCapture("-i");
    const auto release = [this] {
        xcb_ungrab_pointer(m_desktop.connection(), 0);
        xcb_ungrab_keyboard(m_desktop.connection(), 0);
        xcb_flush(m_desktop.connection());
    };
    if (letGo) {
        QVERIFY(Desktop::wait([this] { return loupeIsShown(); })); // it has tried more than once by then
        release();
        QVERIFY(overlayIsUp());
        m_desktop.drag({100, 100}, {149, 149});
        QVERIFY(finished(helper));
        QCOMPARE(capture().size(), QSize(50, 50));
        return;
    }
    const bool ended = finished(helper);
    release();
    QVERIFY(ended);
    QCOMPARE(helper.exitCode(), 1);
    QCOMPARE(helper.readAllStandardError().count('\n'), 1);
    QCOMPARE(files(), QStringList());
    QVERIFY(Desktop::wait([this] { return m_desktop.picture() == m_before; }));
}

void tst_QmCapture::secondHelper()
{
    QProcess &first = startCapture("-i");
    QVERIFY(overlayIsUp());
    QProcess &second =
        m_desktop.start(QString::fromLatin1(program), {QStringLiteral("-i"), m_folder + QStringLiteral("/second.png")});
    QVERIFY(finished(second));
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(files(), QStringList());
    QCOMPARE(first.state(), QProcess::Running);
    m_desktop.drag({100, 100}, {149, 149});
    QVERIFY(finished(first));
    QCOMPARE(rgb(capture()), m_before.copy(100, 100, 50, 50));
}

void tst_QmCapture::killedInTheMiddle()
{
    QProcess &helper = startCapture("-i");
    QVERIFY(overlayIsUp());
    m_desktop.movePointer({100, 100});
    m_desktop.buttonDown();
    m_desktop.movePointer({300, 300});
    helper.kill();
    QVERIFY(finished(helper));
    m_desktop.releaseInput();
    QVERIFY(overlayIsGone());
    QCOMPARE(files(), QStringList());
    QVERIFY(Desktop::wait([this] { return m_desktop.picture() == m_before; }));
}

void tst_QmCapture::endsWithItsParent()
{
    m_before = m_desktop.stillPicture();
    QProcess &parent =
        m_desktop.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("\"$0\" -i \"$1\" & wait"),
                                                    QString::fromLatin1(program), m_path});
    QVERIFY(overlayIsUp());
    parent.kill();
    QVERIFY(finished(parent));
    QVERIFY(overlayIsGone());
    QCOMPARE(files(), QStringList());
}

void tst_QmCapture::scales_data()
{
    QTest::addColumn<QByteArray>("resources");
    QTest::addColumn<QStringList>("environment");
    QTest::addColumn<int>("leftDpi");
    QTest::addColumn<int>("rightDpi");
    const auto row = [](const char *name, const QByteArray &resources, const QString &variable, int left, int right) {
        QTest::newRow(name) << resources << (variable.isEmpty() ? QStringList() : QStringList(variable)) << left
                            << right;
    };
    row("twice, by Qt", {}, QStringLiteral("QT_SCALE_FACTOR=2"), 144, 144);
    row("twice, by the desktop", "Xft.dpi:\t192\n", {}, 144, 144);
    row("one and a half", "Xft.dpi:\t144\n", {}, 72, 72);
    row("each its own", {}, QStringLiteral("QT_SCREEN_SCALE_FACTORS=M0=1;M1=2"), 72, 144);
}

void tst_QmCapture::scales()
{
    QFETCH(QByteArray, resources);
    QFETCH(QStringList, environment);
    QFETCH(int, leftDpi);
    QFETCH(int, rightDpi);
    m_desktop.setResource(resources);
    for (const auto &[area, dpi] : {std::pair(QRect(600, 300, 200, 100), leftDpi), {{990, 300, 200, 100}, rightDpi}}) {
        QProcess &helper = startCapture("-i", environment);
        QVERIFY(overlayIsUp());
        m_desktop.drag(area.topLeft(), area.bottomRight());
        QVERIFY(finished(helper));
        QCOMPARE(rgb(capture()), m_before.copy(area)); // no scale changes a pixel
        QCOMPARE(dotsPerInch(capture()), dpi);
        QVERIFY(overlayIsGone());
        QFile::remove(m_path);
    }
    m_desktop.setResource({});
}

void tst_QmCapture::failures_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("environment");
    const QString path = m_desktop.home().file(QStringLiteral("captures/a.png"));
    QTest::newRow("no such folder") << QStringList{QStringLiteral("-i"), QStringLiteral("/nowhere/at/all/a.png")}
                                    << QStringList();
    QTest::newRow("no X server") << QStringList{QStringLiteral("-i"), path}
                                 << QStringList{QStringLiteral("DISPLAY=:59999")};
    QTest::newRow("no path") << QStringList{QStringLiteral("-i")} << QStringList();
    QTest::newRow("unknown mode") << QStringList{QStringLiteral("-x"), path} << QStringList();
}

void tst_QmCapture::failures()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, environment);
    QProcess &helper = m_desktop.start(QString::fromLatin1(program), arguments, environment);
    QVERIFY(finished(helper));
    QCOMPARE(helper.exitCode(), 1);
    const QByteArray said = helper.readAllStandardError();
    QVERIFY2(said.startsWith("qmcapture: ") && said.count('\n') == 1, said.constData());
    QCOMPARE(files(), QStringList());
}

// A disk of 16 kB, in a mount name space that ends with the helper. It lists what is left there.
void tst_QmCapture::fullDisk()
{
    QProcess &probe = m_desktop.start(QStringLiteral("unshare"), {QStringLiteral("-rm"), QStringLiteral("true")});
    QVERIFY(finished(probe));
    if (probe.exitCode() != 0)
        QSKIP("no mount name spaces here");
    m_before = m_desktop.stillPicture();
    QProcess &helper = m_desktop.start(
        QStringLiteral("unshare"),
        {QStringLiteral("-rm"), QStringLiteral("/bin/sh"), QStringLiteral("-c"),
         QStringLiteral("mount -t tmpfs -o size=16k none \"$1\" || exit 9; \"$0\" -i \"$1/a.png\"; status=$?\n"
                        "ls -A \"$1\"; exit $status"),
         QString::fromLatin1(program), m_folder});
    QVERIFY(overlayIsUp());
    m_desktop.drag({100, 100}, {799, 599});
    QVERIFY(finished(helper));
    QCOMPARE(helper.readAllStandardOutput(), QByteArray());
    QCOMPARE(helper.exitCode(), 1);
    const QByteArray said = helper.readAllStandardError();
    QVERIFY2(said.startsWith("qmcapture: cannot write") && said.count('\n') == 1, said.constData());
}

void tst_QmCapture::windowsWithoutAWindowManager()
{
    m_ground.reset();
    const PatternWindow left(m_desktop, QStringLiteral("left behind"), {700, 150, 100, 100}, 3);
    m_desktop.stopWindowManager(); // its list still names that window
    const PatternWindow window(m_desktop, QStringLiteral("alone"), {200, 150, 320, 240}, 2,
                               PatternWindow::Kind::unmanaged);
    QProcess &helper = startCapture("-iw");
    QVERIFY(overlayIsUp());
    m_desktop.click({300, 300});
    QVERIFY(finished(helper));
    QCOMPARE(rgb(capture()), window.pattern());
}

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.size = {1600, 800}, .monitors = {leftMonitor, rightMonitor}, .panel = false});
    tst_QmCapture test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_QmCapture.moc"
