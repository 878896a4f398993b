#include "helpers/overlay/Picker.h"

#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using Key = Picker::Key;
using Button = Picker::Button;
using Mode = Picker::Mode;

Q_DECLARE_METATYPE(Mode)

class tst_Picker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // What a person does: "120,80" the pointer goes there, "press", "release" the left button, "right", "other" another
    // one goes down, "+Shift" a key goes down, "-Shift" up, "Escape" both.
    void picks_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("picked"); // the mode and the selection at the end, and what was chosen
        const auto region = [](const char *name, const QString &steps, const QString &picked) {
            QTest::newRow(name) << Mode::region << steps << u"region "_s + picked;
        };
        region("both ends belong to it", u"100,100 press 199,149 release"_s, u"100,100 100x50 chosen"_s);
        region("to the upper left", u"100,100 press 60,80 release"_s, u"60,80 41x21 chosen"_s);
        region("a trembling hand draws nothing", u"100,100 press 102,98 release"_s, u"nothing"_s);
        region("a drag may become small again", u"100,100 press 120,120 101,100"_s, u"100,100 2x1"_s);
        region("the last pixel of the screen", u"100,100 press 999,799"_s, u"100,100 900x700"_s);
        region("not beyond the screen", u"100,100 press 1500,-5 release"_s, u"100,0 900x101 chosen"_s);
        region("square by the longer side", u"100,100 press +Shift 199,120"_s, u"100,100 100x100"_s);
        region("square as far as there is room", u"100,780 press +Shift 300,790"_s, u"100,780 20x20"_s);
        region("no square after Shift", u"100,100 press +Shift 199,120 -Shift"_s, u"100,100 100x21"_s);
        region("Space moves it, and it grows on", u"100,100 press 199,149 +Space 209,169 -Space 219,179"_s,
               u"110,120 110x60"_s);
        region("moved against the edge it keeps its size", u"100,100 press 199,149 +Space 60,20"_s, u"0,0 100x50"_s);
        region("a moved square stays one", u"100,100 press +Shift 199,120 +Space 209,130"_s, u"110,110 100x100"_s);
        region("an arrow, and it grows on", u"100,100 press 199,149 Right Down 209,149"_s, u"101,101 110x50"_s);
        region("an arrow with Shift against the edge", u"2,100 press 50,149 +Shift Left -Shift"_s, u"0,100 49x50"_s);
        region("arrows move the pointer before a drag", u"100,100 Left +Shift Down"_s, u"nothing, warped -1,10"_s);
        region("Return without a selection takes the monitor", u"10,10 Return"_s, u"0,0 600x800 chosen"_s);
        region("Return beside all monitors", u"610,790 Return"_s, u"nothing"_s);
        region("Return while the button is down", u"10,10 press Return"_s, u"nothing"_s);
        region("Ctrl and arrows move one edge", u"100,100 press 199,149 +Control Right Down -Control 209,149"_s,
               u"100,100 111x51"_s);
        region("Ctrl and an arrow at the edge", u"100,100 press 999,149 +Control Right"_s, u"100,100 900x50"_s);
        region("the last region again", u"10,10 R"_s, u"300,300 40x30 chosen"_s);
        region("a color", u"10,20 C"_s, u"10,20 1x1 chosen"_s);
        region("a tap of the trigger at once", u"Trigger"_s, u"nothing, cancelled"_s);
        region("a tap of the trigger by a trembling hand", u"501,501 Trigger"_s, u"nothing, cancelled"_s);
        region("a tap of the trigger later", u"510,500 Trigger"_s, u"nothing"_s);
        region("a tap of the trigger after another key", u"Down Trigger"_s, u"nothing, warped 0,1"_s);
        region("the trigger held while the pointer moves", u"+Trigger 510,500 -Trigger"_s, u"nothing"_s);
        region("the trigger, down since before the start", u"-Trigger"_s, u"nothing"_s);
        region("Return in a drag", u"10,10 press 90,90 Return 50,50"_s, u"10,10 81x81 chosen"_s);
        region("Escape in a drag", u"10,10 press 90,90 Escape release"_s, u"nothing, cancelled"_s);
        region("another button", u"10,10 other 90,90"_s, u"nothing"_s);
        region("Space during a press switches nothing", u"150,150 press Space release"_s, u"nothing"_s);

        const auto window = [](const char *name, const QString &steps, const QString &picked) {
            QTest::newRow(name) << Mode::window << steps << picked;
        };
        window("the right button", u"150,150 right"_s, u"window 0, cancelled"_s);
        window("a window", u"150,150 press release"_s, u"window 0 chosen"_s);
        window("a window by Return", u"150,150 Return"_s, u"window 0 chosen"_s);
        window("beside all windows", u"50,50 press release"_s, u"window -1"_s);
        window("Space, then a region", u"Space 10,10 press 90,90 release"_s, u"region 10,10 81x81 chosen"_s);
        window("keys that are for regions", u"150,150 C R"_s, u"window 0"_s);
        window("Space held down switches once", u"+Space +Space"_s, u"region nothing"_s);
        window("a release that was pressed before the start", u"150,150 release"_s, u"window 0"_s);
    }

    void picks()
    {
        static const QHash<QString, Key> keys{
            {u"Escape"_s, Key::escape}, {u"Return"_s, Key::enter},    {u"Space"_s, Key::space},
            {u"Shift"_s, Key::shift},   {u"Left"_s, Key::left},       {u"Right"_s, Key::right},
            {u"Down"_s, Key::down},     {u"Control"_s, Key::control}, {u"C"_s, Key::color},
            {u"R"_s, Key::again},       {u"Trigger"_s, Key::shift}};
        QFETCH(Mode, mode);
        QFETCH(QString, steps);
        const QList<ScreenWindow> windows = {
            {.top = 1, .topArea = {100, 100, 300, 200}, .frame = {100, 100, 300, 200}, .depth = 24, .title = {}}};
        Picker picker(mode, Picker::Offer::all,
                      {.windows = windows,
                       .monitors = {{0, 0, 600, 800}, {600, 0, 400, 700}},
                       .bounds = {0, 0, 1000, 800},
                       .lastRegion = {300, 300, 40, 30},
                       .pointer = {500, 500}});
        for (const QString &step : steps.split(u' ')) {
            const QStringList place = step.split(u',');
            const Key key = keys.value(QString(step).remove(u'+').remove(u'-'), Key::other);
            if (place.size() == 2)
                picker.move({place[0].toInt(), place[1].toInt()});
            else if (step == u"press")
                picker.press(Button::left);
            else if (step == u"release")
                picker.release(Button::left);
            else if (key == Key::other)
                picker.press(step == u"right" ? Button::right : Button::other);
            if (key != Key::other && !step.startsWith(u'-'))
                picker.keyDown(key, step.endsWith(u"Trigger"));
            if (key != Key::other && !step.startsWith(u'+'))
                picker.keyUp(key, step.endsWith(u"Trigger"));
        }
        const QRect area = picker.selection();
        QString picked = picker.mode() == Mode::window ? u"window %1"_s.arg(picker.window())
                         : area.isEmpty()
                             ? u"region nothing"_s
                             : u"region %1,%2 %3x%4"_s.arg(area.x()).arg(area.y()).arg(area.width()).arg(area.height());
        if (const QPoint warp = picker.takeWarp(); !warp.isNull())
            picked += u", warped %1,%2"_s.arg(warp.x()).arg(warp.y());
        if (picker.result() != Picker::Result::open)
            picked += picker.result() == Picker::Result::cancelled ? u", cancelled" : u" chosen";
        QTEST(picked, "picked");
        QVERIFY(picker.takeWarp().isNull());
    }

    void onlyRegions()
    {
        Picker picker(Mode::region, Picker::Offer::regionOnly,
                      {.monitors = {{0, 0, 1000, 800}}, .bounds = {0, 0, 1000, 800}});
        for (const Key key : {Key::space, Key::enter, Key::color, Key::again})
            picker.keyDown(key);
        QCOMPARE(picker.mode(), Mode::region);
        QCOMPARE(picker.result(), Picker::Result::open);
    }
};

QTEST_APPLESS_MAIN(tst_Picker)
#include "tst_Picker.moc"
