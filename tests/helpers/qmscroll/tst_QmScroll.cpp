// The program itself, scrolling other programs' views on a real desktop. What it writes is compared with what the views
// say they hold, row by row.

#include "tests/helpers/qmscroll/ViewDriver.h"

#include <QDir>
#include <QGuiApplication>
#include <QTest>

#include <csignal>
#include <unistd.h>

using namespace qm;
using Steps = std::function<void(ViewDriver &)>;

Q_DECLARE_METATYPE(Steps)

namespace {

constexpr QSize screen(1280, 900);
constexpr QRect place(100, 60, 700, 500); // of a view

} // namespace

class tst_QmScroll : public QObject
{
    Q_OBJECT

public:
    explicit tst_QmScroll(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private Q_SLOTS:
    void init();
    void cleanup();

    void wholePage_data();
    void wholePage();
    void regionFillsTheScreen();
    void heightLimit();
    void byHand();
    void ended_data();
    void ended();
    void signalled_data();
    void signalled();
    void endsWithItsParent();
    void pausesWhileThePointerIsAway();
    void otherKeysStayOthers();
    void whatCannotBeJoinedEndsIt();
    void scales_data();
    void scales();
    void secondHelper();
    void failures_data();
    void failures();
    void fullDisk();

private:
    bool finished(QProcess &process)
    {
        return Desktop::wait([&] { return process.state() == QProcess::NotRunning; }, std::chrono::seconds(60));
    }

    Desktop &m_desktop;
    std::unique_ptr<ViewDriver> m_driver;
    QImage m_before;
};

void tst_QmScroll::init()
{
    m_desktop.movePointer({1250, 880});
    m_before = m_desktop.stillPicture();
    m_driver = std::make_unique<ViewDriver>(m_desktop);
}

// Whatever happened, nothing is left: no frame or panel, no grab, no button held down.
void tst_QmScroll::cleanup()
{
    m_driver.reset();
    m_desktop.releaseInput();
    QVERIFY(Desktop::wait([this] { return m_desktop.selectionOwner("_QUILLMERE_CAPTURE") == 0; }));
    QVERIFY(Desktop::wait([this] { return m_desktop.picture() == m_before; }));
    QVERIFY(ViewDriver::nothingIsHeld(m_desktop));
}

void tst_QmScroll::wholePage_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QRect>("area");
    QTest::addColumn<QRect>("part"); // of the view, that is the region; null: all of it
    QTest::addColumn<int>("lines");
    const auto row = [](const char *name, const char *kind, const QRect &area, const QRect &part, int lines) {
        QTest::newRow(name) << QString::fromLatin1(kind) << area << part << lines;
    };
    row("Qt, by pixels", "browser", place, {}, 200);
    row("Qt, by lines", "plain", place, {}, 300);
    row("GTK", "gtk", place, {}, 300);
    row("a part of the width", "browser", place, {150, 0, 300, 500}, 100);
    row("a small region", "browser", place, {0, 100, 320, 240}, 60);
    row("nothing to scroll", "browser", place, {}, 5);
    row("at the upper left edge", "browser", {0, 0, 500, 400}, {}, 60);
    row("at the lower right edge", "browser", {780, 500, 500, 400}, {}, 60);
    row("full height", "gtk", {0, 0, 800, 900}, {}, 150);
}

void tst_QmScroll::wholePage()
{
    QFETCH(QString, kind);
    QFETCH(QRect, area);
    QFETCH(QRect, part);
    QFETCH(int, lines);
    const ViewDriver::View &view = m_driver->startView(kind, area, lines);
    const QRect region = part.isNull() ? view.area : part.translated(view.area.topLeft()) & view.area;
    QProcess &helper = m_driver->startCapture(region);
    QVERIFY(finished(helper));
    QCOMPARE(helper.readAllStandardError(), QByteArray());
    QCOMPARE(helper.exitCode(), 0);
    QCOMPARE(m_driver->files().size(), 1);
    QCOMPARE(m_driver->compare(region), QString());
    QVERIFY(m_driver->picture().height() >=
            std::max(view.lastRow() + 1 - (region.top() - view.area.top()) - (view.area.bottom() - region.bottom()),
                     region.height()));
}

