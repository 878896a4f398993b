// One key, tap or hold: the real application on a real desktop, from the key to the file, the clipboard and the index.

#include "tests/helpers/qmscroll/ViewDriver.h"
#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"
#include "tests/support/TrayIcon.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QTest>
#include <QThread>

#include <functional>
#include <xcb/xcb.h>

using namespace qm;
using namespace std::chrono_literals;
using Steps = std::function<void(Desktop &)>;

Q_DECLARE_METATYPE(Steps)

namespace {

constexpr Key letter = Key(38);

// Time that a finger needs: what a key means depends on it.
void hold(std::chrono::milliseconds time)
{
    QThread::msleep(time.count());
}

QImage rgb(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGB32);
}

} // namespace

class tst_TrayApplication : public QObject
{
    Q_OBJECT

public:
    explicit tst_TrayApplication(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void gestures_data();
    void gestures();
    void aTapWhileAnotherClientHasTheKeyboard();
    void thresholdAndKeyFromTheSettings();
    void commands_data();
    void commands();
    void twoStartsAtOnce();
    void aLateTray();
    void theMenuCaptures();

    void aRegionFromTheKeyToTheIndex();
    void aWindow();
    void cancelled();
    void aScrolledPageFromTheMenuToTheIndex();

private:
    QString program(const char *name) const
    {
        return m_desktop.home().file(QStringLiteral("bin/") + QLatin1String(name));
    }
    QString captureFolder() const { return m_desktop.home().file(QStringLiteral(".quillmere/captures")); }
    QStringList captures() const { return QDir(captureFolder()).entryList({QStringLiteral("*.png")}, QDir::Files); }
    // What the capture tool was called with so far, a mode each.
    QByteArray modeLog() const { return m_desktop.home().read(QStringLiteral("modes")).replace('\n', ' ').trimmed(); }

    enum class Tool { logs, captures };
    void installTool(Tool tool);
    void startApplication();
    void endApplication();
    void chooseFromTheMenu(int item);
    bool listens();
    bool isFound(const QString &name);
    bool overlayIsUp() const { return m_desktop.selectionOwner("_QUILLMERE_CAPTURE") != 0; }

    Desktop &m_desktop;
    QProcess *m_application = nullptr;
};

void tst_TrayApplication::initTestCase()
{
    QVERIFY(QDir().mkpath(m_desktop.home().file(QStringLiteral("bin"))));
    for (const char *name : {"quillmere", "qms"})
        QVERIFY(QFile::copy(QStringLiteral(QM_PROGRAMS "/") + QLatin1String(name), program(name)));
    m_desktop.home().script(
        QStringLiteral("bin/qmocr"),
        "while read -r p; do printf '{\"path\": \"%s\", \"text\": \"words in it\"}\\n' \"$p\"; done");
}

void tst_TrayApplication::init()
{
    QDir(m_desktop.home().file(QStringLiteral(".quillmere"))).removeRecursively();
    installTool(Tool::logs);
}

void tst_TrayApplication::cleanup()
{
    m_desktop.releaseInput();
    endApplication();
}

// Stands beside the application; notes each call, and captures if it is to.
void tst_TrayApplication::installTool(Tool tool)
{
    const QByteArray log = "echo \"$1\" >>" + m_desktop.home().file(QStringLiteral("modes")).toUtf8() + "\n";
    m_desktop.home().script(QStringLiteral("bin/qmcapture"),
                            tool == Tool::logs ? log : log + "exec " QM_PROGRAMS "/qmcapture \"$@\"\n");
    QFile::remove(m_desktop.home().file(QStringLiteral("modes")));
}

void tst_TrayApplication::startApplication()
{
    m_application = &m_desktop.start(program("quillmere"), {},
                                     {QStringLiteral("QT_QPA_PLATFORM=xcb"), QStringLiteral("LANGUAGE=en")});
    QVERIFY(listens());
    QFile::remove(m_desktop.home().file(QStringLiteral("modes")));
}

void tst_TrayApplication::endApplication()
{
    if (m_application && m_application->state() != QProcess::NotRunning) {
        m_desktop.start(program("quillmere"), {QStringLiteral("quit")});
        QVERIFY(Desktop::wait([&] { return m_application->state() == QProcess::NotRunning; }));
        QCOMPARE(m_application->exitCode(), 0);
    }
    m_application = nullptr;
}

// The key listener is there when a tap is heard.
bool tst_TrayApplication::listens()
{
    QElapsedTimer pause;
    int taps = 0;
    const bool heard = Desktop::wait([&] {
        if (!pause.isValid() || pause.hasExpired(500)) {
            m_desktop.tap(Key::rightShift);
            ++taps;
            pause.start();
        }
        return !modeLog().isEmpty();
    });
    // Those before it was there were not heard; those it was slow to answer still come.
    Desktop::wait([&] { return modeLog().count('i') == taps; }, 500ms);
    return heard;
}

void tst_TrayApplication::gestures_data()
{
    QTest::addColumn<Steps>("steps");
    QTest::addColumn<QByteArray>("expected"); // modes, the tap that ends each row left out
    const auto row = [](const char *name, const QByteArray &expected, const Steps &steps) {
        QTest::newRow(name) << steps << expected;
    };
    row("tap", "-i", [](Desktop &d) { d.tap(Key::rightShift); });
    row("hold", "-iw", [](Desktop &d) {
        d.keyDown(Key::rightShift);
        hold(700ms);
        d.keyUp(Key::rightShift);
    });
    row("left Shift is another key", "", [](Desktop &d) { d.tap(Key::leftShift); });
    row("chord with a letter", "", [](Desktop &d) {
        d.keyDown(Key::rightShift);
        d.tap(letter);
        d.keyUp(Key::rightShift);
    });
    row("chord with left Shift", "", [](Desktop &d) {
        d.keyDown(Key::rightShift);
        d.tap(Key::leftShift);
        d.keyUp(Key::rightShift);
    });
    row("Shift and a click", "", [](Desktop &d) {
        d.keyDown(Key::rightShift);
        d.click({300, 300});
        d.keyUp(Key::rightShift);
    });
    row("Shift and the wheel", "", [](Desktop &d) {
        d.keyDown(Key::rightShift);
        d.click({300, 300}, Button::wheelDown);
        d.keyUp(Key::rightShift);
    });
}

void tst_TrayApplication::gestures()
{
    QFETCH(Steps, steps);
    QFETCH(QByteArray, expected);
    startApplication();
    steps(m_desktop);
    // One more tap marks the end: whatever the row has started was started before.
    hold(600ms);
    m_desktop.tap(Key::rightShift);
    const QByteArray all = expected.isEmpty() ? QByteArray("-i") : expected + " -i";
    QVERIFY(Desktop::wait([&] { return modeLog().size() >= all.size(); }));
    QCOMPARE(modeLog(), all);
}

void tst_TrayApplication::aTapWhileAnotherClientHasTheKeyboard()
{
    startApplication();
    xcb_connection_t *other = m_desktop.connection();
    auto *grab = xcb_grab_keyboard_reply(
        other, xcb_grab_keyboard(other, 0, m_desktop.root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC), nullptr);
    const bool grabbed = grab && grab->status == XCB_GRAB_STATUS_SUCCESS;
    std::free(grab);
    m_desktop.tap(Key::rightShift);
    const bool heard = Desktop::wait([&] { return modeLog() == "-i"; });
    xcb_ungrab_keyboard(other, 0);
    xcb_flush(other);
    QVERIFY(grabbed && heard);
}

void tst_TrayApplication::thresholdAndKeyFromTheSettings()
{
    const QString settings = QStringLiteral(".quillmere/config.json");
    m_desktop.home().write(settings, R"({"hotkey": {"modifier": "rightShift", "holdThreshold": 0.8}})");
    startApplication();
    const auto holdFor = [&](std::chrono::milliseconds time) {
        m_desktop.keyDown(Key::rightShift);
        hold(time);
        m_desktop.keyUp(Key::rightShift);
    };
    holdFor(500ms); // the standard threshold is long past
    QVERIFY(Desktop::wait([&] { return modeLog() == "-i"; }));
    m_desktop.home().write(settings, R"({"hotkey": {"modifier": "rightShift", "holdThreshold": 0.2}})");
    holdFor(500ms); // editing the file alone changes nothing
    QVERIFY(Desktop::wait([&] { return modeLog() == "-i -i"; }));
    endApplication();
    startApplication();
    holdFor(500ms);
    QVERIFY(Desktop::wait([&] { return !modeLog().isEmpty(); }));
    QCOMPARE(modeLog(), QByteArray("-iw"));
}

void tst_TrayApplication::commands_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QByteArray>("mode");
    QTest::addColumn<QString>("window");
    QTest::newRow("capture-region") << QStringLiteral("capture-region") << QByteArray("-i") << QString();
    QTest::newRow("capture-window") << QStringLiteral("capture-window") << QByteArray("-iw") << QString();
    QTest::newRow("library") << QStringLiteral("library") << QByteArray() << QStringLiteral("Quillmere Library");
    QTest::newRow("settings") << QStringLiteral("settings") << QByteArray() << QStringLiteral("Quillmere Settings");
}

