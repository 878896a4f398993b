#include "helpers/grab/ScreenWindows.h"

#include <QTest>

using namespace qm;

namespace {

constexpr QRect screen(0, 0, 1000, 800);

ScreenWindow window(const QRect &frame)
{
    return {.top = 1, .topArea = frame, .frame = frame, .depth = 24, .title = {}};
}

ScreenWindow cover(const QRect &frame, quint8 depth)
{
    return {.top = 1, .topArea = frame, .frame = frame, .depth = depth, .title = {}, .offered = false};
}

} // namespace

class tst_ScreenWindows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void underThePointer_data();
    void underThePointer();
    void visible_data();
    void visible();
};

void tst_ScreenWindows::underThePointer_data()
{
    QTest::addColumn<QPoint>("at");
    QTest::addColumn<int>("index");
    QTest::newRow("beside all") << QPoint(5, 5) << -1;
    QTest::newRow("the lower one") << QPoint(110, 110) << 0;
    QTest::newRow("the upper one where both lie") << QPoint(250, 250) << 1;
    QTest::newRow("its last pixel") << QPoint(599, 499) << 1;
    QTest::newRow("just beyond") << QPoint(600, 500) << -1;
    QTest::newRow("an opaque menu above it") << QPoint(420, 420) << -1;
    QTest::newRow("a see-through layer above it") << QPoint(320, 320) << 1;
}

void tst_ScreenWindows::underThePointer()
{
    const QList<ScreenWindow> windows = {window({100, 100, 200, 200}), window({200, 200, 400, 300}),
                                         cover({400, 400, 50, 50}, 24), cover({300, 300, 50, 50}, 32)};
    QFETCH(QPoint, at);
    QTEST(windowAt(windows, at), "index");
}

void tst_ScreenWindows::visible_data()
{
    QTest::addColumn<QRect>("above");
    QTest::addColumn<QRect>("seen");
    QTest::newRow("nothing above") << QRect(900, 700, 50, 50) << QRect(0, 100, 250, 200);
    QTest::newRow("its right part covered") << QRect(200, 0, 500, 500) << QRect(0, 100, 200, 200);
    QTest::newRow("a hole in its middle") << QRect(50, 150, 50, 50) << QRect(0, 100, 250, 200);
    QTest::newRow("all covered") << QRect(0, 0, 500, 500) << QRect();
}

void tst_ScreenWindows::visible()
{
    QFETCH(QRect, above);
    const QList<ScreenWindow> windows = {window({-50, 100, 300, 200}), window(above)};
    QTEST(visibleArea(windows, 0, screen), "seen");
    QVERIFY(!isWhollyVisible(windows, 0, screen)); // it hangs over the edge
    QVERIFY(isWhollyVisible(windows, 1, screen));
}

QTEST_APPLESS_MAIN(tst_ScreenWindows)
#include "tst_ScreenWindows.moc"