// There is no place beside it for frame and panel: how to end is told first, and gone before anything is taken.
void tst_QmScroll::regionFillsTheScreen()
{
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("gtk"), QRect(QPoint(), screen), 150);
    QProcess &helper = m_driver->startCapture(view.area);
    QVERIFY(Desktop::wait([this] { return m_driver->button(ViewDriver::PanelButton::done).isValid(); }));
    QVERIFY(Desktop::wait([this] { return !m_driver->button(ViewDriver::PanelButton::done).isValid(); }));
    QVERIFY(finished(helper));
    QCOMPARE(m_driver->compare(view.area), QString());
    QVERIFY(m_driver->picture().height() > view.lastRow());
}

void tst_QmScroll::heightLimit()
{
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 200);
    QProcess &helper = m_driver->startCapture(view.area, {QStringLiteral("--max-height"), QStringLiteral("1234")});
    QVERIFY(finished(helper));
    QCOMPARE(helper.readAllStandardError(), QByteArray());
    QCOMPARE(m_driver->picture().height(), 1234);
    QCOMPARE(m_driver->compare(view.area), QString());
}

void tst_QmScroll::byHand()
{
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 100);
    QProcess &helper = m_driver->startCapture(view.area, {QStringLiteral("--manual")});
    const QPoint pointer = view.area.center() + QPoint(50, 50);
    m_desktop.movePointer(pointer);
    for (const Button wheel : {Button::wheelDown, Button::wheelDown, Button::wheelUp, Button::wheelDown,
                               Button::wheelDown, Button::wheelDown}) {
        const QImage before = m_desktop.stillPicture().copy(view.area);
        m_desktop.buttonDown(wheel);
        m_desktop.buttonUp(wheel);
        QVERIFY(Desktop::wait([&] { return m_desktop.picture(view.area) != before; }));
    }
    m_desktop.tap(Key::enter);
    QVERIFY(finished(helper));
    QCOMPARE(m_desktop.pointer(), pointer);
    QCOMPARE(m_driver->compare(view.area), QString());
    QVERIFY(m_driver->picture().height() > view.area.height() + 3 * 40);
}

void tst_QmScroll::ended_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("afterScrolling");
    QTest::addColumn<Steps>("steps");
    QTest::addColumn<bool>("hasFile");
    const auto row = [](const char *name, const QStringList &arguments, bool afterScrolling, bool hasFile,
                        const Steps &steps) { QTest::newRow(name) << arguments << afterScrolling << steps << hasFile; };
    const auto tap = [](Key key) { return Steps([key](ViewDriver &driver) { driver.desktop().tap(key); }); };
    const auto click = [](ViewDriver::PanelButton button) {
        return Steps([button](ViewDriver &driver) { driver.clickButton(button); });
    };
    const QStringList manual(QStringLiteral("--manual"));
    row("Return", {}, true, true, tap(Key::enter));
    row("Escape", {}, true, true, tap(Key::escape));
    row("Done", {}, true, true, click(ViewDriver::PanelButton::done));
    row("Cancel", {}, true, false, click(ViewDriver::PanelButton::cancel));
    row("Return before anything has scrolled", manual, false, true, tap(Key::enter));
    row("Escape before anything has scrolled", manual, false, false, tap(Key::escape));
    row("Done before anything has scrolled", manual, false, true, click(ViewDriver::PanelButton::done));
}

