#include "capture/HotkeyTrigger.h"
#include "tests/support/ManualQueue.h"

#include <QTest>

using namespace qm;
using namespace std::chrono_literals;

namespace {

constexpr quint32 shift = 0x20000, control = 0x40000;
constexpr int rightShift = 60, leftShift = 56, rightControl = 62, letter = 8;

struct Step {
    enum class Kind { event, wait, hotkey } kind;
    KeyEvent event{};
    std::chrono::milliseconds time{0};
    Hotkey hotkey{};
};

Step flags(int keyCode, quint32 mask)
{
    return {Step::Kind::event, {KeyEvent::Type::flagsChanged, keyCode, mask}};
}
Step press()
{
    return flags(rightShift, shift);
}
Step release()
{
    return flags(rightShift, 0);
}
Step keyDown()
{
    return {Step::Kind::event, {KeyEvent::Type::keyDown, letter, shift}};
}
Step disabled()
{
    return {Step::Kind::event, {KeyEvent::Type::disabled, 0, 0}};
}
Step wait(std::chrono::milliseconds time)
{
    return {Step::Kind::wait, {}, time};
}
Step settings(HotkeyModifier modifier, double threshold)
{
    return {Step::Kind::hotkey, {}, {}, {modifier, threshold}};
}

} // namespace

Q_DECLARE_METATYPE(QList<Step>)

class tst_HotkeyTrigger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void gestures_data()
    {
        QTest::addColumn<QList<Step>>("steps");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *name, const QList<Step> &steps, const QStringList &expected) {
            QTest::newRow(name) << steps << expected;
        };
        // Each gesture with the time at which it is told.
        const auto tapAt = [](int time) { return QStringLiteral("tap at %1").arg(time); };
        const auto holdAt = [](int time) { return QStringLiteral("hold at %1").arg(time); };

        row("tap", {press(), release()}, {tapAt(0)});
        row("just short of a hold", {press(), wait(399ms), release(), wait(1s)}, {tapAt(399)});
        row("hold, told while still down", {press(), wait(2s), release()}, {holdAt(400)});
        row("two taps", {press(), release(), wait(10ms), press(), release()}, {tapAt(0), tapAt(10)});
        row("a hold, then a tap", {press(), wait(500ms), release(), press(), release()}, {holdAt(400), tapAt(500)});
        row("chord with a letter", {press(), keyDown(), wait(1s), release()}, {});
        row("letter during a hold", {press(), wait(500ms), keyDown(), release()}, {holdAt(400)});
        row("letter before the press", {keyDown(), press(), release()}, {tapAt(0)});
        row("chord with left Shift", {press(), flags(leftShift, shift), flags(leftShift, shift), release()}, {});
        row("chord with Control", {press(), flags(rightControl, shift | control), release()}, {});
        row("Control's release counts too",
            {flags(rightControl, control), flags(rightShift, shift | control), flags(rightControl, shift), release()},
            {});
        row("a tap after a chord", {press(), keyDown(), release(), press(), release()}, {tapAt(0)});

        row("the other Shift is still held at the release: reads as a press",
            {flags(leftShift, shift), press(), flags(rightShift, shift), wait(1s)}, {holdAt(400)});
        row("and its own release then as one without a use",
            {flags(leftShift, shift), press(), flags(rightShift, shift), flags(leftShift, 0), wait(1s)}, {});
        row("a second press starts the time again", {press(), wait(300ms), press(), wait(399ms), release()},
            {tapAt(699)});
        row("a release out of nothing", {release(), wait(1s)}, {});
        row("a use is forgotten only at the next press", {press(), keyDown(), release(), release()}, {});
        row("disabled does not count as a key", {press(), disabled(), release()}, {tapAt(0)});

        row("another key from the settings",
            {settings(HotkeyModifier::rightControl, 0.4), press(), release(), flags(rightControl, control),
             flags(rightControl, 0)},
            {tapAt(0)});
        row("another threshold holds from the next press",
            {press(), settings(HotkeyModifier::rightShift, 0.2), wait(399ms), release(), press(), wait(1s)},
            {tapAt(399), holdAt(599)});
        row("the key changes while it is down",
            {press(), settings(HotkeyModifier::rightControl, 0.4), release(), wait(1s)}, {});
    }
    void gestures()
    {
        QFETCH(QList<Step>, steps);
        ManualQueue queue;
        QStringList told;
        HotkeyTrigger trigger(queue, Hotkey(), [&](HotkeyGesture gesture) {
            told << QStringLiteral("%1 at %2")
                        .arg(gesture == HotkeyGesture::tap ? u"tap" : u"hold")
                        .arg(queue.now().count());
        });
        for (const Step &step : steps) {
            switch (step.kind) {
            case Step::Kind::event: trigger.handle(step.event); break;
            case Step::Kind::wait: queue.advance(step.time); break;
            case Step::Kind::hotkey: trigger.setHotkey(step.hotkey); break;
            }
        }
        QTEST(told, "expected");
    }
};

QTEST_GUILESS_MAIN(tst_HotkeyTrigger)
#include "tst_HotkeyTrigger.moc"
