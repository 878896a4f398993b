// What the system's key listener tells, from keys and buttons pressed on a real desktop.

#include "platform/KeyMonitor.h"
#include "tests/support/Desktop.h"

#include <QTest>

#include <xcb/xinput.h>

using namespace qm;
using namespace Qt::StringLiterals;
using Steps = std::function<void(Desktop &)>;

Q_DECLARE_METATYPE(Steps)

class tst_KeyMonitor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_desktop.releaseInput(); }

    void tells_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<QString>(
            "told"); // key codes and flags in hexadecimal; -1: every key but the modifiers; !: others
        const auto row = [](const char *name, const QString &told, const Steps &steps) {
            QTest::newRow(name) << steps << told;
        };
        row("Ctrl is held", u"3b+40000 3c+60000! 3c+40000! 3b+0"_s, [](Desktop &d) {
            d.keyDown(Key::leftControl);
            d.tap(Key::rightShift);
            d.keyUp(Key::leftControl);
        });
        row("a button is held", u"-1+0 3c+20000! 3c+0!"_s, [](Desktop &d) {
            d.buttonDown();
            d.tap(Key::rightShift);
            d.buttonUp();
        });
        row("twins", u"3c+20000 38+20000! 38+20000! 3c+0"_s, [](Desktop &d) {
            d.keyDown(Key::rightShift);
            d.tap(Key::leftShift);
            d.keyUp(Key::rightShift);
        });
        row("a key, a click and the wheel", u"3c+20000 -1+20000 -1+20000 -1+20000 3c+0"_s, [](Desktop &d) {
            d.keyDown(Key::rightShift);
            d.tap(Key::space);
            d.click({300, 300});
            d.click({300, 300}, Button::wheelDown);
            d.keyUp(Key::rightShift);
        });
        // The rest of a press, after the server has told of something else.
        row("the keyboard layout changes", u"3c+20000 38+20000! 38+20000! 3c+0"_s, [](Desktop &d) {
            d.keyDown(Key::rightShift);
            QVERIFY(Desktop::ended(d.start(u"setxkbmap"_s, {u"-layout"_s, u"jp"_s, u"-option"_s, u"caps:escape"_s})));
            d.tap(Key::leftShift);
            d.keyUp(Key::rightShift);
        });
        row("a keyboard is plugged in", u"3c+20000 -1+20000 3c+0"_s, [](Desktop &d) {
            d.keyDown(Key::rightShift);
            addKeyboard(d);
            d.tap(Key::space);
            d.keyUp(Key::rightShift);
        });
        row("a key that repeats for its own program only", u"3c+20000 -1+20000 3c+0"_s, [](Desktop &d) {
            d.keyDown(Key::rightShift);
            d.keyDown(Key::space);
            QTest::qWait(1000); // it repeats after 660 ms
            d.keyUp(Key::space);
            d.keyUp(Key::rightShift);
        });
        row("while another program has the keyboard", u"3c+20000 3c+0"_s, [](Desktop &d) {
            QVERIFY(d.grabInput());
            d.tap(Key::rightShift);
        });
    }

    void tells()
    {
        QFETCH(Steps, steps);
        QFETCH(QString, told);
        qputenv("DISPLAY", m_desktop.display().toLatin1());
        const std::unique_ptr<KeyMonitor> monitor = makeKeyMonitor();
        QStringList found;
        const auto note = [&found](const KeyEvent &event) {
            found += QString::number(event.keyCode, 16) + u'+' + QString::number(event.flags, 16) +
                     (event.othersDown ? u"!"_s : QString());
        };
        QVERIFY(monitor->start(note) == KeyMonitor::Started::yes);
        steps(m_desktop);
        m_desktop.tap(Key::rightControl); // marks the end
        QVERIFY(Desktop::wait([&] { return found.contains(u"3e+0"_s); }));
        QCOMPARE(found.join(u' '), told + u" 3e+40000 3e+0"_s);
    }

private:
    // With a pointer, as a pair of its own: the server tells everyone that its devices have changed.
    static void addKeyboard(Desktop &desktop)
    {
        struct {
            xcb_input_add_master_t head = {XCB_INPUT_HIERARCHY_CHANGE_TYPE_ADD_MASTER, 3, 4, 1, 1};
            char name[4] = {'m', 'o', 'r', 'e'};
        } const change;
        xcb_input_xi_change_hierarchy(desktop.connection(), 1,
                                      reinterpret_cast<const xcb_input_hierarchy_change_t *>(&change));
        xcb_flush(desktop.connection());
    }

    Desktop m_desktop{{.windowManager = false, .panel = false}};
};

QTEST_GUILESS_MAIN(tst_KeyMonitor)
#include "tst_KeyMonitor.moc"