void tst_QmScroll::ended()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, afterScrolling);
    QFETCH(Steps, steps);
    QFETCH(bool, hasFile);
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 600);
    QProcess &helper = m_driver->startCapture(view.area, arguments);
    if (afterScrolling)
        QVERIFY(m_driver->hasScrolled(view));
    steps(*m_driver);
    QVERIFY(finished(helper));
    QCOMPARE(helper.exitCode(), 0);
    QCOMPARE(helper.readAllStandardError(), QByteArray());
    QCOMPARE(m_driver->files().size(), int(hasFile));
    if (hasFile)
        QCOMPARE(m_driver->compare(view.area), QString());
    if (hasFile && afterScrolling)
        QVERIFY(m_driver->picture().height() > view.area.height() && m_driver->picture().height() < view.lastRow());
}

void tst_QmScroll::signalled_data()
{
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGHUP") << SIGHUP;
    QTest::newRow("SIGKILL") << SIGKILL;
}

void tst_QmScroll::signalled()
{
    QFETCH(int, signal);
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 600);
    QProcess &helper = m_driver->startCapture(view.area);
    QVERIFY(m_driver->hasScrolled(view));
    kill(pid_t(helper.processId()), signal);
    QVERIFY(finished(helper));
    QCOMPARE(helper.exitStatus(), QProcess::CrashExit); // as Qt calls the end by a signal
    QCOMPARE(m_driver->files(), QStringList());
}

void tst_QmScroll::endsWithItsParent()
{
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 600);
    QProcess &parent = m_driver->startCaptureBelowShell(view.area);
    QVERIFY(m_driver->hasScrolled(view));
    parent.kill();
    QVERIFY(finished(parent));
    QVERIFY(Desktop::wait([this] { return m_desktop.selectionOwner("_QUILLMERE_CAPTURE") == 0; }));
    QCOMPARE(m_driver->files(), QStringList());
}

void tst_QmScroll::pausesWhileThePointerIsAway()
{
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 120);
    QProcess &helper = m_driver->startCapture(view.area);
    QVERIFY(m_driver->hasScrolled(view));
    m_desktop.movePointer({1100, 300});
    // It would otherwise have gone on for longer than the screen must rest here.
    const QImage paused = m_desktop.stillPicture().copy(view.area);
    QVERIFY(!Desktop::wait([&] { return m_desktop.picture(view.area) != paused; }, std::chrono::milliseconds(400)));
    QCOMPARE(helper.state(), QProcess::Running);
    m_desktop.movePointer(view.area.center());
    QVERIFY(finished(helper));
    QCOMPARE(m_driver->compare(view.area), QString());
    QVERIFY(m_driver->picture().height() > view.lastRow());
}

void tst_QmScroll::otherKeysStayOthers()
{
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 60);
    QProcess &helper = m_driver->startCapture(view.area, {QStringLiteral("--manual")});
    QVERIFY(Desktop::wait([this] { return ViewDriver::nothingIsHeld(m_desktop); }));
    m_desktop.keyDown(Key::escape);
    QVERIFY(Desktop::wait([this] { return !m_driver->button(ViewDriver::PanelButton::done).isValid(); }));
    // It stays until the key is up: the window below must not get half of it.
    const auto isOver = [&helper] { return helper.state() == QProcess::NotRunning; };
    QVERIFY(!Desktop::wait(isOver, std::chrono::milliseconds(400)));
    m_desktop.keyUp(Key::escape);
    QVERIFY(finished(helper));
}

void tst_QmScroll::whatCannotBeJoinedEndsIt()
{
    const PatternWindow below(m_desktop, QStringLiteral("below"), QRect(QPoint(), screen), 3,
                              PatternWindow::Kind::unmanaged);
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 600);
    QProcess &helper = m_driver->startCapture(view.area);
    QVERIFY(m_driver->hasScrolled(view));
    m_driver->endViews();
    QVERIFY(finished(helper));
    QCOMPARE(helper.exitCode(), 0);
    const QByteArray said = helper.readAllStandardError();
    const int height = m_driver->picture().height();
    QCOMPARE(said,
             "qmscroll: the picture ends at " + QByteArray::number(height) + " pixels: what follows does not match\n");
    QCOMPARE(m_driver->compare(view.area), QString());
}

