#include "config/ConfigStore.h"
#include "platform/LoginItem.h"
#include "settings/AboutView.h"
#include "settings/GeneralSettings.h"
#include "settings/Lamp.h"
#include "settings/SettingsWindowController.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/Pixels.h"
#include "tests/support/TempHome.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
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
    Hotkey tested;
    std::function<void(HotkeyGesture)> test;
    int saved = 0;
    SettingsWindowController controller{
        queue,
        [this] { ++saved; },
        {.started = [this] { return started; },
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

    void theFirstFailureStops()
    {
        const std::pair<QString, QStringList> rows[] = {
            // a file where a folder is needed, and what is written all the same
            {u".quillmere"_s, {}},
            {u"cloud"_s, {localFile}},
            {u".config/autostart"_s, {localFile, sharedFile}},
        };
        for (const auto &[obstacle, written] : rows) {
            init();
            m_home->write(obstacle, "stops root as well");
            GeneralSettings settings;
            settings.cloud = u"~/cloud"_s;
            settings.launchAtLogin = true;
            const Outcome outcome = settings.save();
            QVERIFY(!outcome && !outcome.reason().isEmpty());
            for (const QString &file : {localFile, sharedFile})
                QCOMPARE(!m_home->read(file).isEmpty(), written.contains(file));
            QVERIFY(!GeneralSettings::read().launchAtLogin);
        }
    }

    // What an empty field promises is what is in force after saving it.
    void emptyFields()
    {
        const struct {
            QByteArray local;
            QString cloud, captures, source;
        } rows[] = {
            {R"({"captures": "/a", "source": "/b"})", u""_s, u".quillmere/captures"_s, u"Desktop"_s},
            {"{}", u"~/cloud"_s, u"cloud/captures"_s, u"Desktop"_s},
            {R"({"captures": "~/a", "source": "~/b"})", u"~/cloud"_s, u"a"_s,
             u"b"_s}, // the local file has its say again
            {R"({"cloud": "~/cloud"})", u""_s, u".quillmere/captures"_s, u"Desktop"_s},
        };
        for (const auto &row : rows) {
            init();
            m_home->write(localFile, row.local);
            GeneralSettings settings;
            settings.cloud = row.cloud;
            QCOMPARE(settings.captureDirWhenEmpty(), m_home->file(row.captures));
            QCOMPARE(settings.sourceWhenEmpty(), m_home->file(row.source));
            QVERIFY(settings.save());
            QCOMPARE(ConfigStore::resolveCaptureDir(), m_home->file(row.captures));
            QCOMPARE(ConfigStore::resolveSource(), m_home->file(row.source));
        }
    }

    void everyTextIsInTheUsersLanguageAndWhole()
    {
        show();
        auto *tabs = m_window->findChild<QTabWidget *>();
        QCOMPARE(appVersion(u"1.4"_s, {}), u"1.4 (?)"_s);
        // Names of libraries and licences, paths, versions and numbers are the same everywhere.
        static const QRegularExpression sameEverywhere(
            u"^$|^Quillmere$|^[0-9.]+ (s|\\([0-9]+\\))$|^~/|^(lib|Qt|SQ|Tes|Lept|ISA|XCB|xkb|LGPL|Apache|BSD|IJG|MIT)"_s);
        static const QRegularExpression kana(u"[\\p{Han}\\p{Hiragana}\\p{Katakana}]"_s);
        const auto isTheUsers = [](const QString &words) {
            return words.contains(sameEverywhere) || words.contains(kana) == (qgetenv("LANGUAGE") == "ja");
        };
        for (int tab = 0; tab < 2; ++tab) {
            tabs->setCurrentIndex(tab);
            turn();
            QVERIFY(isTheUsers(tabs->tabText(tab)));
            int seen = 0;
            for (QWidget *widget : m_window->findChildren<QWidget *>()) {
                const QString words = widget->property("text").toString();
                if (!widget->isVisible() || words.isEmpty() || qobject_cast<QLineEdit *>(widget))
                    continue;
                ++seen;
                QVERIFY2(isTheUsers(words), qPrintable(words));
                const int needed = widget->hasHeightForWidth() ? 0 : widget->minimumSizeHint().width();
                QVERIFY2(widget->width() >= needed, qPrintable(words));
            }
            QVERIFY(seen > 10);
        }
    }

    void startsFromTheFiles()
    {
        m_home->write(localFile, R"({"captures": "~/a", "source": "/b", "cloud": "~/cloud", "autoOcr": false})");
        m_home->write(sharedFile, R"({"source": "/c", "hotkey": {"modifier": "rightOption", "holdThreshold": 0.33}})");
        QVERIFY(LoginItem::setEnabled(true));
        show();
        QCOMPARE(captures()->text(), u"~/a"_s);
        QCOMPARE(source()->text(), u"/c"_s);
        QCOMPARE(modifier()->currentText(), text(u"Right AltGr", u"右 AltGr"));
        QVERIFY(find<QLabel>(u"0.33 s"_s)->isVisible());
        QVERIFY(!autoOcr()->isChecked() && launchAtLogin()->isChecked());
        save()->click();
        QCOMPARE(ConfigStore::resolveHotkey().holdThreshold,
                 0.33); // between the slider's steps, and nobody's to change
    }

    // From the first field to the saved files without a mouse.
    void keyboardOnly()
    {
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
            else if (widget == autoOcr() || widget == launchAtLogin())
                key(Qt::Key_Space);
            key(Qt::Key_Tab);
        }
        QVERIFY(round.contains(source()) && round.contains(cloud()) && round.contains(testKey()) &&
                round.contains(save()));
        QCOMPARE(captures()->text(), u"~/shots"_s);
        QCOMPARE(message(), text(u"Unsaved changes", u"未保存の変更があります"));
        key(Qt::Key_Return); // means Save wherever the focus is, and wherever it has been
        QCOMPARE(message(), text(u"Saved", u"保存しました"));
        GeneralSettings expected;
        expected.captures = u"~/shots"_s;
        expected.source = u"/src"_s;
        expected.cloud = u"~/cloud"_s;
        expected.hotkey = {HotkeyModifier::rightCommand, 0.45};
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
        turn();
        QCOMPARE(captures()->text(), u"/mine"_s);
        QCOMPARE(source()->text(), u"/theirs"_s);
    }

    void aFailureIsShownAndKeepsTheEntries()
    {
        m_home->write(u"cloud"_s, "a file where a folder is needed");
        show();
        enter(cloud(), u"~/cloud"_s);
        enter(captures(), u"/mine"_s);
        save()->click();
        turn();
        QCOMPARE(message(), text(u"Failed to save settings", u"設定の保存に失敗しました"));
        QVERIFY(!find<QLabel>(u"message"_s)->toolTip().isEmpty());
        QCOMPARE(captures()->text(), u"/mine"_s);
        enter(cloud(), QString());
        save()->click();
        turn();
        QCOMPARE(message(), text(u"Saved", u"保存しました"));
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
        m_window->setWindowState(Qt::WindowMinimized);
        turn();
        QVERIFY(!testing);
    }

    void theListenersState()
    {
        using enum KeyMonitor::Started;
        const std::pair<std::optional<KeyMonitor::Started>, QString> rows[] = {
            {yes, text(u"listening", u"待ち受けて")},
            {notYet, text(u"privacy", u"プライバシー")},
            {never, u"quillmere capture-region"_s},
            {std::nullopt, u"quillmere capture-region"_s},
        };
        show();
        for (const auto &[started, words] : rows) {
            m_application->started = started;
            m_application->queue.advance(1s); // it may start while the window is open
            QString all;
            for (const QLabel *label : m_window->findChildren<QLabel *>())
                all += label->text();
            QVERIFY2(all.contains(words), qPrintable(all));
            QCOMPARE(testKey()->isEnabled(), started == yes);
        }
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
            for (QLabel *label : m_window->findChildren<QLabel *>())
                QVERIFY2(Pixels::contrast(label->palette().color(label->foregroundRole()), palette.window().color()) >=
                             4.5,
                         qPrintable(label->text()));
            for (QLineEdit *edit : {captures(), source(), cloud()})
                for (const QPalette::ColorRole role : {QPalette::Text, QPalette::PlaceholderText})
                    QVERIFY(Pixels::contrast(edit->palette().color(role), edit->palette().color(QPalette::Base)) >=
                            4.5);
        }
    }
};

QTEST_MAIN(tst_SettingsWindow)
#include "tst_SettingsWindow.moc"
