#include "config/ConfigStore.h"
#include "platform/LoginItem.h"
#include "settings/AboutView.h"
#include "settings/GeneralSettings.h"
#include "tests/support/TempHome.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <memory>

using namespace qm;

static const QString localFile = QStringLiteral(".quillmere/config.json");
static const QString sharedFile = QStringLiteral("cloud/config.json");
static const QString autostart = QStringLiteral(".config/autostart");

static QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

// Nothing in it is a default.
static GeneralSettings changedEverywhere()
{
    GeneralSettings settings;
    settings.captures = QStringLiteral("~/shots");
    settings.source = QStringLiteral("/var/スクリーンショット");
    settings.cloud = QStringLiteral("~/cloud");
    settings.hotkey = {HotkeyModifier::rightOption, 0.65};
    settings.autoOcr = false;
    settings.launchAtLogin = true;
    return settings;
}

class tst_GeneralSettings : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;

private Q_SLOTS:
    void init() { m_home = std::make_unique<TempHome>(); }

    void everyFieldIsReadBack()
    {
        const GeneralSettings settings = changedEverywhere();
        QVERIFY(settings.save());
        QVERIFY(GeneralSettings::read() == settings);
        QCOMPARE(parsed(m_home->read(localFile)), parsed("{\"cloud\": \"~/cloud\"}")); // the rest is for every machine
        QCOMPARE(parsed(m_home->read(sharedFile)),
                 parsed("{\"autoOcr\": false, \"captures\": \"~/shots\", \"source\": \"/var/スクリーンショット\","
                        " \"hotkey\": {\"holdThreshold\": 0.65, \"modifier\": \"rightOption\"}}"));
        QCOMPARE(ConfigStore::resolveCaptureDir(), m_home->file(QStringLiteral("shots")));

        QVERIFY(GeneralSettings().save());
        QVERIFY(GeneralSettings::read() == GeneralSettings());
        QCOMPARE(parsed(m_home->read(localFile)),
                 parsed("{\"autoOcr\": true, \"hotkey\": {\"holdThreshold\": 0.4, \"modifier\": \"rightShift\"}}"));
        QVERIFY(!LoginItem::isEnabled());
    }

    void keysOfOthersStay()
    {
        m_home->write(localFile, "{\"captures\": \"/a\", \"another\": [1]}");
        QVERIFY(GeneralSettings().save());
        QCOMPARE(ConfigStore::effective().value(u"another"), QJsonValue(QJsonArray{1}));
        QVERIFY(!ConfigStore::effective().contains(u"captures"));
    }

    // A file where a folder is needed stops root as well.
    void theFirstFailureStops_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QByteArray>("local");
        QTest::addColumn<bool>("sharedWritten");
        QTest::addColumn<bool>("launchAtLogin");
        QTest::newRow("local file") << QStringLiteral(".quillmere") << QByteArray() << false << false;
        QTest::newRow("shared file") << QStringLiteral("cloud") << QByteArray("{\"cloud\": \"~/cloud\"}") << false
                                     << false;
        QTest::newRow("login item") << autostart << QByteArray("{\"cloud\": \"~/cloud\"}") << true << false;
        QTest::newRow("nothing") << QStringLiteral("elsewhere") << QByteArray("{\"cloud\": \"~/cloud\"}") << true
                                 << true;
    }
    void theFirstFailureStops()
    {
        QFETCH(QString, obstacle);
        QFETCH(QByteArray, local);
        QFETCH(bool, sharedWritten);
        QFETCH(bool, launchAtLogin);
        m_home->write(obstacle, "in the way");
        const Outcome outcome = changedEverywhere().save();
        QCOMPARE(bool(outcome), launchAtLogin);
        QCOMPARE(outcome.reason().isEmpty(), launchAtLogin);
        QCOMPARE(parsed(m_home->read(localFile)), parsed(local));
        QCOMPARE(parsed(m_home->read(sharedFile)).size(), sharedWritten ? 4 : 0);
        QCOMPARE(LoginItem::isEnabled(), launchAtLogin);
    }

    void whatIsUntouchedFollows()
    {
        GeneralSettings state = changedEverywhere();
        GeneralSettings now = changedEverywhere();
        state.captures = QStringLiteral("/mine");
        state.hotkey.modifier = HotkeyModifier::rightControl;
        now.captures = now.source = now.cloud = QStringLiteral("/theirs");
        now.hotkey = {HotkeyModifier::rightCommand, 0.3};
        now.autoOcr = true;
        now.launchAtLogin = false;
        GeneralSettings expected = now;
        expected.captures = QStringLiteral("/mine");
        expected.hotkey.modifier = HotkeyModifier::rightControl;
        state.follow(changedEverywhere(), now);
        QVERIFY(state == expected);
        GeneralSettings untouched = changedEverywhere();
        untouched.follow(changedEverywhere(), now);
        QVERIFY(untouched == now);
    }

    // What an empty field promises is what is in force after saving it.
    void emptyFields_data()
    {
        QTest::addColumn<QByteArray>("local");
        QTest::addColumn<QString>("cloud");
        QTest::addColumn<QString>("captures");
        QTest::addColumn<QString>("source");
        const auto row = [](const char *name, const char *local, const char16_t *cloud, const char16_t *captures,
                            const char16_t *source) {
            QTest::newRow(name) << QByteArray(local) << QString::fromUtf16(cloud) << QString::fromUtf16(captures)
                                << QString::fromUtf16(source);
        };
        row("nothing", "{}", u"", u"HOME/.quillmere/captures", u"HOME/Desktop");
        row("own entries go", "{\"captures\": \"/a\", \"source\": \"/b\"}", u"", u"HOME/.quillmere/captures",
            u"HOME/Desktop");
        row("shared folder", "{}", u"~/cloud", u"HOME/cloud/captures", u"HOME/Desktop");
        row("own entries behind the shared file", "{\"captures\": \"/a\", \"source\": \"/b\"}", u"~/cloud", u"/a",
            u"/b");
        row("leaving a shared folder", "{\"cloud\": \"~/cloud\"}", u"", u"HOME/.quillmere/captures", u"HOME/Desktop");
    }
    void emptyFields()
    {
        QFETCH(QByteArray, local);
        QFETCH(QString, captures);
        QFETCH(QString, source);
        m_home->write(localFile, local);
        GeneralSettings settings;
        QFETCH(QString, cloud);
        settings.cloud = cloud;
        QCOMPARE(settings.captureDirWhenEmpty(), captures.replace(QStringLiteral("HOME"), m_home->path()));
        QCOMPARE(settings.sourceWhenEmpty(), source.replace(QStringLiteral("HOME"), m_home->path()));
        QVERIFY(settings.save());
        QCOMPARE(ConfigStore::resolveCaptureDir(), captures);
        QCOMPARE(ConfigStore::resolveSource(), source);
    }

    void versions()
    {
        QCOMPARE(appVersion(QStringLiteral("1.4"), QStringLiteral("27")), QStringLiteral("1.4 (27)"));
        QCOMPARE(appVersion(QStringLiteral("1.4"), {}), QStringLiteral("1.4 (?)"));
        QCOMPARE(appVersion({}, {}), QStringLiteral("? (?)"));
    }
};

QTEST_GUILESS_MAIN(tst_GeneralSettings)
#include "tst_GeneralSettings.moc"
