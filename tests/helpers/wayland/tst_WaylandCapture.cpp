// The program itself, driven by keys and pointer on sway.

#include "helpers/curtain/Dimming.h"
#include "tests/support/PatternWindow.h"
#include "tests/support/SwayDesktop.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using Steps = std::function<void(SwayDesktop &)>;

Q_DECLARE_METATYPE(Steps)

namespace {

const QString program = QStringLiteral(QM_PROGRAMS "/qmcapture");
constexpr QSize plain(1000, 600), fine(1200, 800);

// A monitor of one pixel a point, one of two on its right, and below the first one that stands upright, of 1.25.
const QList<SwayDesktop::Output> outputs = {{plain, {0, 0}}, {fine, {1000, 0}, 2}, {{1000, 500}, {0, 600}, 1.25, "90"}};
// Where the overlay has their pixels.
constexpr QRect ground(0, 500, 300, 100); // where the pointer, which sway may paint itself, does not come
const QList<QRect> areas = {{{0, 0}, plain}, {{1000, 0}, fine}, {0, 600, 500, 1000}};

QImage dimmedCopy(QImage image)
{
    for (int y = 0; y < image.height(); ++y) {
        auto *row = reinterpret_cast<quint32 *>(image.scanLine(y));
        dim(row, row, size_t(image.width()));
    }
    return image;
}

} // namespace