void tst_TrayApplication::commands()
{
    QFETCH(QString, command);
    QFETCH(QByteArray, mode);
    QFETCH(QString, window);
    const auto happened = [&] {
        return Desktop::wait([&] { return modeLog() == mode && (window.isEmpty() || m_desktop.windowTitled(window)); });
    };
    // To an instance that runs.
    startApplication();
    QProcess &second = m_desktop.start(program("quillmere"), {command});
    QVERIFY(Desktop::wait([&] { return second.state() == QProcess::NotRunning; }));
    QCOMPARE(second.exitCode(), 0);
    QVERIFY(happened());
    endApplication();
    // With none: it starts one.
    QFile::remove(m_desktop.home().file(QStringLiteral("modes")));
    m_application = &m_desktop.start(program("quillmere"), {command},
                                     {QStringLiteral("QT_QPA_PLATFORM=xcb"), QStringLiteral("LANGUAGE=en")});
    QVERIFY(happened());
    QVERIFY(m_application->state() == QProcess::Running);
}

void tst_TrayApplication::twoStartsAtOnce()
{
    const QStringList xcb{QStringLiteral("QT_QPA_PLATFORM=xcb")};
    QProcess *const both[] = {&m_desktop.start(program("quillmere"), {}, xcb),
                              &m_desktop.start(program("quillmere"), {}, xcb)};
    const auto ended = [&] {
        return int(both[0]->state() == QProcess::NotRunning) + int(both[1]->state() == QProcess::NotRunning);
    };
    QVERIFY(Desktop::wait([&] { return ended() == 1; }));
    m_application = both[0]->state() == QProcess::Running ? both[0] : both[1];
    QCOMPARE((m_application == both[0] ? both[1] : both[0])->exitCode(), 0);
    QVERIFY(listens());
    QCOMPARE(ended(), 1);
}

