#include "config/ConfigStore.h"
#include "settings/FolderCheck.h"
#include "settings/GeneralSettings.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QJsonDocument>
#include <QTest>

#include <array>
#include <memory>

using namespace qm;
using namespace Qt::StringLiterals;

static const QString localFile = u".quillmere/config.json"_s;
static const QString sharedFile = u"cloud/config.json"_s;

class tst_GeneralSettings : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;

private Q_SLOTS:
    void init() { m_home = std::make_unique<TempHome>(); }

    void aFailureLeavesEverythingAsItWas()
    {
        for (const QString &obstacle : {u".quillmere"_s, u"cloud"_s, u".config/autostart"_s}) {
            init();
            m_home->write(obstacle, "stops root as well");
            const QByteArray before = obstacle == u".quillmere" ? QByteArray() : R"( {"autoOcr":false})";
            if (!before.isEmpty())
                m_home->write(localFile, before);
            QDir(m_home->path()).mkdir(u"cloud"_s);
            const GeneralSettings read = GeneralSettings::read();
            GeneralSettings settings = read;
            settings.cloud = u"~/cloud"_s;
            settings.launchAtLogin = true;
            const Outcome outcome = settings.save(read);
            QVERIFY(!outcome && !outcome.reason().isEmpty());
            QCOMPARE(m_home->read(localFile), before);
            QVERIFY(!QFile::exists(m_home->file(sharedFile)));
            QVERIFY(GeneralSettings::read() == read);
        }
    }

    void onlyWhatWasTouchedIsSaved()
    {
        const struct {
            QByteArray local, shared, cloud; // the files as read, and the folder entered beside a key and a source
            QByteArray meanwhile, localAfter, sharedAfter;
        } rows[] = {
            // another program writes to the same file
            {R"({"captures": "/a", "hotkey": {"new": [1]}})", "", "",
             R"({"captures": "/b", "hotkey": {"new": [2], "holdThreshold": 0.9}, "autoOcr": 0, "other": 1})",
             R"({"captures": "/b", "hotkey": {"new": [2], "holdThreshold": 0.9, "modifier": "rightControl"},
                 "autoOcr": 0, "other": 1, "source": "/s"})",
             ""},
            // joining a folder that has settings; the local file's key would be hidden by half of one
            {R"({"captures": "/a", "hotkey": {"holdThreshold": 0.3}})", R"({"other": 1})", "~/cloud",
             R"({"captures": "/a", "hotkey": {"holdThreshold": 0.3}, "x": 1})",
             R"({"captures": "/a", "hotkey": {"holdThreshold": 0.3}, "x": 1, "cloud": "~/cloud"})",
             R"({"other": 1, "source": "/s", "hotkey": {"holdThreshold": 0.3, "modifier": "rightControl"}})"},
            // a new one begins with all that is shown, and so does the local file where sharing ends
            {R"({"captures": "/a", "hotkey": {"new": 1}})", "", "~/cloud", R"({"hotkey": {"new": 1}, "x": 1})",
             R"({"hotkey": {"new": 1}, "x": 1, "cloud": "~/cloud"})",
             R"({"captures": "/a", "source": "/s", "showPreview": true, "autoOcr": true,
                 "hotkey": {"new": 1, "modifier": "rightControl", "holdThreshold": 0.4}})"},
            {R"({"cloud": "~/cloud"})", R"({"captures": "/a", "hotkey": {"new": 1}})", "", R"({"cloud": "~/cloud"})",
             R"({"captures": "/a", "source": "/s", "showPreview": true, "autoOcr": true,
                 "hotkey": {"new": 1, "modifier": "rightControl", "holdThreshold": 0.4}})",
             R"({"captures": "/a", "hotkey": {"new": 1}})"},
        };
        const auto parsed = [](const QByteArray &json) { return QJsonDocument::fromJson(json).object(); };
        for (const auto &row : rows) {
            init();
            QVERIFY(QDir(m_home->path()).mkdir(u"cloud"_s));
            m_home->write(localFile, row.local);
            if (!row.shared.isEmpty())
                m_home->write(sharedFile, row.shared);
            GeneralSettings settings = GeneralSettings::read();
            const GeneralSettings before = settings;
            settings.cloud = QString::fromUtf8(row.cloud);
            settings.source = u"/s"_s;
            settings.hotkey.modifier = HotkeyModifier::rightControl;
            m_home->write(localFile, row.meanwhile);
            QVERIFY(settings.save(before));
            QCOMPARE(parsed(m_home->read(localFile)), parsed(row.localAfter));
            QCOMPARE(parsed(m_home->read(sharedFile)), parsed(row.sharedAfter));
        }
    }

    void foldersThatCannotBe()
    {
        using enum FolderProblem;
        m_home.reset();
        const OrdinaryUser user;
        const struct {
            QString captures, source, cloud;
            FolderProblem problems[3];
            bool refused;
        } rows[] = {
            {u"~/new/folder"_s, u"~/new/other"_s, u"~/cloud"_s, {none, none, none}, false},
            {u"~/file"_s, u"~/file/a/b"_s, u""_s, {file, file, none}, true},
            {u"~/sealed"_s, u"~/sealed/a/b"_s, u""_s, {notWritable, cannotBeCreated, none}, true},
            {u"~/link"_s, u"/"_s, u""_s, {cannotBeCreated, notWritable, none}, true},
            {u""_s, u"~/file"_s, u""_s, {none, file, none}, false},
            {u""_s, u""_s, u"~/gone"_s, {none, none, missing}, true}, // said below one of the two
            {u""_s, u""_s, u"~/file"_s, {none, none, file}, true},
            {u""_s, u""_s, u"~/inForce"_s, {none, none, away}, false},
            {u"~/a"_s, u""_s, u"~/inForce"_s, {none, none, away}, true}, // would be written to where its drive belongs
            {u""_s, u""_s, u"~/theirs"_s, {file, none, none}, true},
            {u"~/a"_s, u""_s, u"~/theirs"_s, {none, none, none}, false},
        };
        for (const auto &row : rows) {
            init();
            for (const char16_t *folder : {u"cloud", u"sealed"})
                QVERIFY(QDir(m_home->path()).mkdir(QString::fromUtf16(folder)));
            m_home->write(u"file"_s, {});
            m_home->write(u"theirs/config.json"_s, R"({"captures": "~/file/a"})");
            QVERIFY(QFile::link(m_home->file(u"nowhere"_s), m_home->file(u"link"_s)));
            QVERIFY(QFile::setPermissions(m_home->file(u"sealed"_s), QFile::ReadOwner | QFile::ExeOwner));
            if (row.cloud == u"~/inForce")
                m_home->write(localFile, R"({"cloud": "~/inForce"})");
            const GeneralSettings before = GeneralSettings::read();
            GeneralSettings entered = before;
            entered.captures = row.captures;
            entered.source = row.source;
            entered.cloud = row.cloud;
            const FolderCheck found(entered, before);
            const QString words = row.captures + u' ' + row.source + u' ' + row.cloud;
            QVERIFY2(std::equal(std::begin(row.problems), std::end(row.problems),
                                std::array{found.captures, found.source, found.cloud}.begin()),
                     qPrintable(words));
            QVERIFY2((found.refusesCaptures || found.refusesCloud) == row.refused, qPrintable(words));
        }
        m_home.reset();
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
            QVERIFY(QDir(m_home->path()).mkdir(u"cloud"_s));
            GeneralSettings settings;
            settings.cloud = row.cloud;
            QCOMPARE(settings.captureDirWhenEmpty(), m_home->file(row.captures));
            QCOMPARE(settings.sourceWhenEmpty(), m_home->file(row.source));
            QVERIFY(settings.save(GeneralSettings::read()));
            QCOMPARE(ConfigStore::resolveCaptureDir(), m_home->file(row.captures));
            QCOMPARE(ConfigStore::resolveSource(), m_home->file(row.source));
        }
    }
};

QTEST_GUILESS_MAIN(tst_GeneralSettings)
#include "tst_GeneralSettings.moc"