class tst_WaylandCapture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_desktop.showWindow(u"below"_s, PatternWindow::makePattern({500, 400}, 1), {100, 100});
        m_desktop.showWindow(u"above"_s, PatternWindow::makePattern({300, 200}, 2), {450, 50});
        m_desktop.showWindow(u"fine"_s, PatternWindow::makePattern({300, 300}, 3), {1100, 50});
        m_desktop.showWindow(u"upright"_s, PatternWindow::makePattern({200, 300}, 4), {40, 700});
        m_desktop.movePointer({20, 20});
        QVERIFY(m_desktop.shows(PatternWindow::makePattern({300, 200}, 2), {450, 50}));
        m_before = QImage(areas[0].united(areas[1]).united(areas[2]).size(), QImage::Format_RGB32);
        m_before.fill(Qt::black);
        QPainter painter(&m_before);
        for (int i = 0; i < 3; ++i)
            painter.drawImage(areas[i].topLeft(), m_desktop.picture(i));
    }

    void init()
    {
        QDir(m_folder).removeRecursively();
        QDir().mkpath(m_folder);
        m_desktop.movePointer({20, 20});
    }

    // Every pixel as the monitor shows it, whatever its scale and whichever way it is turned.
    void pictures_data()
    {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QRect>("area"); // in m_before; null: nothing is saved
        QTest::addColumn<int>("dotsPerInch");
        const auto drags = [](QPoint from, QPoint to) { return Steps([=](SwayDesktop &d) { d.drag(from, to); }); };
        const QStringList region = {u"-i"_s}, window = {u"-iw"_s};
        QTest::newRow("plain") << region << drags({90, 120}, {489, 319}) << QRect(90, 120, 400, 200) << 72;
        QTest::newRow("two pixels a point")
            << region << drags({1150, 100}, {1250, 200}) << QRect(1300, 200, 201, 201) << 144;
        QTest::newRow("turned") << region << drags({80, 720}, {160, 840}) << QRect(100, 750, 101, 151) << 72;
        QTest::newRow("across monitors") << region << drags({900, 100}, {1010, 120}) << QRect(900, 100, 121, 141) << 72;
        QTest::newRow("window") << window << Steps([](SwayDesktop &d) {
            d.drag({500, 100}, {500, 100});
        }) << QRect(450, 50, 300, 200)
                                << 72;
        QTest::newRow("covered window") << window << Steps([](SwayDesktop &d) {
            d.drag({200, 400}, {200, 400});
        }) << QRect(100, 100, 500, 400) << 72;
        QTest::newRow("monitor by Return") << region << Steps([](SwayDesktop &d) {
            d.movePointer({1200, 300});
            d.tap(Key::enter);
        }) << areas[1] << 144;
        QTest::newRow("point of our own") << region << Steps([](SwayDesktop &d) {
            d.movePointer({99, 120});
            d.tap(Key::right);
            d.tap(Key::right);
            d.tap(Key::down);
            d.buttonDown();
            d.movePointer({150, 180});
            d.buttonUp();
        }) << QRect(101, 121, 52, 61) << 72;
        QTest::newRow("Escape") << region << Steps([](SwayDesktop &d) { d.tap(Key::escape); }) << QRect() << 0;
        QTest::newRow("trigger tapped") << QStringList{u"--trigger"_s, u"rightShift"_s, u"-i"_s}
                                        << Steps([](SwayDesktop &d) { d.tap(Key::rightShift); }) << QRect() << 0;
        QTest::newRow("--desktop") << QStringList{u"--desktop"_s} << Steps() << m_before.rect() << 144;
        QTest::newRow("--monitor") << QStringList{u"--monitor"_s} << Steps() << areas[0] << 72;
        QTest::newRow("--area") << QStringList{u"--area"_s, u"1100,60,50,40"_s} << Steps() << QRect(1100, 60, 50, 40)
                                << 144;
    }
    void pictures()
    {
        QFETCH(QStringList, words);
        QFETCH(Steps, steps);
        QFETCH(QRect, area);
        QFETCH(int, dotsPerInch);
        const QString file = m_folder + u"/a.png"_s;
        QProcess &helper = m_desktop.start(program, words + QStringList{file});
        if (steps) {
            QVERIFY(m_desktop.shows(dimmedCopy(m_before.copy(ground)), ground.topLeft()));
            steps(m_desktop);
        }
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        QCOMPARE(helper.exitCode(), 0);
        QCOMPARE(QFile::exists(file), !area.isNull());
        if (!area.isNull()) {
            const QImage picture(file);
            QCOMPARE(picture.convertToFormat(QImage::Format_RGB32), m_before.copy(area));
            QCOMPARE(qRound(picture.dotsPerMeterX() * 0.0254), dotsPerInch);
        }
        QVERIFY(m_desktop.shows(m_before.copy(ground), ground.topLeft())); // nothing is left on the screen
    }

    // A selection is clear and framed, the rest dimmed, on all monitors.
    void overlay()
    {
        QProcess &helper = m_desktop.start(program, {u"-i"_s, m_folder + u"/a.png"_s});
        QVERIFY(m_desktop.shows(dimmedCopy(m_before.copy(areas[1])), {}, 1));
        m_desktop.movePointer({150, 150});
        m_desktop.buttonDown();
        m_desktop.movePointer({700, 500});
        m_desktop.movePointer({400, 300});
        QVERIFY(m_desktop.shows(m_before.copy(150, 150, 200, 120), {150, 150}));
        QVERIFY(m_desktop.shows(dimmedCopy(m_before.copy(600, 420, 300, 150)), {600, 420}));
        QImage corner(1, 1, QImage::Format_RGB32);
        corner.fill(Qt::white);
        QVERIFY(m_desktop.shows(corner, {149, 149}));
        m_desktop.tap(Key::escape);
        m_desktop.buttonUp();
        QVERIFY(Desktop::ended(helper));
    }

    // A second capture does not get in the way of the first.
    void secondAtOnce()
    {
        QProcess &first = m_desktop.start(program, {u"-i"_s, m_folder + u"/a.png"_s});
        QVERIFY(m_desktop.shows(dimmedCopy(m_before.copy(ground)), ground.topLeft()));
        QProcess &second = m_desktop.start(program, {u"-i"_s, m_folder + u"/b.png"_s});
        QVERIFY(Desktop::ended(second));
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(first.state(), QProcess::Running);
        m_desktop.tap(Key::escape);
        QVERIFY(Desktop::ended(first));
        QCOMPARE(QDir(m_folder).entryList(QDir::Files), QStringList());
    }

    // Must be the last.
    void compositorEnds()
    {
        QProcess &helper = m_desktop.start(program, {u"-i"_s, m_folder + u"/a.png"_s});
        QVERIFY(m_desktop.shows(dimmedCopy(m_before.copy(ground)), ground.topLeft()));
        m_desktop.stop();
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.exitCode(), 1);
        QCOMPARE(helper.readAllStandardError(), QByteArray("qmcapture: the display server is gone\n"));
        QVERIFY(QJsonDocument::fromJson(helper.readAllStandardOutput()).object().contains(u"error"_s));
    }

private:
    SwayDesktop m_desktop{outputs};
    const QString m_folder = m_desktop.home().file(u"pictures"_s);
    QImage m_before; // what all monitors show, as the overlay places them
};

QTEST_MAIN(tst_WaylandCapture)
#include "tst_WaylandCapture.moc"