void tst_TrayApplication::aLateTray()
{
    startApplication();
    QVERIFY(!trayIcon(m_desktop));
    QProcess &panel = m_desktop.start(QStringLiteral("tint2"), {});
    QVERIFY(Desktop::wait([&] { return trayIcon(m_desktop).has_value(); }));
    panel.kill();
    QVERIFY(Desktop::wait([&] { return panel.state() == QProcess::NotRunning; }));
    m_desktop.tap(Key::rightShift); // and it does not need one
    QVERIFY(Desktop::wait([&] { return !modeLog().isEmpty(); }));
}

void tst_TrayApplication::chooseFromTheMenu(int item)
{
    QVERIFY(Desktop::wait([&] { return trayIcon(m_desktop).has_value(); }));
    const QImage before = m_desktop.stillPicture(); // and the panel has put the icon into its place
    // A panel that still lays itself out may move the icon away from under a click.
    QVERIFY(Desktop::wait([&] {
        if (const std::optional<QRect> icon = trayIcon(m_desktop))
            m_desktop.click(icon->center());
        return Desktop::wait([&] { return m_desktop.picture() != before; }, 3s);
    }));
    m_desktop.stillPicture();
    for (int i = 0; i <= item; ++i) {
        // A menu that is seen may not have the keyboard yet.
        const QImage last = m_desktop.stillPicture();
        QVERIFY(Desktop::wait([&] {
            m_desktop.tap(Key::down);
            return Desktop::wait([&] { return m_desktop.picture() != last; }, 1s);
        }));
    }
    m_desktop.tap(Key::enter);
}

void tst_TrayApplication::theMenuCaptures()
{
    QProcess &panel = m_desktop.start(QStringLiteral("tint2"), {});
    startApplication();
    const char *const expected[] = {"-i", "-i -iw"};
    for (int item = 0; item < 2; ++item) {
        chooseFromTheMenu(item);
        const bool done = Desktop::wait([&] { return modeLog() == expected[item]; });
        QVERIFY2(done, modeLog().constData());
    }
    panel.kill();
    QVERIFY(Desktop::wait([&] { return panel.state() == QProcess::NotRunning; }));
}