void tst_QmScroll::scales_data()
{
    QTest::addColumn<QString>("factor");
    QTest::addColumn<int>("dpi");
    QTest::newRow("twice") << QStringLiteral("QT_SCALE_FACTOR=2") << 144;
    QTest::newRow("one and a half") << QStringLiteral("QT_SCALE_FACTOR=1.5") << 72;
}

// No scale changes a pixel.
void tst_QmScroll::scales()
{
    QFETCH(QString, factor);
    QFETCH(int, dpi);
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 60);
    QProcess &helper = m_driver->startCapture(view.area, {}, {factor});
    QVERIFY(finished(helper));
    QCOMPARE(m_driver->compare(view.area), QString());
    QCOMPARE(qRound(m_driver->picture().dotsPerMeterX() * 0.0254), dpi);
}

void tst_QmScroll::secondHelper()
{
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 60);
    QProcess &first = m_driver->startCapture(view.area, {QStringLiteral("--manual")});
    QProcess &second =
        m_desktop.start(QString::fromLatin1(ViewDriver::program),
                        {QStringLiteral("--region"), m_driver->folder() + QStringLiteral("/second.png")});
    QVERIFY(finished(second));
    QCOMPARE(second.exitCode(), 0);
    QCOMPARE(m_driver->files(), QStringList());
    QCOMPARE(first.state(), QProcess::Running);
    m_desktop.tap(Key::enter);
    QVERIFY(finished(first));
    QCOMPARE(m_driver->files().size(), 1);
}

void tst_QmScroll::failures_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("environment");
    const QString path = m_desktop.home().file(QStringLiteral("captures/a.png"));
    const auto row = [](const char *name, const QStringList &arguments, const QString &environment = {}) {
        QTest::newRow(name) << arguments << (environment.isEmpty() ? QStringList() : QStringList(environment));
    };
    const QString region = QStringLiteral("--region");
    row("no such folder", {region, QStringLiteral("/nowhere/at/all/a.png")});
    row("no X server", {region, path}, QStringLiteral("DISPLAY=:59999"));
    row("no path", {region});
    row("nothing", {});
    row("unknown option", {region, path, QStringLiteral("--fast")});
    row("no height", {region, path, QStringLiteral("--max-height"), QStringLiteral("tall")});
    row("a height of nothing", {region, path, QStringLiteral("--max-height"), QStringLiteral("0")});
}

void tst_QmScroll::failures()
{
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, environment);
    QProcess &helper = m_desktop.start(QString::fromLatin1(ViewDriver::program), arguments, environment);
    QVERIFY(finished(helper));
    QCOMPARE(helper.exitCode(), 1);
    const QByteArray said = helper.readAllStandardError();
    QVERIFY2(said.startsWith("qmscroll: ") && said.count('\n') == 1, said.constData());
    QCOMPARE(m_driver->files(), QStringList());
}

// A disk of 64 kB, in a mount name space that ends with the helper. It lists what is left there.
void tst_QmScroll::fullDisk()
{
    QProcess &probe = m_desktop.start(QStringLiteral("unshare"), {QStringLiteral("-rm"), QStringLiteral("true")});
    QVERIFY(finished(probe));
    if (probe.exitCode() != 0)
        QSKIP("no mount name spaces here");
    const ViewDriver::View &view = m_driver->startView(QStringLiteral("browser"), place, 300);
    QProcess &helper = m_driver->startCaptureOnSmallDisk(view.area);
    QVERIFY(finished(helper));
    QCOMPARE(helper.readAllStandardOutput(), QByteArray());
    QCOMPARE(helper.exitCode(), 1);
    const QByteArray said = helper.readAllStandardError();
    QVERIFY2(said.startsWith("qmscroll: cannot write") && said.count('\n') == 1, said.constData());
}

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.size = screen, .panel = false});
    tst_QmScroll test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_QmScroll.moc"
