#include "config/ConfigStore.h"
#include "platform/LoginItem.h"
#include "settings/AboutView.h"
#include "settings/GeneralSettings.h"
#include "tests/support/TempHome.h"

#include <QJsonDocument>
#include <QTest>

#include <memory>

using namespace qm;
using namespace Qt::StringLiterals;

static const QString localFile = u".quillmere/config.json"_s;
static const QString sharedFile = u"cloud/config.json"_s;

static QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

// Nothing in it is a default.
static GeneralSettings changedEverywhere()
{
    GeneralSettings settings;
    settings.captures = u"~/shots"_s;
    settings.source = u"/var/スクリーンショット"_s;
    settings.cloud = u"~/cloud"_s;
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
        QCOMPARE(parsed(m_home->read(localFile)), parsed(R"({"cloud": "~/cloud"})")); // the rest is for every machine
        QCOMPARE(parsed(m_home->read(sharedFile)),
                 parsed(R"({"autoOcr": false, "captures": "~/shots", "source": "/var/スクリーンショット",
                            "hotkey": {"holdThreshold": 0.65, "modifier": "rightOption"}})"));
        QVERIFY(GeneralSettings().save());
        QVERIFY(GeneralSettings::read() == GeneralSettings());
    }

    // A file where a folder is needed stops root as well.
    void theFirstFailureStops_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QStringList>("written");
        QTest::newRow("local file") << u".quillmere"_s << QStringList();
        QTest::newRow("shared file") << u"cloud"_s << QStringList{localFile};
        QTest::newRow("login item") << u".config/autostart"_s << QStringList{localFile, sharedFile};
    }
    void theFirstFailureStops()
    {
        QFETCH(QString, obstacle);
        QFETCH(QStringList, written);
        m_home->write(obstacle, "in the way");
        const Outcome outcome = changedEverywhere().save();
        QVERIFY(!outcome && !outcome.reason().isEmpty());
        for (const QString &file : {localFile, sharedFile})
            QCOMPARE(!m_home->read(file).isEmpty(), written.contains(file));
        QVERIFY(!GeneralSettings::read().launchAtLogin);
    }

    void whatIsUntouchedFollows()
    {
        GeneralSettings state = changedEverywhere(), now;
        now.captures = now.source = now.cloud = u"/theirs"_s;
        now.hotkey = {HotkeyModifier::rightCommand, 0.3};
        GeneralSettings expected = now;
        state.captures = expected.captures = u"/mine"_s;
        state.hotkey.modifier = expected.hotkey.modifier = HotkeyModifier::rightControl;
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
        QTest::newRow("own entries go") << QByteArray(R"({"captures": "/a", "source": "/b"})") << QString()
                                        << u".quillmere/captures"_s;
        QTest::newRow("shared folder") << QByteArray("{}") << u"~/cloud"_s << u"cloud/captures"_s;
        QTest::newRow("own entries behind the shared file")
            << QByteArray(R"({"captures": "~/a", "source": "~/b"})") << u"~/cloud"_s << u"a"_s;
        QTest::newRow("leaving a shared folder")
            << QByteArray(R"({"cloud": "~/cloud"})") << QString() << u".quillmere/captures"_s;
    }
    void emptyFields()
    {
        QFETCH(QByteArray, local);
        QFETCH(QString, captures);
        m_home->write(localFile, local);
        GeneralSettings settings;
        QFETCH(QString, cloud);
        settings.cloud = cloud;
        const QString source = settings.sourceWhenEmpty();
        QCOMPARE(settings.captureDirWhenEmpty(), m_home->file(captures));
        QCOMPARE(source, m_home->file(captures == u"a" ? u"b"_s : u"Desktop"_s));
        QVERIFY(settings.save());
        QCOMPARE(ConfigStore::resolveCaptureDir(), m_home->file(captures));
        QCOMPARE(ConfigStore::resolveSource(), source);
    }

    void versions() { QCOMPARE(appVersion(u"1.4"_s, {}), u"1.4 (?)"_s); }
};

QTEST_GUILESS_MAIN(tst_GeneralSettings)
#include "tst_GeneralSettings.moc"