// The watcher finds it, and the search what was read in it.
bool tst_TrayApplication::isFound(const QString &name)
{
    const auto search = [&] {
        QProcess &qms = m_desktop.start(program("qms"), {QStringLiteral("search"), QStringLiteral("words%it")});
        return Desktop::wait([&] { return qms.state() == QProcess::NotRunning; }) &&
               qms.readAllStandardOutput().count(name.toUtf8()) == 1;
    };
    QElapsedTimer pause;
    bool found = false;
    return Desktop::wait(
        [&] {
            if (!found && (!pause.isValid() || pause.hasExpired(1000))) {
                found = search();
                pause.start();
            }
            return found;
        },
        30s);
}

void tst_TrayApplication::aRegionFromTheKeyToTheIndex()
{
    startApplication();
    const PatternWindow ground(m_desktop, QStringLiteral("ground"), {0, 0, 1000, 700}, 1,
                               PatternWindow::Kind::unmanaged);
    installTool(Tool::captures);
    m_desktop.tap(Key::rightShift);
    QVERIFY(Desktop::wait([&] { return overlayIsUp(); }));
    m_desktop.stillPicture();
    m_desktop.drag({100, 120}, {399, 319});
    QVERIFY(Desktop::wait([&] { return captures().size() == 1 && !overlayIsUp(); }));

    const QString name = captures().first();
    QVERIFY2(name.startsWith(QStringLiteral("Quillmere 20")), qPrintable(name));
    const QImage expected = ground.pattern().copy(100, 120, 300, 200);
    QCOMPARE(rgb(QImage(captureFolder() + u'/' + name)), expected);
    QVERIFY(Desktop::wait([&] { return m_desktop.clipboardTypes().contains(QStringLiteral("image/png")); }));
    QCOMPARE(rgb(QImage::fromData(m_desktop.clipboard(QStringLiteral("image/png")))), expected);

    QVERIFY(isFound(name));
}

void tst_TrayApplication::aWindow()
{
    startApplication();
    const PatternWindow window(m_desktop, QStringLiteral("to be captured"), {200, 150, 320, 240}, 2);
    installTool(Tool::captures);
    QVERIFY(QDir(captureFolder()).removeRecursively()); // made again by the capture
    m_desktop.movePointer({300, 300});
    m_desktop.keyDown(Key::rightShift);
    QVERIFY(Desktop::wait([&] { return overlayIsUp(); }));
    m_desktop.keyUp(Key::rightShift);
    m_desktop.stillPicture();
    m_desktop.click({300, 300});
    QVERIFY(Desktop::wait([&] { return captures().size() == 1 && !overlayIsUp(); }));
    QCOMPARE(modeLog(), QByteArray("-iw"));
    const QImage taken = rgb(QImage(captureFolder() + u'/' + captures().first()));
    QCOMPARE(taken.size(), window.frame().size());
    QCOMPARE(taken.copy(window.content().translated(-window.frame().topLeft())), window.pattern());
}

void tst_TrayApplication::cancelled()
{
    startApplication();
    installTool(Tool::captures);
    const QStringList before = m_desktop.clipboardTypes();
    m_desktop.tap(Key::rightShift);
    QVERIFY(Desktop::wait([&] { return overlayIsUp(); }));
    m_desktop.stillPicture();
    m_desktop.tap(Key::escape);
    QVERIFY(Desktop::wait([&] { return !overlayIsUp(); }));
    QCOMPARE(captures(), QStringList());
    QCOMPARE(m_desktop.clipboardTypes(), before);
}

void tst_TrayApplication::aScrolledPageFromTheMenuToTheIndex()
{
    QProcess &panel = m_desktop.start(QStringLiteral("tint2"), {});
    m_desktop.home().script(QStringLiteral("bin/qmscroll"), "exec " QM_PROGRAMS "/qmscroll \"$@\"\n");
    startApplication();
    ViewDriver driver(m_desktop);
    const ScrolledPage &view = driver.startView({100, 60, 600, 400}, 60);
    chooseFromTheMenu(2);
    driver.drawRegion(view.area);
    QVERIFY(Desktop::wait([&] { return captures().size() == 1 && !overlayIsUp(); }));
    const QString name = captures().first();
    QVERIFY2(name.startsWith(QStringLiteral("Quillmere 20")) && name.endsWith(QStringLiteral(" scroll.png")),
             qPrintable(name));
    const QImage taken = rgb(QImage(captureFolder() + u'/' + name));
    QCOMPARE(driver.compare(view.area, taken), QString());
    QCOMPARE(taken.height(), view.content.height());
    QVERIFY(isFound(name));
    panel.kill();
    QVERIFY(Desktop::wait([&] { return panel.state() == QProcess::NotRunning; }));
}

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.panel = false});
    tst_TrayApplication test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_TrayApplication.moc"
