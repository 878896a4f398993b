// The program itself, driven by keys and pointer on a real desktop.

#include "helpers/overlay/OverlayFrame.h"
#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"
#include "tests/support/Pixels.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QTest>

#include <algorithm>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
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

} // namespace

class tst_QmCapture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir(m_folder).removeRecursively();
        QDir().mkpath(m_folder);
        m_desktop.movePointer({10, 10});
        m_ground = std::make_unique<PatternWindow>(m_desktop, u"ground"_s, QRect(0, 0, 1600, 700), 1, Kind::unmanaged);
        m_before = m_desktop.stillPicture();
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

    // Each key means what it says: the pointer and then the selection go to the right, a square is drawn and moved.
    void regionByKeys()
    {
        const QImage picture = taken(m_desktop, u"-i"_s, [](Desktop &d) {
            d.movePointer({99, 120});
            d.tap(Key::right);
            QVERIFY(Desktop::wait([&] { return d.pointer() == QPoint(100, 120); }));
            d.buttonDown();
            d.keyDown(Key::rightShift);
            d.movePointer({199, 150});
            d.keyDown(Key::space);
            d.movePointer({299, 200});
            d.keyUp(Key::space);
            d.keyUp(Key::rightShift);
            d.tap(Key::right);
            d.tap(Key::enter);
        });
        QCOMPARE(rgb(picture), m_before.copy(201, 170, 100, 100));
        QCOMPARE(files().size(), 1);
        QCOMPARE(m_helper->readAllStandardError(), QByteArray());
    }

    // Each monitor has its scale, which changes no pixel; what no monitor shows is black.
    void monitors()
    {
        m_desktop.setResource("Xft.dpi:\t192\n");
        QPainter(&m_before).fillRect(unseen, Qt::black);
        for (const auto &[area, dpi] : {std::pair(QRect(600, 300, 200, 100), 72), {{990, 650, 610, 150}, 144}}) {
            const auto drag = [of = area](Desktop &d) { d.drag(of.topLeft(), of.bottomRight()); };
            const QImage picture = taken(m_desktop, u"-i"_s, drag, {u"QT_SCREEN_SCALE_FACTORS=M0=1"_s});
            QCOMPARE(rgb(picture), m_before.copy(area));
            QCOMPARE(dotsPerInch(picture), dpi);
        }
        m_desktop.setResource({});
    }

    // What the server dims, what is painted and what is painted again lie side by side without a seam.
    void overlay()
    {
        QVERIFY(startCapture());
        const QRect selection({500, 300}, QPoint(700, 400));
        m_desktop.movePointer(selection.topLeft());
        m_desktop.buttonDown();
        m_desktop.movePointer({1500, 650}); // more than is painted at once
        QVERIFY(m_desktop.shows(m_before.copy(1100, 310, 150, 200), {1100, 310}));
        m_desktop.movePointer(selection.bottomRight());
        QVERIFY(m_desktop.shows(m_before.copy(selection), selection.topLeft()));
        QVERIFY(m_desktop.shows(0xffffffff, selection.topLeft() - QPoint(1, 1)));
        QVERIFY(m_desktop.shows(behindTheCurtain(m_before.copy(850, 560, 700, 100)), {850, 560}));
        QVERIFY(m_desktop.shows(m_before.pixel(selection.bottomRight()), {780, 480})); // the loupe's middle
        {
            const PatternWindow above(m_desktop, u"above for a while"_s, {100, 100, 300, 300}, 3, Kind::unmanaged);
        }
        QVERIFY(m_desktop.shows(behindTheCurtain(m_before.copy(0, 0, 490, 700))));
    }

    void heldDown_data()
    {
        QTest::addColumn<Steps>("cancel");
        QTest::addColumn<bool>("isStuck");
        QTest::newRow("a key") << Steps([](Desktop &d) { d.keyDown(Key::escape); }) << false;
        QTest::newRow("a button") << Steps([](Desktop &d) { d.buttonDown(Button::right); }) << false;
        QTest::newRow("a key that is stuck") << Steps([](Desktop &d) { d.keyDown(Key::escape); }) << true;
    }

    // The overlay closes when it goes down. The window below gets no half of it: keyboard and pointer are kept until it is
    // up.
    void heldDown()
    {
        QFETCH(Steps, cancel);
        QFETCH(bool, isStuck);
        QVERIFY(startCapture());
        cancel(m_desktop);
        QVERIFY(m_desktop.shows(m_before));
        m_desktop.stillPicture();
        QVERIFY(m_desktop.overlayIsUp());
        if (!isStuck)
            m_desktop.releaseInput();
        QVERIFY(Desktop::ended(*m_helper));
        QCOMPARE(m_helper->exitCode(), 0);
        QCOMPARE(files(), QStringList());
    }

    void framedWindow()
    {
        m_ground.reset();
        const PatternWindow window(m_desktop, u"A letter 手紙"_s, {200, 150, 320, 240}, 2);
        const QRect frame = window.frame(), lit(frame.topLeft() + QPoint(5, 5), QSize(frame.width() - 10, 60));
        QVERIFY(frame.height() > window.content().height());
        m_desktop.movePointer(window.content().center());
        const QImage before = m_desktop.stillPicture();
        const QImage picture = taken(m_desktop, u"-i"_s, [&](Desktop &d) {
            d.tap(Key::space); // from regions to windows
            QVERIFY(d.shows(before.copy(lit), lit.topLeft()));
            d.click(window.content().center());
        });
        QCOMPARE(rgb(picture), before.copy(frame));
    }

    // Only what is seen of it can be taken: the part beside the other.
    void coveredWindow()
    {
        m_ground.reset();
        const PatternWindow window(m_desktop, u"below"_s, {200, 150, 320, 240}, 2);
        const PatternWindow above(m_desktop, u"above"_s, {360, 100, 400, 400}, 3);
        const QImage before = m_desktop.stillPicture();
        QRect seen = window.frame();
        seen.setRight(above.frame().left() - 1);
        const QImage picture = taken(m_desktop, u"-iw"_s, [&](Desktop &d) { d.click(seen.center()); });
        QCOMPARE(rgb(picture), before.copy(seen));
    }

    void grabbedByAnother_data()
    {
        QTest::addColumn<bool>("letGo");
        QTest::addColumn<bool>("hasKeyboard");
        QTest::newRow("a menu that closes") << true << true;
        QTest::newRow("a menu that stays") << false << true;
        QTest::newRow("a program that draws") << false << false;
    }

    void grabbedByAnother()
    {
        QFETCH(bool, letGo);
        QFETCH(bool, hasKeyboard);
        QVERIFY(m_desktop.grabInput());
        if (!hasKeyboard)
            xcb_ungrab_keyboard(m_desktop.connection(), XCB_CURRENT_TIME);
        m_helper = &m_desktop.start(program, {u"-i"_s, m_path});
        // The loupe beside the pointer is there: it has tried more than once by then.
        QVERIFY(m_desktop.shows(m_before.pixel(10, 10), {90, 90}));
        if (!hasKeyboard) // and must not have taken it from a program that has the pointer
            QCOMPARE(m_desktop
                         .ask(xcb_grab_keyboard_reply,
                              xcb_grab_keyboard(m_desktop.connection(), 0, m_desktop.root(), XCB_CURRENT_TIME, 1, 1))
                         ->status,
                     0);
        if (letGo) {
            m_desktop.releaseInput();
            QVERIFY(m_desktop.overlayIsUp());
            m_desktop.drag({100, 100}, {149, 149});
            QVERIFY(Desktop::ended(*m_helper));
            QCOMPARE(QImage(m_path).size(), QSize(50, 50));
        } else {
            QVERIFY(failed());
            QVERIFY(m_desktop.shows(m_before));
        }
    }

    void secondHelper()
    {
        QVERIFY(startCapture());
        QProcess &second = m_desktop.start(program, {u"-i"_s, m_folder + u"/second.png"_s});
        QVERIFY(Desktop::ended(second));
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(files(), QStringList());
        QCOMPARE(m_helper->state(), QProcess::Running);
        m_desktop.drag({100, 100}, {149, 149});
        QVERIFY(Desktop::ended(*m_helper));
        QCOMPARE(rgb(QImage(m_path)), m_before.copy(100, 100, 50, 50));
    }

    void killedInTheMiddle_data()
    {
        QTest::addColumn<Steps>("end");
        QTest::addColumn<QString>("reason"); // if it tells one
        QTest::newRow("killed") << Steps([this](Desktop &) { m_helper->kill(); }) << QString();
        QTest::newRow("its display gone") << Steps([](Desktop &d) { d.cutOff(d.selectionOwner("_QUILLMERE_CAPTURE")); })
                                          << u"the display server is gone"_s;
        QTest::newRow("the screen changed") << Steps([](Desktop &d) {
            xcb_configure_notify_event_t event = {};
            event.response_type = XCB_CONFIGURE_NOTIFY;
            event.window = d.root();
            event.width = event.height = 640;
            xcb_send_event(d.connection(), 0, d.root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                           reinterpret_cast<char *>(&event));
            xcb_flush(d.connection());
        }) << u"the screen changed"_s;
    }

    void killedInTheMiddle()
    {
        QFETCH(Steps, end);
        QFETCH(QString, reason);
        QVERIFY(startCapture());
        m_desktop.movePointer({100, 100});
        m_desktop.buttonDown();
        m_desktop.movePointer({300, 300});
        QVERIFY(m_desktop.shows(behindTheCurtain(m_before.copy(700, 500, 50, 50)), {700, 500}));
        QVERIFY(m_desktop.shows(m_before.copy(110, 110, 50, 50), {110, 110}));
        end(m_desktop);
        m_desktop.releaseInput();
        QCOMPARE(failed(), !reason.isEmpty());
        QCOMPARE(saidByHelper()[u"error"_s].toString(), reason);
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

    void failures()
    {
        for (const QStringList &command : {QStringList{u"env"_s, u"DISPLAY=:59999"_s, program, u"-i"_s, m_path},
                                           {program, u"-i"_s},
                                           {program, u"-i"_s, u"-iw"_s, m_path},
                                           {program, u"--area"_s, u"1,2,3"_s, m_path},
                                           {program, u"--area"_s, u"5000,10,30,30"_s, m_path}}) {
            m_helper = &m_desktop.start(command.first(), command.mid(1));
            QVERIFY2(failed(), qPrintable(command.join(u' ')));
        }
    }

    // The picture goes elsewhere, for its user only; where that is impossible too, at least the reason is told.
    void whatCannotBeSaved()
    {
        const QString unsaved = m_folder + u"/unsaved.png"_s;
        m_helper = &m_desktop.start(program, {u"--unsaved"_s, unsaved, u"-i"_s, u"/nowhere/at/all/a.png"_s});
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.drag({100, 100}, {149, 149});
        QVERIFY(Desktop::ended(*m_helper));
        const QJsonObject said = saidByHelper();
        QVERIFY(!said[u"error"_s].toString().isEmpty());
        QCOMPARE(said[u"unsaved"_s].toString(), unsaved);
        QCOMPARE(said[u"area"_s].toArray(), (QJsonArray{100, 100, 50, 50}));
        QCOMPARE(rgb(QImage(unsaved)), m_before.copy(100, 100, 50, 50));
        QCOMPARE(QFile::permissions(unsaved) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
        QVERIFY(QFile::remove(unsaved));

        m_helper = &m_desktop.startOnFullDisk(program, {u"--unsaved"_s, unsaved, u"-i"_s, m_path});
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.drag({100, 100}, {799, 599});
        QVERIFY(failed());
    }

    // Also of one that takes it while the user still draws.
    void neverReplacesAnotherCapture()
    {
        const QString taken = m_folder + u"/Quillmere 2026-10-25-02-59-59.png"_s;
        m_helper = &m_desktop.start(program, {u"-i"_s, taken});
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.home().write(u"captures/"_s + QFileInfo(taken).fileName(), "another");
        m_desktop.drag({100, 100}, {149, 149});
        QVERIFY(Desktop::ended(*m_helper));
        const QString next = m_folder + u"/Quillmere 2026-10-25-03-00-00.png"_s;
        QCOMPARE(saidByHelper()[u"file"_s].toString(), next);
        QCOMPARE(rgb(QImage(next)), m_before.copy(100, 100, 50, 50));
        QCOMPARE(files().size(), 2);
    }

    void withoutAsking()
    {
        QPainter(&m_before).fillRect(unseen, Qt::black);
        for (const auto &[way, area] : {std::pair(QStringList{u"--monitor"_s}, leftMonitor),
                                        {{u"--desktop"_s}, QRect(0, 0, 1600, 800)},
                                        {{u"--area"_s, u"990,650,20,1000"_s}, QRect(990, 650, 20, 150)}}) {
            m_helper = &m_desktop.start(program, way + QStringList(m_path));
            QVERIFY(Desktop::ended(*m_helper));
            QCOMPARE(rgb(QImage(m_path)), m_before.copy(area));
        }
    }

    // What covers the screen at first, and what is drawn when it has gone, changing until the given moment.
    void comesToRest()
    {
        const QRect menu(200, 200, 150, 250);
        std::optional<PatternWindow> cover;
        cover.emplace(m_desktop, u"menu"_s, menu, 7, Kind::unmanaged);
        m_helper = &m_desktop.start(program, {u"--rest"_s, u"200,200,150,250"_s, u"--monitor"_s, m_path});
        for (int seed = 8; seed < 14; ++seed) { // a program that is slow to begin, or a fading compositor
            QTest::qWait(seed == 8 ? 120 : 40);
            cover.emplace(m_desktop, u"menu %1"_s.arg(seed), menu, seed, Kind::unmanaged);
        }
        cover.reset();
        QVERIFY(Desktop::ended(*m_helper));
        QCOMPARE(rgb(QImage(m_path)), m_before.copy(leftMonitor));
    }

    void aColor()
    {
        m_helper = &m_desktop.start(program, {u"-i"_s, m_path});
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.movePointer({321, 234});
        m_desktop.tap(Key::c);
        QVERIFY(Desktop::ended(*m_helper));
        QCOMPARE(saidByHelper()[u"color"_s].toString(), m_before.pixelColor(321, 234).name());
        QCOMPARE(files(), QStringList());
    }

    // The key that opened it closes it again; and a menu may hold the keyboard for as long as it likes.
    void theTriggerAndPatience()
    {
        QVERIFY(m_desktop.grabInput());
        m_helper = &m_desktop.start(program, {u"--patient"_s, u"--trigger"_s, u"rightShift"_s, u"-i"_s, m_path});
        QVERIFY(!Desktop::wait([&] { return m_helper->state() == QProcess::NotRunning; }, 1500ms));
        m_desktop.releaseInput();
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.tap(Key::leftShift);
        m_desktop.tap(Key::rightShift);
        QVERIFY(!Desktop::wait([&] { return m_helper->state() == QProcess::NotRunning; }, 200ms));
        m_helper->kill();
        QVERIFY(Desktop::ended(*m_helper));
        m_helper = &m_desktop.start(program, {u"--trigger"_s, u"rightShift"_s, u"-i"_s, m_path});
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.tap(Key::rightShift);
        QVERIFY(Desktop::ended(*m_helper));
        QCOMPARE(files(), QStringList());
    }

    // From here on each test has a desktop of its own; the home of the first goes with them.
    // Under a compositor each window has pixels of its own: all of them are taken, and nothing that shines through.
    void windowsUnderACompositor()
    {
        Desktop desktop({.panel = false, .compositor = true});
        const PatternWindow covered(desktop, u"below"_s, {200, 150, 320, 240}, 2);
        const PatternWindow above(desktop, u"above"_s, {360, 100, 400, 400}, 3);
        QImage picture(100, 80, QImage::Format_ARGB32_Premultiplied);
        picture.fill(0x80402010);
        const PatternWindow glass(desktop, u"glass"_s, {900, 150, 100, 80}, picture, Kind::managed);
        QVERIFY(desktop.shows(above.pattern(), above.content().topLeft())); // the compositor shows it a little later
        for (const PatternWindow *window : {&covered, &glass}) {
            const QRect content = window->content().translated(-window->frame().topLeft());
            const QPoint inside = window->content().topLeft() + QPoint(20, 20);
            picture = taken(desktop, u"-iw"_s, [&](Desktop &d) { d.click(inside); });
            QCOMPARE(picture.size(), window->frame().size());
            QCOMPARE(picture.copy(content).convertToFormat(window->pattern().format()), window->pattern());
        }
    }

    void windowsWithoutAWindowManager()
    {
        Desktop desktop({.panel = false});
        const PatternWindow left(desktop, u"left behind"_s, {700, 150, 100, 100}, 3);
        desktop.stopWindowManager(); // its list still names that window
        const PatternWindow window(desktop, u"alone"_s, {200, 150, 320, 240}, 2, Kind::unmanaged);
        PatternWindow hidden(desktop, u"hidden"_s, {180, 130, 400, 300}, 4, Kind::unmanaged);
        hidden.hide();
        QCOMPARE(rgb(taken(desktop, u"-iw"_s, [](Desktop &d) { d.click({300, 300}); })), window.pattern());
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

    // Each colour comes out as near as the screen could show it. An odd width: rows are padded.
    void screens()
    {
        QFETCH(int, depth);
        QFETCH(QStringList, server);
        QFETCH(int, tolerance);
        Desktop desktop({.size = {641, 480}, .depth = depth, .windowManager = false, .panel = false, .server = server});
        m_ground.reset();
        for (Desktop *each : {&desktop, &m_desktop}) {
            const QStringList colors{u"-fg"_s, u"#c86432"_s, u"-bg"_s, u"#28a0f0"_s};
            QVERIFY(Desktop::ended(each->start(u"xsetroot"_s, QStringList{u"-mod"_s, u"13"_s, u"7"_s} + colors)));
        }
        const QImage expected = m_desktop.picture({100, 100, 100, 60});
        const QImage before = depth == 24 ? desktop.stillPicture().copy(100, 100, 300, 200) : QImage();
        const QImage picture = taken(desktop, u"-i"_s, [&](Desktop &d) {
            d.movePointer({100, 100});
            d.buttonDown(Button::left);
            d.movePointer({599, 449}); // painted in several pieces
            QVERIFY(depth != 24 || d.shows(before, {100, 100}));
            d.movePointer({199, 159});
            d.buttonUp(Button::left);
        });
        QCOMPARE(picture.size(), expected.size());
        for (int i = 0; i < 100 * 60; ++i)
            QVERIFY(Pixels::near(picture.pixel(i % 100, i / 100), expected.pixel(i % 100, i / 100), tolerance));
    }

private:
    bool startCapture()
    {
        m_helper = &m_desktop.start(program, {u"-i"_s, m_path});
        return m_desktop.overlayIsUp();
    }
    // By a whole capture; null when something went wrong.
    QImage taken(Desktop &desktop, const QString &mode, const Steps &steps, const QStringList &environment = {})
    {
        m_helper = &desktop.start(program, {mode, m_path}, environment);
        const bool isUp = desktop.overlayIsUp();
        steps(desktop);
        desktop.releaseInput();
        const bool isWhole = isUp && Desktop::ended(*m_helper) && m_helper->exitCode() == 0 && desktop.overlayIsGone();
        const QImage picture = isWhole ? QImage(m_path) : QImage();
        if (&desktop != &m_desktop)
            m_helper = nullptr; // it goes with its desktop
        return picture;
    }
    QJsonObject saidByHelper() { return QJsonDocument::fromJson(m_helper->readAllStandardOutput()).object(); }
    QStringList files() const { return QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System); }
    bool failed() const // in the end, with one line on stderr and nothing left
    {
        const bool hasEnded = Desktop::ended(*m_helper);
        const QByteArray said = m_helper->readAllStandardError();
        return hasEnded && m_helper->exitCode() == 1 && said.startsWith("qmcapture: ") && said.count('\n') == 1 &&
               files().isEmpty();
    }

    Desktop m_desktop{{.size = {1600, 800}, .monitors = {leftMonitor, rightMonitor}, .panel = false}};
    const QString m_folder = m_desktop.home().file(u"captures"_s), m_path = m_folder + u"/a.png"_s;
    QProcess *m_helper = nullptr;
    std::unique_ptr<PatternWindow> m_ground; // above everything: all of the desktop is known
    QImage m_before;                         // the desktop as it was
};

QTEST_MAIN(tst_QmCapture)
#include "tst_QmCapture.moc"
