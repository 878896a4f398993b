#include "capture/HotkeyTrigger.h"
#include "config/ConfigStore.h"
#include "platform/LoginItem.h"
#include "settings/Lamp.h"
#include "settings/SettingsWindowController.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/TempHome.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QJsonDocument>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSlider>
#include <QTabWidget>
#include <QTest>

#include <cmath>
#include <memory>

using namespace qm;
using namespace std::chrono_literals;

static const QString localFile = QStringLiteral(".quillmere/config.json");
static const QString sharedFile = QStringLiteral("cloud/config.json");

// The test runs once in either language.
static QString text(const char16_t *english, const char16_t *japanese)
{
    return QString::fromUtf16(qgetenv("LANGUAGE") == "ja" ? japanese : english);
}

static QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

static QPalette darkPalette()
{
    QPalette palette(QColor(49, 54, 59), QColor(42, 46, 50));
    palette.setColor(QPalette::Base, QColor(27, 30, 32));
    return palette;
}

// Contrast as WCAG 2.2 defines it, of a colour that may be translucent on one that is not.
static double contrast(const QColor &front, const QColor &back)
{
    const auto luminance = [](double r, double g, double b) {
        const auto linear = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
        return 0.2126 * linear(r) + 0.7152 * linear(g) + 0.0722 * linear(b);
    };
    const double a = front.alphaF();
    const auto over = [a](double f, double b) { return f * a + b * (1 - a); };
    const double first = luminance(over(front.redF(), back.redF()), over(front.greenF(), back.greenF()),
                                   over(front.blueF(), back.blueF()));
    const double second = luminance(back.redF(), back.greenF(), back.blueF());
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

// An application around the window: the real trigger on a clock of the test, gestures counted.
struct Application {
    ManualQueue queue;
    std::optional<KeyMonitor::Started> started = KeyMonitor::Started::yes;
    std::function<void(HotkeyGesture)> test;
    QList<HotkeyGesture> captures;
    HotkeyTrigger trigger{queue, ConfigStore::resolveHotkey(), [this](HotkeyGesture gesture) {
                              if (!test)
                                  captures << gesture;
                              else if (gesture == HotkeyGesture::tap)
                                  test(HotkeyGesture::tap);
                              else
                                  test(HotkeyGesture::hold);
                          }};
    SettingsWindowController controller{[this] { trigger.setHotkey(ConfigStore::resolveHotkey()); }, listener()};

    KeyListener listener()
    {
        KeyListener result;
        result.started = [this] { return started; };
        result.keyName = [](int keyCode) { return keyCode == 61 ? QStringLiteral("AltGr") : QString(); };
        result.beginTest = [this](const Hotkey &hotkey, std::function<void(HotkeyGesture)> recognized) {
            test = std::move(recognized);
            trigger.setHotkey(hotkey);
        };
        result.endTest = [this] {
            test = nullptr;
            trigger.setHotkey(ConfigStore::resolveHotkey());
        };
        return result;
    }

    void press(HotkeyModifier modifier, std::chrono::milliseconds length)
    {
        trigger.handle({KeyEvent::Type::flagsChanged, keyCode(modifier), flagMask(modifier)});
        queue.advance(length);
        trigger.handle({KeyEvent::Type::flagsChanged, keyCode(modifier), 0});
    }
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
    QString message() const { return find<QLabel>(QStringLiteral("message"))->text(); }

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
        show();
        auto *tabs = m_window->findChild<QTabWidget *>();
        QCOMPARE(tabs->count(), 2);
        QCOMPARE(tabs->tabText(0), text(u"Settings", u"設定"));
        QCOMPARE(tabs->tabText(1), text(u"About", u"このアプリについて"));
        for (const QString &section : {text(u"Storage", u"保存先"), text(u"Hotkey", u"ホットキー"),
                                       text(u"Index", u"インデックス"), text(u"Startup", u"起動")})
            QVERIFY(find<QLabel>(section)->isVisible());
        QStringList keys;
        for (int i = 0; i < modifier()->count(); ++i)
            keys << modifier()->itemText(i);
        QCOMPARE(keys, QStringList({text(u"Right Shift", u"右 Shift"), text(u"Right Super", u"右 Super"),
                                    text(u"Right AltGr", u"右 AltGr"), text(u"Right Ctrl", u"右 Ctrl")}));

        // Names of libraries and licences, paths, versions and numbers are the same everywhere.
        static const QRegularExpression sameEverywhere(QStringLiteral(
            "^$|^Quillmere$|^[0-9.]+ (s|\\([0-9]+\\))$|^~/|^(lib|Qt|SQ|Tes|Lept|ISA|XCB|xkb|LGPL|Apache|BSD|IJG|MIT)"));
        static const QRegularExpression kana(QStringLiteral("[\\p{Han}\\p{Hiragana}\\p{Katakana}]"));
        for (int tab = 0; tab < 2; ++tab) {
            tabs->setCurrentIndex(tab);
            turn();
            int seen = 0;
            for (QWidget *widget : m_window->findChildren<QWidget *>()) {
                const QString words = widget->property("text").toString();
                if (!widget->isVisible() || words.isEmpty() || qobject_cast<QLineEdit *>(widget))
                    continue;
                ++seen;
                if (!words.contains(sameEverywhere))
                    QVERIFY2(words.contains(kana) == (qgetenv("LANGUAGE") == "ja"), qPrintable(words));
                const int needed = widget->hasHeightForWidth() ? 0 : widget->minimumSizeHint().width();
                QVERIFY2(widget->width() >= needed, qPrintable(words));
            }
            QVERIFY(seen > 10);
        }
    }

    void startsFromTheFiles()
    {
        m_home->write(localFile,
                      "{\"captures\": \"~/a\", \"source\": \"/b\", \"cloud\": \"~/cloud\", \"autoOcr\": false}");
        m_home->write(sharedFile,
                      "{\"source\": \"/c\", \"hotkey\": {\"modifier\": \"rightOption\", \"holdThreshold\": 0.33}}");
        QVERIFY(LoginItem::setEnabled(true));
        show();
        QCOMPARE(captures()->text(), QStringLiteral("~/a"));
        QCOMPARE(source()->text(), QStringLiteral("/c"));
        QCOMPARE(cloud()->text(), QStringLiteral("~/cloud"));
        QCOMPARE(modifier()->currentText(), text(u"Right AltGr", u"右 AltGr"));
        QVERIFY(find<QLabel>(QStringLiteral("0.33 s"))->isVisible());
        QVERIFY(!autoOcr()->isChecked());
        QVERIFY(launchAtLogin()->isChecked());
        // A value between the slider's steps is nobody's to change.
        save()->click();
        QCOMPARE(ConfigStore::resolveHotkey().holdThreshold, 0.33);
    }

    void emptyFieldsSayWhatIsInForce()
    {
        show();
        QCOMPARE(captures()->placeholderText(), QStringLiteral("~/.quillmere/captures"));
        QTRY_COMPARE(source()->placeholderText(), QStringLiteral("~/Desktop"));
        enter(cloud(), QStringLiteral("/net/cloud"));
        turn();
        QCOMPARE(captures()->placeholderText(), QStringLiteral("/net/cloud/captures"));
    }

    // From the first field to the saved files without a mouse.
    void keyboardOnly()
    {
        show();
        captures()->setFocus();
        const auto key = [&](Qt::Key code, Qt::KeyboardModifiers with = {}) {
            QTest::keyClick(QApplication::focusWidget(), code, with);
            turn();
        };
        const auto tabTo = [&](QWidget *widget) {
            for (int i = 0; i < 20 && QApplication::focusWidget() != widget; ++i)
                key(Qt::Key_Tab);
            QVERIFY(QApplication::focusWidget() == widget);
        };
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("  ~/shots "));
        tabTo(source());
        QCOMPARE(captures()->text(), QStringLiteral("~/shots"));
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("/src"));
        tabTo(cloud());
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("~/cloud"));
        tabTo(modifier());
        key(Qt::Key_Down);
        tabTo(threshold());
        key(Qt::Key_Right);
        QVERIFY(find<QLabel>(QStringLiteral("0.45 s"))->isVisible());
        tabTo(testKey());
        tabTo(autoOcr());
        key(Qt::Key_Space);
        tabTo(launchAtLogin());
        key(Qt::Key_Space);
        QCOMPARE(message(), text(u"Unsaved changes", u"未保存の変更があります"));
        key(Qt::Key_Return);
        QCOMPARE(message(), text(u"Saved", u"保存しました"));
        QCOMPARE(parsed(m_home->read(localFile)), parsed("{\"cloud\": \"~/cloud\"}"));
        QCOMPARE(parsed(m_home->read(sharedFile)),
                 parsed("{\"autoOcr\": false, \"captures\": \"~/shots\", \"source\": \"/src\","
                        " \"hotkey\": {\"holdThreshold\": 0.45, \"modifier\": \"rightCommand\"}}"));
        QVERIFY(LoginItem::isEnabled());

        // Return means Save wherever the focus is, and wherever it has been.
        tabTo(save());
        tabTo(captures());
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("/new"));
        key(Qt::Key_Return);
        QCOMPARE(ConfigStore::resolveCaptureDir(), QStringLiteral("/new"));

        key(Qt::Key_Tab, Qt::ControlModifier);
        QCOMPARE(m_window->findChild<QTabWidget *>()->currentIndex(), 1);
        QCOMPARE(find<QLabel>(QStringLiteral("launchAtLogin"))->text(), text(u"On", u"オン"));
        key(Qt::Key_Escape);
        QVERIFY(!m_window->isVisible());
    }

    void aboutFollowsTheLoginItem()
    {
        show();
        m_window->findChild<QTabWidget *>()->setCurrentIndex(1);
        QCOMPARE(find<QLabel>(QStringLiteral("launchAtLogin"))->text(), text(u"Off", u"オフ"));
        m_window->findChild<QTabWidget *>()->setCurrentIndex(0);
        launchAtLogin()->click();
        save()->click();
        m_window->findChild<QTabWidget *>()->setCurrentIndex(1);
        QCOMPARE(find<QLabel>(QStringLiteral("launchAtLogin"))->text(), text(u"On", u"オン"));
    }

    void whatIsNotSavedOutlivesHiding()
    {
        show();
        enter(captures(), QStringLiteral("/mine"));
        m_window->close();
        m_home->write(localFile, "{\"captures\": \"/theirs\", \"source\": \"/theirs\"}");
        show();
        QCOMPARE(captures()->text(), QStringLiteral("/mine"));
        QCOMPARE(source()->text(), QStringLiteral("/theirs"));
        find<QPushButton>(text(u"Revert", u"元に戻す"))->click();
        turn();
        QCOMPARE(captures()->text(), QStringLiteral("/theirs"));
        QCOMPARE(message(), QString());
    }

    void joiningAFolderTakesItsSettingsOver()
    {
        m_home->write(sharedFile, "{\"captures\": \"/theirs\", \"source\": \"/theirs\"}");
        show();
        enter(captures(), QStringLiteral("/mine"));
        enter(cloud(), QStringLiteral("~/cloud"));
        source()->setFocus(); // leaves the field
        turn();
        QCOMPARE(captures()->text(), QStringLiteral("/mine"));
        QCOMPARE(source()->text(), QStringLiteral("/theirs"));
    }

    void aFailureIsShownAndKeepsTheEntries()
    {
        m_home->write(QStringLiteral("cloud"), "a file where a folder is needed");
        show();
        enter(cloud(), QStringLiteral("~/cloud"));
        enter(captures(), QStringLiteral("/mine"));
        launchAtLogin()->click();
        save()->click();
        turn();
        QCOMPARE(message(), text(u"Failed to save settings", u"設定の保存に失敗しました"));
        QVERIFY(!find<QLabel>(QStringLiteral("message"))->toolTip().isEmpty());
        QCOMPARE(captures()->text(), QStringLiteral("/mine"));
        QVERIFY(!LoginItem::isEnabled());
        enter(cloud(), QString());
        save()->click();
        turn();
        QCOMPARE(message(), text(u"Saved", u"保存しました"));
        QVERIFY(LoginItem::isEnabled());
    }

    void savedKeyAndThresholdHoldAtTheNextPress()
    {
        show();
        modifier()->setFocus();
        QTest::keyClick(modifier(), Qt::Key_End); // right Control
        threshold()->setFocus();
        QTest::keyClick(threshold(), Qt::Key_End); // 0.8 s
        m_application->press(HotkeyModifier::rightControl, 100ms);
        QVERIFY(m_application->captures.isEmpty());
        save()->click();
        m_application->press(HotkeyModifier::rightControl, 790ms);
        m_application->press(HotkeyModifier::rightControl, 810ms);
        m_application->press(HotkeyModifier::rightShift, 100ms);
        QCOMPARE(m_application->captures, QList({HotkeyGesture::tap, HotkeyGesture::hold}));
    }

    void testingTheKey()
    {
        show();
        auto *tap = static_cast<Lamp *>(find<QLabel>(text(u"Tap", u"タップ")));
        auto *hold = static_cast<Lamp *>(find<QLabel>(text(u"Hold", u"長押し")));
        testKey()->setFocus();
        QTest::keyClick(testKey(), Qt::Key_Space);
        m_application->press(HotkeyModifier::rightShift, 100ms);
        QVERIFY(tap->isLit() && !hold->isLit());
        m_application->press(HotkeyModifier::rightShift, 500ms);
        QVERIFY(!tap->isLit() && hold->isLit());
        QTRY_VERIFY(!hold->isLit());

        modifier()->setFocus();
        QTest::keyClick(modifier(), Qt::Key_End); // tried before it is saved
        turn();
        m_application->press(HotkeyModifier::rightControl, 100ms);
        QVERIFY(tap->isLit());
        QVERIFY(m_application->captures.isEmpty());

        m_window->close(); // ends the test, and with it the unsaved key
        QVERIFY(!m_application->test);
        QVERIFY(!testKey()->isChecked());
        m_application->press(HotkeyModifier::rightShift, 100ms);
        QCOMPARE(m_application->captures.size(), 1);
    }

    void theListenersState_data()
    {
        QTest::addColumn<int>("started"); // -1: none
        QTest::addColumn<QString>("words");
        QTest::newRow("yes") << int(KeyMonitor::Started::yes) << text(u"hears", u"待ち受けて");
        QTest::newRow("not yet") << int(KeyMonitor::Started::notYet) << text(u"privacy settings", u"プライバシー設定");
        QTest::newRow("never") << int(KeyMonitor::Started::never) << QStringLiteral("quillmere capture-region");
        QTest::newRow("none") << -1 << QStringLiteral("quillmere capture-region");
    }
    void theListenersState()
    {
        QFETCH(int, started);
        QFETCH(QString, words);
        m_application = std::make_unique<Application>();
        m_application->started.reset();
        if (started >= 0)
            m_application->started = KeyMonitor::Started(started);
        show();
        const auto isShown = [&](const QString &part) {
            const auto labels = m_window->findChildren<QLabel *>();
            return std::any_of(labels.begin(), labels.end(),
                               [&](QLabel *label) { return label->text().contains(part); });
        };
        QVERIFY(isShown(words));
        QCOMPARE(testKey()->isEnabled(), started == int(KeyMonitor::Started::yes));
        m_application->started = KeyMonitor::Started::yes; // granted while the window is open
        QTRY_VERIFY(testKey()->isEnabled());
    }

    void textIsReadableInLightAndDark_data()
    {
        QTest::addColumn<bool>("dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }
    void textIsReadableInLightAndDark()
    {
        QFETCH(bool, dark);
        show();
        if (dark)
            QApplication::setPalette(darkPalette()); // with the window open, as desktops do at sunset
        QTRY_COMPARE(m_window->palette().color(QPalette::Window).lightness() < 128, dark);
        // The worst of all; by label, because each may have a palette of its own.
        QString words;
        const auto worst = [&] {
            double lowest = 21;
            const auto count = [&](const QString &shown, const QColor &front, const QColor &back) {
                if (const double ratio = contrast(front, back); ratio < lowest) {
                    lowest = ratio;
                    words = QStringLiteral("%1: %2").arg(shown).arg(ratio);
                }
            };
            const QColor background = m_window->palette().color(QPalette::Window);
            for (QLabel *label : m_window->findChildren<QLabel *>())
                count(label->text(), label->palette().color(label->foregroundRole()), background);
            for (QLineEdit *edit : {captures(), source(), cloud()}) {
                const QPalette &palette = edit->palette();
                count(edit->accessibleName(), palette.color(QPalette::Text), palette.color(QPalette::Base));
                count(edit->placeholderText(), palette.color(QPalette::PlaceholderText), palette.color(QPalette::Base));
            }
            return lowest;
        };
        QTRY_VERIFY2(worst() >= 4.5, qPrintable(words));
    }

    // Settings files of any content: the window opens, shows and saves, and what it saved is what it shows.
    void fuzzedSettingsFiles()
    {
        QRandomGenerator random(20261121);
        const QByteArrayList values = {"null",
                                       "true",
                                       "-0",
                                       "1e999",
                                       "0.05",
                                       "[]",
                                       "{}",
                                       "\"\"",
                                       "\"~\"",
                                       "\"/\"",
                                       "\"\\u0000\"",
                                       "\"\\ud800\"",
                                       "\"~/cloud\"",
                                       "\"rightOption\"",
                                       "{\"modifier\": 3, \"holdThreshold\": -1}",
                                       "{\"modifier\": \"rightControl\", \"holdThreshold\": \"x\"}"};
        const QByteArrayList names = {"captures", "source", "hotkey", "autoOcr", "cloud"};
        const auto fuzzed = [&] {
            QByteArray json = "{";
            for (const QByteArray &name : names) {
                if (random.bounded(4) != 0)
                    json += '"' + name + "\": " + values.at(random.bounded(int(values.size()))) + ", ";
            }
            json += "\"z\": 0}";
            for (int i = random.bounded(3); i > 0 && random.bounded(2) == 0; --i)
                json[random.bounded(int(json.size()))] = char(random.bounded(256));
            return json;
        };
        for (int i = 0; i < 40; ++i) {
            m_home = std::make_unique<TempHome>();
            const QByteArray local = fuzzed(), shared = fuzzed();
            m_home->write(localFile, local);
            m_home->write(sharedFile, shared);
            show();
            save()->click();
            turn();
            const Hotkey hotkey = ConfigStore::resolveHotkey();
            QVERIFY2(message() != text(u"Unsaved changes", u"未保存の変更があります"), (local + shared).constData());
            QCOMPARE(modifier()->currentIndex(), int(hotkey.modifier));
            QVERIFY(hotkey.holdThreshold >= 0.2 && hotkey.holdThreshold <= 0.8);
            cleanup();
        }
    }
};

QTEST_MAIN(tst_SettingsWindow)
#include "tst_SettingsWindow.moc"
