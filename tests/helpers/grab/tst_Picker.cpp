#include "helpers/overlay/Picker.h"

#include <QTest>

#include <functional>

using namespace qm;
using Key = Picker::Key;
using Button = Picker::Button;
using Mode = Picker::Mode;
using Result = Picker::Result;
using Step = std::function<void(Picker &)>;
using Steps = QList<Step>;

Q_DECLARE_METATYPE(Mode)
Q_DECLARE_METATYPE(Result)
Q_DECLARE_METATYPE(Steps)

namespace {

constexpr QRect bounds(0, 0, 1000, 800);

Step to(int x, int y)
{
    return [=](Picker &picker) { picker.move({x, y}); };
}
Step press(Button button = Button::left)
{
    return [=](Picker &picker) { picker.press(button); };
}
Step release(Button button = Button::left)
{
    return [=](Picker &picker) { picker.release(button); };
}
Step down(Key key)
{
    return [=](Picker &picker) { picker.keyDown(key); };
}
Step up(Key key)
{
    return [=](Picker &picker) { picker.keyUp(key); };
}
Step tap(Key key)
{
    return [=](Picker &picker) {
        picker.keyDown(key);
        picker.keyUp(key);
    };
}

QList<ScreenWindow> oneWindow()
{
    return {{.top = 1, .topArea = {100, 100, 300, 200}, .frame = {100, 100, 300, 200}, .depth = 24, .title = {}}};
}

} // namespace

class tst_Picker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void region_data();
    void region();
    void outcome_data();
    void outcome();
    void arrowsMoveThePointerBeforeADrag();
};

// What is selected after a press at 100, 100 and these steps.
void tst_Picker::region_data()
{
    QTest::addColumn<QPoint>("start");
    QTest::addColumn<Steps>("steps");
    QTest::addColumn<QRect>("selected");
    const auto row = [](const char *name, QPoint start, const Steps &steps, const QRect &selected) {
        QTest::newRow(name) << start << steps << selected;
    };
    const QPoint start(100, 100);
    row("both ends belong to it", start, {to(199, 149)}, {100, 100, 100, 50});
    row("to the upper left", start, {to(60, 80)}, {60, 80, 41, 21});
    row("a trembling hand draws nothing", start, {to(102, 98)}, {});
    row("a drag may become small again", start, {to(120, 120), to(101, 100)}, {100, 100, 2, 1});
    row("the last pixel of the screen", start, {to(999, 799)}, {100, 100, 900, 700});
    row("not beyond the screen", start, {to(1500, -5)}, {100, 0, 900, 101});
    row("square by the longer side", start, {down(Key::shift), to(199, 120)}, {100, 100, 100, 100});
    row("square to the upper left", start, {down(Key::shift), to(90, 51)}, {51, 51, 50, 50});
    row("square as far as there is room", {100, 780}, {down(Key::shift), to(300, 790)}, {100, 780, 20, 20});
    row("no square after Shift", start, {down(Key::shift), to(199, 120), up(Key::shift)}, {100, 100, 100, 21});
    row("Space moves it", start, {to(199, 149), down(Key::space), to(209, 169)}, {110, 120, 100, 50});
    row("and it grows on from there", start,
        {to(199, 149), down(Key::space), to(209, 169), up(Key::space), to(219, 179)}, {110, 120, 110, 60});
    row("moved against the edge it keeps its size", start, {to(199, 149), down(Key::space), to(60, 20)},
        {0, 0, 100, 50});
    row("a moved square stays one", start, {down(Key::shift), to(199, 120), down(Key::space), to(209, 130)},
        {110, 110, 100, 100});
    row("an arrow", start, {to(199, 149), tap(Key::right), tap(Key::down)}, {101, 101, 100, 50});
    row("an arrow with Shift", start, {to(199, 199), down(Key::shift), tap(Key::left), up(Key::shift)},
        {90, 100, 100, 100});
    row("an arrow against the edge", {2, 100}, {to(50, 149), down(Key::shift), tap(Key::left), up(Key::shift)},
        {0, 100, 49, 50});
    row("it grows on after an arrow", start, {to(199, 149), tap(Key::right), to(209, 149)}, {101, 100, 110, 50});
}

