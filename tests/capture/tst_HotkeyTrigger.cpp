#include "capture/HotkeyTrigger.h"
#include "tests/support/ManualQueue.h"

#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

class tst_HotkeyTrigger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // "press" and "release" are the trigger's, the right Shift key, "held:shift" its press while another modifier or a
    // button is down; "busy" and "free" are what our own captures are; "left:shift" is another modifier going down or up and
    // the flags after it, "key" any other key, "399" milliseconds that pass, "rightControl=0.2" new
    // settings, "alone:399" a press that is told of afterwards.
    void gestures_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("expected"); // each gesture with the time at which it is told
        const auto row = [](const char *name, const QString &steps, const QString &expected) {
            QTest::newRow(name) << steps << expected;
        };
        row("tap", u"press release"_s, u"tap at 0"_s);
        row("just short of a hold", u"press 399 release 1000"_s, u"tap at 399"_s);
        row("hold, told while still down", u"press 2000 release"_s, u"hold at 400"_s);
        row("a hold, then a tap", u"press 500 release press release"_s, u"hold at 400, tap at 500"_s);
        row("chord with a letter", u"press key 1000 release"_s, {});
        row("letter during a hold", u"press 500 key release"_s, u"hold at 400"_s);
        row("letter before the press", u"key press release"_s, u"tap at 0"_s);
        row("chord with left Shift", u"press left:shift left:shift release"_s, {});
        row("Control's release counts too", u"control:control right:both control:shift release"_s, {});
        row("Ctrl held already, as layouts are switched", u"held:shift 1000 release press release"_s, u"tap at 1000"_s);
        row("belongs to a capture, and so does a late release", u"busy press free 1000 release"_s, {});
        row("a capture that begins later", u"press busy release"_s, u"tap at 0"_s);
        row("a hold cut short by another press in a chord", u"press 300 held:shift 1000"_s, {});
        row("a tap after a chord", u"press key release press release"_s, u"tap at 0"_s);

        row("the other Shift is still held at the release: reads as a press", u"left:shift press right:shift 1000"_s,
            u"hold at 400"_s);
        row("and its own release then as one without a use", u"left:shift press right:shift left:none 1000"_s, {});
        row("a second press starts the time again", u"press 300 press 399 release"_s, u"tap at 699"_s);
        row("a release out of nothing", u"release 1000"_s, {});
        row("a use is forgotten only at the next press", u"press key release release"_s, {});
        row("disabled does not count as a key", u"press disabled release"_s, u"tap at 0"_s);

        row("told afterwards, a tap and a hold", u"alone:399 alone:400"_s, u"tap at 0, hold at 0"_s);
        row("told afterwards, for a capture or of another key", u"busy alone:9 free rightControl=0.4 alone:9"_s, {});

        row("another key from the settings", u"rightControl=0.4 press release control:control control:none"_s,
            u"tap at 0"_s);
        row("another threshold holds from the next press", u"press rightShift=0.2 399 release press 1000"_s,
            u"tap at 399, hold at 599"_s);
        row("the key changes while it is down", u"press rightControl=0.4 release 1000"_s, {});
    }

    void gestures()
    {
        static const QHash<QString, int> keys{{u"right"_s, 60}, {u"held"_s, 60}, {u"left"_s, 56}, {u"control"_s, 62}};
        static const QHash<QString, quint32> flags{
            {u"none"_s, 0}, {u"shift"_s, 0x20000}, {u"control"_s, 0x40000}, {u"both"_s, 0x60000}};
        QFETCH(QString, steps);
        ManualQueue queue;
        QStringList told;
        bool busy = false;
        const auto note = [&](HotkeyGesture gesture) {
            told << u"%1 at %2"_s.arg(gesture == HotkeyGesture::tap ? u"tap" : u"hold").arg(queue.now().count());
        };
        HotkeyTrigger trigger(queue, Hotkey(), note, [&] { return busy; });
        steps.replace(u"press"_s, u"right:shift"_s).replace(u"release"_s, u"right:none"_s);
        for (const QString &step : steps.split(u' ')) {
            const QStringList key = step.split(u':'), setting = step.split(u'=');
            if (key[0] == u"alone")
                trigger.handle({.type = KeyEvent::Type::usedAlone,
                                .keyCode = keys[u"right"_s],
                                .held = std::chrono::milliseconds(key[1].toInt())});
            else if (key.size() == 2)
                trigger.handle({KeyEvent::Type::flagsChanged, keys[key[0]], flags[key[1]], key[0] == u"held"});
            else if (step == u"busy" || step == u"free")
                busy = step == u"busy";
            else if (setting.size() == 2)
                trigger.setHotkey({*hotkeyModifierFrom(setting[0]), setting[1].toDouble()});
            else if (step[0].isDigit())
                queue.advance(std::chrono::milliseconds(step.toInt()));
            else
                trigger.handle({step == u"key" ? KeyEvent::Type::keyDown : KeyEvent::Type::disabled, 8, 0x20000});
        }
        QTEST(told.join(u", "_s), "expected");
    }
};

QTEST_GUILESS_MAIN(tst_HotkeyTrigger)
#include "tst_HotkeyTrigger.moc"
