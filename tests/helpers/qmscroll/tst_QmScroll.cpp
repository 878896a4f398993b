// The program itself, scrolling another program's page on a real desktop. What it writes is compared with that page, row by
// row.

#include "tests/helpers/qmscroll/ViewDriver.h"
#include "tests/support/PatternWindow.h"

#include <QTest>

#include <csignal>

using namespace qm;
using namespace Qt::StringLiterals;
using Steps = std::function<void(Desktop &, ViewDriver &)>;

Q_DECLARE_METATYPE(Steps)

namespace {

constexpr QSize screen(1280, 900);
constexpr QRect place(100, 60, 700, 500); // of a view
const QString program = QString::fromLatin1(ViewDriver::program);

} // namespace

class tst_QmScroll : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_desktop.movePointer({1250, 880});
        m_before = m_desktop.stillPicture();
        m_driver = std::make_unique<ViewDriver>(m_desktop);
    }

    // Whatever happened, nothing is left: no frame or panel, no grab, no button held down.
    void cleanup()
    {
        m_desktop.releaseInput();
        m_driver.reset();
        QVERIFY(m_desktop.overlayIsGone());
        QVERIFY(m_desktop.shows(m_before));
    }

    void wholePage_data()
    {
        QTest::addColumn<QRect>("area");
        QTest::addColumn<QRect>("region");
        QTest::addColumn<QStringList>("environment");
        QTest::addColumn<int>("dpi");
        const QRect corner(780, 400, 500, 500);
        QTest::newRow("all of a view") << place << place << QStringList() << 72;
        QTest::newRow("a part of one") << place << QRect(100, 160, 320, 240) << QStringList() << 72;
        QTest::newRow("in the corner of the screen, twice as fine")
            << corner << corner << QStringList(u"QT_SCALE_FACTOR=2"_s) << 144;
    }

    void wholePage()
    {
        QFETCH(QRect, area);
        QFETCH(QRect, region);
        QFETCH(QStringList, environment);
        QFETCH(int, dpi);
        const ScrolledPage &view = m_driver->startView(area, 100);
        QProcess &helper = m_driver->startCapture(region, {}, environment);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        QCOMPARE(helper.exitCode(), 0);
        QCOMPARE(m_driver->files().size(), 1);
        QCOMPARE(m_driver->compare(region), QString());
        QCOMPARE(m_driver->picture().height(),
                 view.content.height() - (region.top() - area.top()) - (area.bottom() - region.bottom()));
        QCOMPARE(qRound(m_driver->picture().dotsPerMeterX() * 0.0254), dpi);
    }

    // There is no place beside it for frame and panel: how to end is told first, and gone before anything is taken.
    void regionFillsTheScreen()
    {
        const ScrolledPage &view = m_driver->startView(QRect(QPoint(), screen), 100);
        QProcess &helper = m_driver->startCapture(view.area);
        QVERIFY(Desktop::wait([this] { return m_desktop.find(ViewDriver::done).isNull(); }));
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(m_driver->compare(view.area), QString());
        QCOMPARE(m_driver->picture().height(), view.content.height());
    }

    // A last word is left to be read; the next capture may begin meanwhile.
    void heightLimit()
    {
        m_driver->startView(place, 200);
        QProcess &helper = m_driver->startCapture(place, {u"--max-height"_s, u"1234"_s});
        QVERIFY(Desktop::wait([this] { return m_driver->files().size() == 1; }));
        QVERIFY(m_desktop.overlayIsGone());
        const QImage told = m_desktop.picture();
        QVERIFY(Desktop::ended(helper));
        QVERIFY(m_desktop.picture() != told);
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        QCOMPARE(m_driver->picture().height(), 1234);
        QCOMPARE(m_driver->compare(place), QString());
    }

    void byHand()
    {
        const ScrolledPage &view = m_driver->startView(place, 100);
        QProcess &helper = m_driver->startCapture(place, {u"--manual"_s});
        const QPoint pointer = place.center() + QPoint(50, 50);
        m_desktop.movePointer(pointer);
        for (const Button wheel : {Button::wheelDown, Button::wheelDown, Button::wheelUp, Button::wheelDown,
                                   Button::wheelDown, Button::wheelDown}) {
            const int before = view.offset();
            m_desktop.stillPicture(); // the panel has told of the last step
            m_desktop.click(pointer, wheel);
            QVERIFY(Desktop::wait([&] { return view.offset() != before; }));
        }
        // Another one has to wait, and a window that opens does not hide the panel.
        QProcess &second = m_desktop.start(program, {u"--region"_s, m_driver->path() + u".second.png"_s});
        QVERIFY(Desktop::ended(second));
        QCOMPARE(second.exitCode(), 0);
        const QRect panel = m_desktop.find(ViewDriver::done);
        const PatternWindow above(m_desktop, u"above"_s, panel.adjusted(-300, -50, 30, -5), 3,
                                  PatternWindow::Kind::unmanaged);
        QVERIFY(Desktop::wait([&] { return m_desktop.find(ViewDriver::done) == panel; }));
        m_desktop.tap(Key::capsLock);
        m_desktop.tap(Key::enter);
        m_desktop.tap(Key::capsLock);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(m_desktop.pointer(), pointer);
        QCOMPARE(m_driver->compare(place), QString());
        QCOMPARE(m_driver->picture().height(), place.height() + view.offset());
    }

    void wished_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<bool>("hasFile");
        QTest::newRow("Done") << Steps([](Desktop &, ViewDriver &driver) { driver.click(ViewDriver::done); }) << true;
        QTest::newRow("Cancel") << Steps([](Desktop &, ViewDriver &driver) { driver.click(ViewDriver::cancel); })
                                << false;
        // It stays until the key is up: the window below must not get half of it.
        QTest::newRow("Escape") << Steps([](Desktop &desktop, ViewDriver &driver) {
            desktop.keyDown(Key::escape);
            QVERIFY(Desktop::wait([&] { return desktop.find(ViewDriver::done).isNull(); }));
            desktop.stillPicture();
            QVERIFY(desktop.selectionOwner("_QUILLMERE_CAPTURE"));
            QCOMPARE(driver.files(), QStringList());
            desktop.keyUp(Key::escape);
        }) << false;
    }

    void wished()
    {
        QFETCH(Steps, steps);
        QFETCH(bool, hasFile);
        m_driver->startView(place, 100);
        QProcess &helper = m_driver->startCapture(place, {u"--manual"_s});
        steps(m_desktop, *m_driver);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.exitCode(), 0);
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        QCOMPARE(m_driver->files().size(), int(hasFile));
        if (hasFile)
            QCOMPARE(m_driver->compare(place), QString());
    }

    void pauses_data()
    {
        QTest::addColumn<Steps>("begin");
        QTest::newRow("the pointer is elsewhere in the window")
            << Steps([](Desktop &d, ViewDriver &) { d.movePointer(place.topLeft() + QPoint(20, 20)); });
        QTest::newRow("a key is held") << Steps([](Desktop &d, ViewDriver &) { d.keyDown(Key::leftShift); });
    }

    void pauses()
    {
        QFETCH(Steps, begin);
        const ScrolledPage &view = m_driver->startView(place, 200);
        const QRect region = place.adjusted(0, 40, 0, 0);
        QProcess &helper = m_driver->startCapture(region);
        const QRect words = secondLine();
        const QImage empty = m_desktop.picture(words);
        QVERIFY(m_driver->hasScrolled());
        QCOMPARE(m_desktop.pointer(), region.center());
        begin(m_desktop, *m_driver);
        QVERIFY(Desktop::wait([&] { return m_desktop.picture(words) != empty; }));
        QVERIFY(view.offset() + place.height() < view.content.height());
        m_desktop.releaseInput();
        m_desktop.movePointer(place.center());
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(m_driver->compare(region), QString());
        QCOMPARE(m_driver->picture().height(), view.content.height() - 40);
    }

    void killed_data()
    {
        QTest::addColumn<int>("signal"); // 0: its display is gone; -1: its parent is
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGKILL") << SIGKILL;
        QTest::newRow("its display gone") << 0;
        QTest::newRow("its parent gone") << -1;
    }

    void killed()
    {
        QFETCH(int, signal);
        m_driver->startView(place, 600);
        const QString parent = signal < 0 ? u"\"$0\" \"$@\" & wait"_s : u"exec \"$0\" \"$@\""_s;
        QProcess &helper = m_desktop.start(u"/bin/sh"_s, {u"-c"_s, parent, program, u"--region"_s, m_driver->path()});
        m_driver->drawRegion(place);
        QVERIFY(m_driver->hasScrolled());
        const QString left =
            m_driver->path().section(u'/', 0, -2) + u"/."_s + m_driver->path().section(u'/', -1) + u".unfinished"_s;
        QVERIFY(Desktop::wait([&left] { // has its first rows, and tells of them in its header
            QFile file(left);
            return file.open(QIODevice::ReadOnly) && !file.read(24).endsWith(QByteArray(4, '\0')) && file.size() > 1000;
        }));
        if (signal)
            kill(pid_t(helper.processId()), signal > 0 ? signal : SIGKILL);
        else
            m_desktop.cutOff(m_desktop.selectionOwner("_QUILLMERE_CAPTURE"));
        QVERIFY(signal ? Desktop::ended(helper) : failed(helper));
        QCOMPARE(helper.exitStatus() == QProcess::CrashExit, signal != 0); // as Qt calls the end by a signal
        QVERIFY(m_desktop.overlayIsGone());
        if (signal == SIGKILL) { // the next one saves what there is
            QProcess &next = m_desktop.start(u"env"_s, {u"DISPLAY=:59999"_s, program, u"--region"_s, m_driver->path()});
            QVERIFY(Desktop::ended(next));
            QVERIFY(next.readAllStandardOutput().contains(m_driver->path().toUtf8()));
            QCOMPARE(m_driver->compare(place), QString());
            QVERIFY(QFile::remove(m_driver->path()));
        }
        QCOMPARE(m_driver->files(), QStringList());
    }

    // The wheel would turn whatever lies there now.
    void aWindowThatIsGonePauses()
    {
        const ScrolledPage below(m_desktop, place.adjusted(-40, -40, 40, 40), 100);
        m_desktop.click(place.center(), Button::wheelDown);
        QVERIFY(Desktop::wait([&below] { return below.offset() > 0; }));
        const int offset = below.offset();
        m_driver->startView(place, 600);
        QProcess &helper = m_driver->startCapture(place);
        const QRect words = secondLine();
        const QImage empty = m_desktop.picture(words);
        QVERIFY(m_driver->hasScrolled());
        m_driver->endView();
        QVERIFY(Desktop::wait([&] { return m_desktop.picture(words) != empty; }));
        m_desktop.tap(Key::enter);
        QVERIFY(Desktop::ended(helper));
        const QByteArray said = helper.readAllStandardError(); // what is seen in the end is not in the picture
        QVERIFY2(said.startsWith("qmscroll: the picture ends at ") && said.endsWith(" what follows does not match\n"),
                 said.constData());
        QCOMPARE(m_driver->compare(place), QString());
        QCOMPARE(below.offset(), offset);
    }

    // The way back over a long page is many clicks, which would turn what the pointer comes to lie over.
    void thePointerLeavesWhileTheWheelTurns()
    {
        const ScrolledPage other(m_desktop, QRect(950, 580, 300, 300), 400);
        while (other.offset() < 3000) {
            const int before = other.offset();
            m_desktop.click(other.area.center(), Button::wheelDown);
            QVERIFY(Desktop::wait([&] { return other.offset() != before; }));
        }
        const int offset = other.offset();
        const ScrolledPage &view = m_driver->startView(place, 600);
        const int end = view.content.height() - place.height();
        QProcess &helper = m_driver->startCapture(place);
        QVERIFY(Desktop::wait([&] { return view.offset() == end; }));
        QVERIFY(Desktop::wait([&] { return view.offset() < end; }));
        m_desktop.movePointer(other.area.center());
        QVERIFY(m_desktop.stillPicture() != m_before);
        QVERIFY2(offset - other.offset() <= 16 * 57, QByteArray::number(offset - other.offset()).constData());
        m_desktop.tap(Key::enter);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(m_driver->compare(place), QString());
    }

    void failures()
    {
        const QString region = u"--region"_s, path = m_driver->path();
        for (const QStringList &command : {QStringList{program, region, u"/nowhere/at/all/a.png"_s},
                                           {u"env"_s, u"DISPLAY=:59999"_s, program, region, path},
                                           {program, region},
                                           {program, region, path, u"--max-height"_s, u"tall"_s}})
            QVERIFY2(failed(m_desktop.start(command.first(), command.mid(1))), qPrintable(command.join(u' ')));
    }

    void fullDisk()
    {
        m_driver->startView(place, 300);
        QProcess &helper = m_desktop.startOnFullDisk(program, {u"--region"_s, m_driver->path()});
        m_driver->drawRegion(place);
        QVERIFY(failed(helper));
    }

private:
    QRect secondLine() const // of the panel's words: it says why it waits
    {
        const QRect button = m_desktop.find(ViewDriver::cancel);
        return QRect(button.left(), button.top() - 20, 100, 14);
    }

    bool failed(QProcess &helper) const // in the end, with one line on stderr and nothing left
    {
        const bool hasEnded = Desktop::ended(helper);
        const QByteArray said = helper.readAllStandardError();
        return hasEnded && helper.exitCode() == 1 && said.startsWith("qmscroll: ") && said.count('\n') == 1 &&
               m_driver->files().isEmpty();
    }

    Desktop m_desktop{{.size = screen, .panel = false}};
    std::unique_ptr<ViewDriver> m_driver;
    QImage m_before;
};

QTEST_MAIN(tst_QmScroll)
#include "tst_QmScroll.moc"
