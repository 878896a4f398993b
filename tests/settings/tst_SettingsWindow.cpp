#include "config/ConfigStore.h"
#include "platform/LoginItem.h"
#include "settings/AboutView.h"
#include "settings/GeneralSettings.h"
#include "settings/Lamp.h"
#include "settings/SettingsWindowController.h"
#include "settings/ShortcutAdvice.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/Pixels.h"
#include "tests/support/TempHome.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QTabWidget>
#include <QTest>

#include <memory>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

static const QString localFile = u".quillmere/config.json"_s;
static const QString sharedFile = u"cloud/config.json"_s;

// The test runs once in either language.
static QString text(const char16_t *english, const char16_t *japanese)
{
    return QString::fromUtf16(qgetenv("LANGUAGE") == "ja" ? japanese : english);
}

// An application around the window.
struct Application {
    ManualQueue queue;
    std::optional<KeyMonitor::Started> started = KeyMonitor::Started::yes;
    KeyRoad road = KeyRoad::displayServer;
    Hotkey tested;
    std::function<void(HotkeyGesture)> test;
    int saved = 0;
    SettingsWindowController controller{
        queue,
        [this] { ++saved; },
        {.started = [this] { return started; },
         .road = [this] { return road; },
         .keyName = [](int code) { return code == keyCode(HotkeyModifier::rightOption) ? u"AltGr"_s : QString(); },
         .beginTest = [this](const Hotkey &hotkey, auto recognized) { tested = hotkey, test = std::move(recognized); },
         .endTest = [this] { test = nullptr; }}};
};

class tst_SettingsWindow : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    std::unique_ptr<Application> m_application;
    QWidget *m_window = nullptr;

    void show()
    {
        if (!m_application)
            m_application = std::make_unique<Application>();
        m_application->controller.show();
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            if (widget->isVisible() && widget->windowTitle() == text(u"Quillmere Settings", u"Quillmere 設定"))
                m_window = widget;
        }
        QVERIFY(m_window && QTest::qWaitForWindowActive(m_window));
        turn();
    }

    // One turn of the event loop: the window paints its state once in it.
    static void turn() { QCoreApplication::processEvents(); }

    template<class T>
    T *find(const QString &name) const
    {
        for (T *widget : m_window->findChildren<T *>()) {
            const bool labelled = widget->accessibleName() == name || widget->objectName() == name;
            if (labelled || widget->property("text").toString() == name)
                return widget;
        }
        qFatal("no widget called %s", qPrintable(name));
    }
    QLineEdit *captures() const { return find<QLineEdit>(text(u"Captures", u"撮影した画像")); }
    QLineEdit *source() const { return find<QLineEdit>(text(u"System screenshots", u"システムのスクリーンショット")); }
    QLineEdit *cloud() const { return find<QLineEdit>(text(u"Shared folder", u"共有フォルダー")); }
    QComboBox *modifier() const { return find<QComboBox>(text(u"Trigger key", u"トリガーキー")); }
    QSlider *threshold() const { return find<QSlider>(text(u"Hold threshold", u"長押しとみなす時間")); }
    QPushButton *testKey() const { return find<QPushButton>(text(u"Test the key", u"キーを試す")); }
    QCheckBox *showPreview() const
    {
        return find<QCheckBox>(text(u"Show a preview after each capture", u"撮影後にプレビューを表示する"));
    }
    QCheckBox *autoOcr() const { return find<QCheckBox>(text(u"Auto-OCR after capture", u"撮影後に自動でOCRする")); }
    QCheckBox *launchAtLogin() const { return find<QCheckBox>(text(u"Launch at login", u"ログイン時に起動")); }
    QPushButton *save() const { return find<QPushButton>(text(u"Save", u"保存")); }
    QString message() const { return find<QLabel>(u"message"_s)->text(); }

    static void enter(QLineEdit *edit, const QString &path)
    {
        edit->setFocus();
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, path);
    }

