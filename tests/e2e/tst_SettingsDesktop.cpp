#include "tests/support/Desktop.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace qm;

// The application on a desktop, with a stand-in beside it that notes what it was asked to capture.
class tst_SettingsDesktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savedSettingsGovernTheNextCapture();
};

void tst_SettingsDesktop::savedSettingsGovernTheNextCapture()
{
    const Desktop::Options options{.panel = false};
    Desktop desktop(options);
    const TempHome &home = desktop.home();
    const QString program = home.file(QStringLiteral("bin/quillmere"));
    home.script(QStringLiteral("bin/qmcapture"), "echo \"$@\" >> \"$HOME/asked\"");
    QVERIFY(QFile::copy(QStringLiteral(QM_PROGRAMS "/quillmere"), program));
    home.write(QStringLiteral(".quillmere/config.json"), "{\"cloud\": \"~/cloud\"}");
    const auto asked = [&] { return home.read(QStringLiteral("asked")).split('\n').sliced(1).size(); };
    const auto hotkey = [&] {
        const QJsonObject shared = QJsonDocument::fromJson(home.read(QStringLiteral("cloud/config.json"))).object();
        return shared.value(u"hotkey").toObject().value(u"modifier").toString();
    };

    desktop.start(program, {QStringLiteral("settings")});
    const QString title = QStringLiteral("Quillmere Settings");
    QVERIFY(Desktop::wait([&] { return desktop.windowTitled(title).has_value(); }));
    (void)desktop.stillPicture();
    desktop.click(desktop.windowTitled(title)->content.bottomLeft() + QPoint(4, -4)); // an empty place: only to focus

    desktop.tap(Key::rightShift);
    QVERIFY(Desktop::wait([&] { return asked() == 1; }));
    const QByteArray first = home.read(QStringLiteral("asked"));
    QVERIFY2(first.startsWith("-i " + home.path().toUtf8() + "/cloud/captures/Quillmere "), first.constData());

    // The tabs, three folders with their choosers, the trigger key.
    for (int i = 0; i < 7; ++i)
        desktop.tap(Key::tab);
    for (int i = 0; i < 3; ++i)
        desktop.tap(Key::down);
    desktop.tap(Key::enter);
    QVERIFY(Desktop::wait([&] { return hotkey() == u"rightControl"; }));
    QCOMPARE(home.read(QStringLiteral(".quillmere/config.json")).simplified(),
             QByteArray("{ \"cloud\": \"~/cloud\" }"));

    desktop.tap(Key::rightShift); // means nothing any more, or the next line would be its
    desktop.keyDown(Key::rightControl);
    QVERIFY(Desktop::wait([&] { return asked() == 2; }));
    desktop.keyUp(Key::rightControl);
    QVERIFY(home.read(QStringLiteral("asked")).contains("\n-iw "));
}

QTEST_GUILESS_MAIN(tst_SettingsDesktop)
#include "tst_SettingsDesktop.moc"
