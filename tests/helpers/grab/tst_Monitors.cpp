#include "helpers/overlay/Monitors.h"

#include <QTest>

using namespace qm;

class tst_Monitors : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scales_data();
    void scales();
    void picture_data();
    void picture();
    void nearest();
};

void tst_Monitors::scales_data()
{
    QTest::addColumn<ScaleSettings>("settings");
    QTest::addColumn<double>("first");
    QTest::addColumn<double>("second");
    const auto row = [](const char *name, const ScaleSettings &settings, double first, double second) {
        QTest::newRow(name) << settings << first << second;
    };
    row("nothing set", {}, 1, 1);
    row("the desktop's resolution", {"*foo: 1\nXft.dpi:\t192\nXft.hinting: 1\n", {}, {}}, 2, 2);
    row("a fractional one", {"Xft.dpi: 144", {}, {}}, 1.5, 1.5);
    row("a similar name", {"Xft.dpiX: 192\nemacs.Xft.dpi: 192", {}, {}}, 1, 1);
    row("nonsense", {"Xft.dpi: large", "a=b;=", "0"}, 1, 1);
    row("a factor for all", {{}, {}, "2"}, 2, 2);
    row("it multiplies", {"Xft.dpi: 144", {}, "2"}, 3, 3);
    row("factors in order", {{}, "2;1", {}}, 2, 1);
    row("factors by name", {{}, "DP-1=2", {}}, 1, 2);
    row("a named monitor's factor replaces the resolution", {"Xft.dpi: 192", "DP-1=1", {}}, 2, 1);
}

void tst_Monitors::scales()
{
    QFETCH(ScaleSettings, settings);
    QList<Monitor> monitors = {{"eDP-1", {0, 0, 100, 100}}, {"DP-1", {100, 0, 100, 100}}};
    applyScales(monitors, settings);
    QTEST(monitors[0].scale, "first");
    QTEST(monitors[1].scale, "second");
}

void tst_Monitors::picture_data()
{
    QTest::addColumn<QRect>("area");
    QTest::addColumn<int>("scale");
    QTest::newRow("on one") << QRect(10, 10, 20, 20) << 1;
    QTest::newRow("on the other") << QRect(110, 10, 20, 20) << 2;
    QTest::newRow("more of it on the first") << QRect(80, 10, 30, 20) << 1;
    QTest::newRow("more of it on the second") << QRect(90, 10, 30, 20) << 2;
    QTest::newRow("on one of a fractional scale") << QRect(210, 10, 20, 20) << 1;
}

void tst_Monitors::picture()
{
    const QList<Monitor> monitors = {
        {"a", {0, 0, 100, 100}, 1}, {"b", {100, 0, 100, 100}, 2}, {"c", {200, 0, 100, 100}, 1.5}};
    QFETCH(QRect, area);
    QTEST(pictureScale(monitors, area), "scale");
}

void tst_Monitors::nearest()
{
    const QList<Monitor> monitors = {{"a", {0, 0, 100, 100}, 1}, {"b", {100, 50, 100, 100}, 1}};
    QCOMPARE(monitorAt(monitors, {99, 99}).name, "a");
    QCOMPARE(monitorAt(monitors, {100, 50}).name, "b");
    QCOMPARE(monitorAt(monitors, {150, 40}).name, "b"); // no monitor shows it
}

QTEST_APPLESS_MAIN(tst_Monitors)
#include "tst_Monitors.moc"