void tst_Picker::region()
{
    QFETCH(QPoint, start);
    QFETCH(Steps, steps);
    QFETCH(QRect, selected);
    Picker picker(Mode::region, Picker::Offer::both, {}, bounds, 1);
    picker.move(start);
    picker.press(Button::left);
    for (const Step &step : steps)
        step(picker);
    QCOMPARE(picker.selection(), selected);
    QCOMPARE(picker.result(), Result::open);
    picker.release(Button::left);
    QCOMPARE(picker.result(), selected.isEmpty() ? Result::open : Result::region);
    QCOMPARE(picker.selection(), selected);
}

void tst_Picker::outcome_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<Steps>("steps");
    QTest::addColumn<Result>("result");
    QTest::addColumn<Mode>("modeAfter");
    const auto row = [](const char *name, Mode mode, const Steps &steps, Result result, Mode after) {
        QTest::newRow(name) << mode << steps << result << after;
    };
    const Mode region = Mode::region;
    const Mode window = Mode::window;
    const Steps drag = {to(10, 10), press(), to(90, 90)};
    row("nothing yet", region, {to(10, 10)}, Result::open, region);
    row("a click in region mode", region, {to(10, 10), press(), release()}, Result::open, region);
    row("Return without a selection", region, {to(10, 10), tap(Key::enter)}, Result::open, region);
    row("Return in a drag", region, drag + Steps{tap(Key::enter)}, Result::region, region);
    row("Escape", region, {tap(Key::escape)}, Result::cancelled, region);
    row("Escape in a drag", region, drag + Steps{tap(Key::escape), release()}, Result::cancelled, region);
    row("the right button", window, {press(Button::right)}, Result::cancelled, window);
    row("the right button in a drag", region, drag + Steps{press(Button::right)}, Result::cancelled, region);
    row("another button", region, {press(Button::other), to(90, 90), release(Button::other)}, Result::open, region);
    row("a window", window, {to(150, 150), press(), release()}, Result::window, window);
    row("a window by Return", window, {to(150, 150), tap(Key::enter)}, Result::window, window);
    row("beside all windows", window, {to(50, 50), press(), release()}, Result::open, window);
    row("Space, then a window", region, {tap(Key::space), to(150, 150), press(), release()}, Result::window, window);
    row("Space, then a region", window, Steps{tap(Key::space)} + drag + Steps{release()}, Result::region, region);
    row("Space held down switches once", region, {down(Key::space), down(Key::space), down(Key::space)}, Result::open,
        window);
    row("Space during a press switches nothing", region, {to(150, 150), press(), tap(Key::space), release()},
        Result::open, region);
    row("a release that was pressed before the start", window, {to(150, 150), release()}, Result::open, window);
}

void tst_Picker::outcome()
{
    QFETCH(Mode, mode);
    QFETCH(Steps, steps);
    Picker picker(mode, Picker::Offer::both, oneWindow(), bounds, 1);
    for (const Step &step : steps)
        step(picker);
    QTEST(picker.result(), "result");
    QTEST(picker.mode(), "modeAfter");
}

void tst_Picker::arrowsMoveThePointerBeforeADrag()
{
    Picker picker(Mode::region, Picker::Offer::regionOnly, oneWindow(), bounds, 1);
    picker.keyDown(Key::left);
    QCOMPARE(picker.takeWarp(), QPoint(-1, 0));
    QCOMPARE(picker.takeWarp(), QPoint());
    picker.keyDown(Key::shift);
    picker.keyDown(Key::down);
    QCOMPARE(picker.takeWarp(), QPoint(0, 10));
    picker.keyDown(Key::space); // and only regions are offered
    QCOMPARE(picker.mode(), Mode::region);
}

QTEST_APPLESS_MAIN(tst_Picker)
#include "tst_Picker.moc"
