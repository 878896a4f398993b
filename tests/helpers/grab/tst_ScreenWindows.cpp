#include "helpers/x11/overlay/SurveyedWindows.h"

#include <QTest>

using namespace qm;

Q_DECLARE_METATYPE(WindowSurvey)

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
    void fromTheSurvey_data();
    void fromTheSurvey();
    void names_data();
    void names();
    void underThePointer_data();
    void underThePointer();
    void visible_data();
    void visible();
};

// One window in a frame, below the compositor's own and a menu.
void tst_ScreenWindows::fromTheSurvey_data()
{
    QTest::addColumn<WindowSurvey>("survey");
    QTest::addColumn<QRect>("frame"); // null: not offered
    WindowSurvey usual;
    usual.isManaged = true;
    usual.desktop = 1;
    usual.compositorsWindow = 9;
    usual.tops = {
        {1, {98, 70, 304, 232}, 24, true, {}}, {9, screen, 24, true, {}}, {3, {500, 0, 90, 90}, 24, true, {}}};
    usual.clients = {{.top = 1, .content = {100, 100, 300, 200}, .name = "n", .desktop = 1, .frame = {2, 2, 30, 2}}};
    const QRect whole(98, 70, 304, 232);
    const auto row = [&usual](const char *name, const QRect &frame, auto change) {
        WindowSurvey survey = usual;
        change(survey, survey.clients[0]);
        QTest::newRow(name) << survey << frame;
    };
    row("with its frame", whole, [](auto &, auto &) {});
    row("hidden", {}, [](auto &, auto &client) { client.isHidden = true; });
    row("on another desktop", {}, [](auto &, auto &client) { client.desktop = 0; });
    row("on every desktop", whole, [](auto &, auto &client) { client.desktop = 0xffffffff; });
    row("a manager without desktops", whole, [](auto &survey, auto &) { survey.desktop.reset(); });
    row("rolled up", {98, 70, 304, 30}, [](auto &survey, auto &) { survey.tops[0].area.setHeight(30); });
    row("with a shadow of its own", {110, 105, 270, 170}, [](auto &, auto &client) {
        client.frame = {};
        client.shadow = {10, 20, 5, 25};
    });
    row("its frame is not shown", {}, [](auto &survey, auto &) { survey.tops[0].isShown = false; });
}

void tst_ScreenWindows::fromTheSurvey()
{
    QFETCH(WindowSurvey, survey);
    QFETCH(QRect, frame);
    const QList<ScreenWindow> windows = screenWindows(survey, screen);
    QCOMPARE(windows.size(), survey.tops[0].isShown ? 2 : 1); // the compositor's is nobody's
    QVERIFY(!windows.last().offered);                         // the menu
    QCOMPARE(windows.first().offered, !frame.isNull());
    if (!frame.isNull())
        QCOMPARE(windows.first().frame, frame);
}

void tst_ScreenWindows::names_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("title");
    QTest::newRow("UTF-8") << QByteArray("\xe6\x89\x8b\xe7\xb4\x99") << QStringLiteral("手紙");
    QTest::newRow("what old programs write") << QByteArray("Gr\xfc\xdf") << QStringLiteral("Grüß");
}

void tst_ScreenWindows::names()
{
    QFETCH(QByteArray, name);
    WindowSurvey survey;
    survey.tops = {{1, {0, 0, 9, 9}, 24, true, name.toStdString()}};
    const QList<ScreenWindow> windows = screenWindows(survey, screen);
    QVERIFY(windows.first().offered); // without a manager each child of the root is a window
    QTEST(windows.first().title, "title");
}

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