private Q_SLOTS:
    void init() { m_home = std::make_unique<TempHome>(); }
    void cleanup()
    {
        m_window = nullptr;
        m_application.reset();
        QApplication::setPalette(QPalette());
    }

    void everyTextIsInTheUsersLanguageAndWhole()
    {
        m_home.reset();
        const OrdinaryUser user;
        init();
        m_home->write(localFile, R"({"captures": "~/sealed", "source": "~/link", "cloud": "~/away"})");
        m_home->write(u"file"_s, {});
        QVERIFY(QFile::link(m_home->file(u"nowhere"_s), m_home->file(u"link"_s)));
        QVERIFY(QDir(m_home->path()).mkdir(u"sealed"_s));
        QVERIFY(QFile::setPermissions(m_home->file(u"sealed"_s), {}));
        show();
        const auto warnings = [this] {
            QSet<QString> all;
            for (const QLineEdit *edit : {captures(), source(), cloud()})
                all << edit->accessibleDescription();
            return all;
        };
        QTRY_VERIFY(!warnings().contains(QString()));
        QSet<QString> said = warnings();
        auto *tabs = m_window->findChild<QTabWidget *>();
        QCOMPARE(appVersion(u"1.4"_s, {}), u"1.4 (?)"_s);
        // Names of libraries and licences, paths, versions and numbers are the same everywhere.
        static const QRegularExpression sameEverywhere(
            u"^$|^Quillmere$|^[0-9.]+ (s|\\([0-9]+\\))$|^~/|^(lib|Qt|GLib|SQ|Tes|Lept|Wayland|systemd|ISA|XCB|xkb|LGPL|Apache|BSD|IJG|MIT)"_s);
        static const QRegularExpression kana(u"[\\p{Han}\\p{Hiragana}\\p{Katakana}]"_s);
        const auto isTheUsers = [](const QString &words) {
            return words.contains(sameEverywhere) || words.contains(kana) == (qgetenv("LANGUAGE") == "ja");
        };
        // Where the key is not heard, more is said than the test's screen has room for.
        for (const auto &[tab, isHeard] : {std::pair(0, true), {0, true}, {1, true}, {0, false}}) {
            tabs->setCurrentIndex(tab);
            m_application->road = isHeard ? KeyRoad::displayServer : KeyRoad::none;
            m_application->queue.advance(1s);
            turn();
            QVERIFY(isTheUsers(tabs->tabText(tab)));
            for (const QScrollArea *area : m_window->findChildren<QScrollArea *>())
                QVERIFY(!isHeard || area->verticalScrollBar()->maximum() == 0); // the window makes room for warnings
            int seen = 0;
            for (QWidget *widget : m_window->findChildren<QWidget *>()) {
                const QString words = widget->property("text").toString().remove(QRegularExpression(u"<[^>]*>"_s));
                if (!widget->isVisible() || words.isEmpty() || qobject_cast<QLineEdit *>(widget))
                    continue;
                ++seen;
                QVERIFY2(isTheUsers(words), qPrintable(words));
                const int needed = widget->hasHeightForWidth() ? 0 : widget->minimumSizeHint().width();
                QVERIFY2(widget->width() >= needed, qPrintable(words));
            }
            QVERIFY(seen > 10);
            if (tab == 1)
                break;
            enter(captures(), u"~/file"_s);
            enter(cloud(), u"~/missing"_s);
            m_application->queue.advance(400ms); // a pause in typing
            QTRY_COMPARE(said.unite(warnings()).size(), 5);
        }
        m_window->close();
        m_home.reset();
    }

    void startsFromTheFiles()
    {
        m_home->write(localFile, R"({"captures": "~/a", "source": "/b", "cloud": "~/cloud", "showPreview": false,
                                "autoOcr": false})");
        m_home->write(sharedFile, R"({"source": "/c", "hotkey": {"modifier": "rightOption", "holdThreshold": 0.33}})");
        QVERIFY(LoginItem::setEnabled(true));
        show();
        QCOMPARE(captures()->text(), u"~/a"_s);
        QCOMPARE(source()->text(), u"/c"_s);
        QCOMPARE(modifier()->currentText(), text(u"Right AltGr", u"右 AltGr"));
        QVERIFY(find<QLabel>(u"0.33 s"_s)->isVisible());
        QCOMPARE(find<QLabel>(text(u"Trigger key", u"トリガーキー"))->buddy(), modifier()); // its accessible name
        QVERIFY(!showPreview()->isChecked() && !autoOcr()->isChecked() && launchAtLogin()->isChecked());
        save()->click();
        QTRY_COMPARE(message(), text(u"Saved", u"保存しました"));
        QCOMPARE(ConfigStore::resolveHotkey().holdThreshold,
                 0.33); // between the slider's steps, and nobody's to change
    }

    // From the first field to the saved files without a mouse.
    void keyboardOnly()
    {
        QVERIFY(QDir(m_home->path()).mkdir(u"cloud"_s));
        show();
        const auto key = [&](Qt::Key code, Qt::KeyboardModifiers with = {}) {
            QTest::keyClick(QApplication::focusWidget(), code, with);
            turn();
        };
        enter(source(), u"/src"_s);
        enter(cloud(), u"~/cloud"_s);
        enter(captures(), u"  ~/shots "_s);
        QList<QWidget *> round;
        for (QWidget *widget = nullptr; !round.contains(widget); widget = QApplication::focusWidget()) {
            round << widget;
            if (widget == modifier())
                key(Qt::Key_Down);
            else if (widget == threshold())
                key(Qt::Key_Right);
            else if (widget == showPreview() || widget == autoOcr() || widget == launchAtLogin())
                key(Qt::Key_Space);
            key(Qt::Key_Tab);
        }
        QVERIFY(round.contains(source()) && round.contains(cloud()) && round.contains(testKey()) &&
                round.contains(save()));
        QCOMPARE(captures()->text(), u"~/shots"_s);
        QCOMPARE(message(), text(u"Unsaved changes", u"未保存の変更があります"));
        key(Qt::Key_Return); // means Save wherever the focus is, and wherever it has been
        QTRY_COMPARE(message(), text(u"Saved", u"保存しました"));
        GeneralSettings expected;
        expected.captures = u"~/shots"_s;
        expected.source = u"/src"_s;
        expected.cloud = u"~/cloud"_s;
        expected.hotkey = {HotkeyModifier::rightCommand, 0.45};
        expected.showPreview = false;
        expected.autoOcr = false;
        expected.launchAtLogin = true;
        QVERIFY(GeneralSettings::read() == expected);
        QCOMPARE(m_application->saved, 1);

        QCOMPARE(find<QLabel>(u"launchAtLogin"_s)->text(), text(u"Off", u"オフ")); // on the other tab, not seen yet
        key(Qt::Key_Tab, Qt::ControlModifier);
        QCOMPARE(find<QLabel>(u"launchAtLogin"_s)->text(), text(u"On", u"オン"));
        key(Qt::Key_Escape);
        QVERIFY(!m_window->isVisible());
    }

    void whatIsNotSavedOutlivesHiding()
    {
        show();
        enter(captures(), u"/mine"_s);
        m_window->close();
        m_home->write(localFile, R"({"captures": "/theirs", "source": "/theirs"})");
        show();
        QCOMPARE(captures()->text(), u"/mine"_s);
        QCOMPARE(source()->text(), u"/theirs"_s);
        find<QPushButton>(text(u"Revert", u"元に戻す"))->click();
        turn();
        QCOMPARE(captures()->text(), u"/theirs"_s);
        QCOMPARE(message(), QString());
    }

    void joiningAFolderTakesItsSettingsOver()
    {
        m_home->write(sharedFile, R"({"captures": "/theirs", "source": "/theirs"})");
        show();
        enter(captures(), u"/mine"_s);
        enter(cloud(), u"~/cloud"_s);
        source()->setFocus(); // leaves the field
        QTRY_COMPARE(source()->text(), u"/theirs"_s);
        QCOMPARE(captures()->text(), u"/mine"_s);
        m_home->write(u"second/config.json"_s, R"({"captures": "/others"})");
        enter(cloud(), u"~/second"_s); // what the first one said was not the user's own
        source()->setFocus();
        QTRY_COMPARE(source()->text(), QString());
        QCOMPARE(captures()->text(), u"/mine"_s);
    }

    void aFailureIsShownAndKeepsTheEntries()
    {
        m_home->write(u"cloud"_s, "a file where a folder is needed");
        m_home->write(u".config/autostart"_s, "another");
        show();
        enter(captures(), u"/mine"_s);
        for (const bool launch : {true, false}) { // found out by trying, and before
            launchAtLogin()->click();
            if (!launch)
                enter(cloud(), u"~/cloud"_s);
            save()->click();
            turn();
            QTRY_COMPARE(message(), text(u"Failed to save settings", u"設定の保存に失敗しました"));
            QVERIFY(!find<QLabel>(u"message"_s)->toolTip().isEmpty());
            QCOMPARE(captures()->text(), u"/mine"_s);
            QVERIFY(!QFile::exists(m_home->file(localFile)) && m_application->saved == 0);
        }
        enter(cloud(), QString());
        save()->click();
        enter(cloud(), u"~/missing"_s); // nobody has asked to save this
        const QString said = cloud()->accessibleDescription();
        m_application->queue.advance(400ms);
        QTRY_VERIFY(!cloud()->accessibleDescription().isEmpty() && cloud()->accessibleDescription() != said);
        QCOMPARE(message(), text(u"Unsaved changes", u"未保存の変更があります"));
        enter(cloud(), QString());
        save()->click();
        QTRY_COMPARE(message(), text(u"Saved", u"保存しました"));
    }

    void testingTheKey()
    {
        show();
        auto *tap = static_cast<Lamp *>(find<QLabel>(text(u"Tap", u"タップ")));
        auto *hold = static_cast<Lamp *>(find<QLabel>(text(u"Hold", u"長押し")));
        const auto &testing = m_application->test;
        testKey()->click();
        modifier()->setFocus();
        QTest::keyClick(modifier(), Qt::Key_End); // tried before it is saved
        turn();
        QCOMPARE(m_application->tested.modifier, HotkeyModifier::rightControl);
        testing(HotkeyGesture::tap);
        QVERIFY(tap->isLit() && !hold->isLit());
        testing(HotkeyGesture::hold);
        QVERIFY(!tap->isLit() && hold->isLit());
        m_application->queue.advance(1200ms);
        QVERIFY(!hold->isLit());

        // A forgotten test ends; each gesture shows that it is not.
        m_application->queue.advance(28s);
        testing(HotkeyGesture::tap);
        m_application->queue.advance(29'999ms);
        QVERIFY(testing);
        m_application->queue.advance(1ms);
        QVERIFY(!testing && !testKey()->isChecked());
        testKey()->click();
        m_window->close();
        QVERIFY(!testing && !testKey()->isChecked());
        show();
        testKey()->click();
        m_application->queue.advance(30s); // without any gesture
        QVERIFY(!testing);
        testKey()->click();
        m_window->setWindowState(Qt::WindowMinimized);
        turn();
        QVERIFY(!testing);
    }

    void theListenersState()
    {
        using enum KeyMonitor::Started;
        const struct {
            std::optional<KeyMonitor::Started> started;
            KeyRoad road;
            QString words;
        } rows[] = {
            {yes, KeyRoad::displayServer, text(u"listening", u"待ち受けて")},
            {yes, KeyRoad::inputDevices, text(u"right to read", u"読み取る権限")},
            {yes, KeyRoad::compositor, u"sway"_s},
            {yes, KeyRoad::portal, text(u"two shortcuts", u"用のショートカット")},
            {yes, KeyRoad::none, u"quillmere capture-region"_s},
            {notYet, KeyRoad::displayServer, text(u"privacy", u"プライバシー")},
            {never, KeyRoad::none, u"quillmere capture-region"_s},
            {std::nullopt, KeyRoad::none, u"quillmere capture-region"_s},
        };
        show();
        for (const auto &[started, road, words] : rows) {
            m_application->started = started;
            m_application->road = road;
            m_application->queue.advance(1s); // it may start while the window is open
            QString all;
            for (const QLabel *label : m_window->findChildren<QLabel *>())
                all += label->isVisible() ? label->text() : QString();
            QVERIFY2(all.contains(words), qPrintable(all));
            QVERIFY2(started == yes || !all.contains(text(u"administrator", u"管理者")), qPrintable(all));
            QCOMPARE(testKey()->isEnabled(), started == yes);
        }
    }

    void whatTheDesktopOffersInstead()
    {
        const std::pair<QString, QString> desktops[] = {
            {u"XFCE"_s, u"xfconf-query"_s},
            {u"ubuntu:GNOME"_s, u"gsettings"_s},
            {u"KDE"_s, u"quillmere capture-window"_s},
            {u"sway"_s, u"bindsym Shift+Print exec quillmere capture-region"_s},
            {u"Hyprland"_s, u"bind = SHIFT, Print, exec, quillmere capture-region"_s},
            {u"labwc:wlroots"_s, u"command=\"quillmere capture-region\""_s},
            {u"niri"_s, u"spawn \"quillmere\" \"capture-region\""_s},
            {u"Unknown"_s, u"quillmere capture-region"_s},
        };
        for (const auto &[names, words] : desktops)
            QVERIFY2(shortcutAdvice(names, u"quillmere"_s).lines.contains(words), qPrintable(names));
    }

    // A stand-in keeps each value in a file of its own.
    void shortcutsOnGnome()
    {
        m_home->write(u"gsettings"_s, "#!/bin/sh\n"
                                      "cd $HOME; key=$(echo $2 | tr / _)\n"
                                      "case $1 in\n"
                                      "get) cat $key.$3 ;;\n"
                                      "set) printf '%s\\n' \"$4\" >$key.$3 ;;\n"
                                      "reset-recursively) rm $key.name $key.command $key.binding ;;\n"
                                      "esac\n");
        QVERIFY(QFile::setPermissions(m_home->file(u"gsettings"_s), QFile::ReadOwner | QFile::ExeOwner));
        const QString list = u"org.gnome.settings-daemon.plugins.media-keys.custom-keybindings"_s;
        const QString folder = u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/"_s;
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", m_home->path().toUtf8() + ':' + path);
        qputenv("XDG_CURRENT_DESKTOP", "GNOME");
        for (const QString &before : {u"@as []"_s, u"['/a/', '/b/']"_s}) {
            const QString others = before == u"@as []" ? QString() : before.sliced(1).chopped(1) + u", "_s;
            const QString both = u"[%1'%2quillmere-region/', '%2quillmere-window/']"_s.arg(others, folder);
            m_home->write(list, before.toUtf8() + '\n');
            // What is to be typed does the same.
            QCOMPARE(QProcess::execute(u"sh"_s, {u"-c"_s, shortcutAdvice(u"GNOME"_s, u"quillmere"_s).lines}), 0);
            QCOMPARE(QString::fromUtf8(m_home->read(list)).trimmed(), both);
            m_home->write(list, before.toUtf8() + '\n');

            m_application = std::make_unique<Application>();
            m_application->road = KeyRoad::none;
            show();
            const auto button = [this](const char16_t *english, const char16_t *japanese) {
                for (QPushButton *each : m_window->findChildren<QPushButton *>()) {
                    if (each->text() == text(english, japanese) && each->isVisible() && each->isEnabled())
                        return each;
                }
                return static_cast<QPushButton *>(nullptr);
            };
            const auto add = [&] { return button(u"Add Them for Me", u"自動で追加"); };
            const auto remove = [&] { return button(u"Remove the Shortcuts", u"ショートカットを削除"); };
            QTRY_VERIFY(add());
            add()->click();
            QTRY_VERIFY(remove());
            QCOMPARE(QString::fromUtf8(m_home->read(list)).trimmed(), both);
            remove()->click();
            QTRY_VERIFY(add());
            QCOMPARE(QString::fromUtf8(m_home->read(list)).trimmed(), before == u"@as []" ? u"[]"_s : before);
            m_window = nullptr;
            m_application.reset();
        }
        qputenv("PATH", path);
        qunsetenv("XDG_CURRENT_DESKTOP");
    }

    void textIsReadableInLightAndDark()
    {
        show();
        QPalette dark(QColor(49, 54, 59), QColor(42, 46, 50));
        dark.setColor(QPalette::Base, QColor(27, 30, 32));
        for (const QPalette &palette :
             {QApplication::palette(), dark}) { // with the window open, as desktops do at sunset
            QApplication::setPalette(palette);
            QTRY_COMPARE(m_window->palette().window(), palette.window());
            turn();
            // By widget, because each may have a palette of its own.
            static const QRegularExpression linkColor(u"color: (#\\w+)"_s);
            for (QLabel *label : m_window->findChildren<QLabel *>()) {
                const auto link = linkColor.match(label->text());
                const QColor color =
                    link.hasMatch() ? QColor(link.captured(1)) : label->palette().color(label->foregroundRole());
                QVERIFY2(Pixels::contrast(color, palette.window().color()) >= 4.5, qPrintable(label->text()));
            }
            for (QLineEdit *edit : {captures(), source(), cloud()})
                for (const QPalette::ColorRole role : {QPalette::Text, QPalette::PlaceholderText})
                    QVERIFY(Pixels::contrast(edit->palette().color(role), edit->palette().color(QPalette::Base)) >=
                            4.5);
        }
    }
};

QTEST_MAIN(tst_SettingsWindow)
#include "tst_SettingsWindow.moc"
