#include "config/ConfigStore.h"
#include "config/FolderPresence.h"
#include "tests/support/FullDisk.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTest>

#include <memory>
#include <sys/stat.h>

using namespace qm;
using namespace Qt::StringLiterals;

static const QString localFile = u".quillmere/config.json"_s;
static const QString sharedFile = u"cloud/config.json"_s;

static QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

class tst_ConfigStore : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;

private Q_SLOTS:
    void init() { m_home = std::make_unique<TempHome>(); }

    void effective()
    {
        const QByteArrayList rows[] = {
            // the local file, the shared one, and what is in force
            {"{\"captures\": ", "", "{}"},
            {"[1, 2]", "", "{}"},
            {R"({"a": 1})", R"({"a": 2})", R"({"a": 1})"},
            {R"({"cloud": "~/cloud", "a": 1, "b": 1})", R"({"a": 2, "c": [3]})",
             R"({"cloud": "~/cloud", "a": 2, "b": 1, "c": [3]})"},
            {R"({"cloud": "~/cloud/", "a": 1})", R"({"cloud": "/elsewhere"})", R"({"cloud": "~/cloud/", "a": 1})"},
            {R"({"cloud": "~/cloud", "a": 1})", "{", R"({"cloud": "~/cloud", "a": 1})"},
            {R"({"cloud": "~/none", "a": 1})", R"({"a": 2})", R"({"cloud": "~/none", "a": 1})"},
            {R"({"cloud": 7, "a": 1})", R"({"a": 2})", R"({"cloud": 7, "a": 1})"},
            {R"({"cloud": "", "a": 1})", R"({"a": 2})", R"({"cloud": "", "a": 1})"},
        };
        for (const QByteArrayList &row : rows) {
            m_home->write(localFile, row[0]);
            m_home->write(sharedFile, row[1]);
            QCOMPARE(ConfigStore::effective(), parsed(row[2]));
        }
    }

    void values()
    {
        const QString folders = m_home->path() + u"/.quillmere/captures "_s + m_home->path() + u"/Desktop "_s;
        const std::pair<QByteArray, QString> rows[] = {
            // captures, source, key, threshold, autoOcr and showPreview; HOME is the home folder
            {"{}", folders + u"rightShift 0.4 11"_s},
            {R"({"captures": "~/shots/", "source": "~"})", u"HOME/shots HOME rightShift 0.4 11"_s},
            {R"({"captures": "\/a/\/", "source": "b/c"})", u"/a HOME/b/c rightShift 0.4 11"_s},
            {R"({"captures": "/", "source": "~someone/c"})", u"/ HOME/~someone/c rightShift 0.4 11"_s},
            {R"({"cloud": "~/cloud"})", u"HOME/cloud/captures HOME/Desktop rightShift 0.4 11"_s},
            {R"({"captures": 5, "source": null})", folders + u"rightShift 0.4 11"_s},
            {R"({"autoOcr": false})", folders + u"rightShift 0.4 01"_s},
            {R"({"autoOcr": "false"})", folders + u"rightShift 0.4 11"_s},
            {R"({"showPreview": false})", folders + u"rightShift 0.4 10"_s},
            {R"({"showPreview": 0})", folders + u"rightShift 0.4 11"_s},
            {R"({"hotkey": "rightOption"})", folders + u"rightShift 0.4 11"_s},
            {R"({"hotkey": {"modifier": "rightControl", "holdThreshold": 0.25}})", folders + u"rightControl 0.25 11"_s},
            {R"({"hotkey": {"modifier": "rightOption", "holdThreshold": 0.05}})", folders + u"rightOption 0.2 11"_s},
            {R"({"hotkey": {"modifier": "rightCommand", "holdThreshold": 2}})", folders + u"rightCommand 0.8 11"_s},
            {R"({"hotkey": {"modifier": "leftShift", "holdThreshold": "0.5"}})", folders + u"rightShift 0.4 11"_s},
        };
        for (const auto &[json, expected] : rows) {
            m_home->write(localFile, json);
            m_home->write(sharedFile, "{}");
            const Hotkey hotkey = ConfigStore::resolveHotkey();
            const QStringList seen{ConfigStore::resolveCaptureDir(), ConfigStore::resolveSource(),
                                   rawValue(hotkey.modifier), QString::number(hotkey.holdThreshold),
                                   QString::number(ConfigStore::autoOcr()) +
                                       QString::number(ConfigStore::showPreview())};
            QCOMPARE(seen.join(u' '), QString(expected).replace(u"HOME"_s, m_home->path()));
        }
    }

    void origins()
    {
        using enum ConfigStore::Origin;
        const std::tuple<QByteArray, QString, ConfigStore::Origin> rows[] = {
            {R"({"captures": "/b"})", u"captures"_s, shared},
            {"{}", u"captures"_s, local},
            {R"({"captures": 5})", u"captures"_s, standard}, // the wrong type hides the local one all the same
            {"{}", u"hotkey"_s, standard},
            {"{}", u"source"_s, system},
        };
        const QString screenshots = m_home->file(u"Pictures/スクリーンショット"_s);
        QVERIFY(QDir().mkpath(screenshots));
        QCOMPARE(ConfigStore::resolveSource(), screenshots);
        m_home->write(localFile, R"({"cloud": "~/cloud", "captures": "/a"})");
        for (const auto &[json, key, origin] : rows) {
            m_home->write(sharedFile, json);
            QCOMPARE(ConfigStore::originOf(key), origin);
        }
    }

    void foldersInAnswers()
    {
        QCOMPARE(folderFromAnswer(" ~/a b \n"), m_home->file(u"a b"_s));
        QCOMPARE(folderFromAnswer("\n"), std::nullopt);
        QCOMPARE(folderFromAnswer("/\xff"), std::nullopt);
    }

    void settingGoesToTheFileThatGoverns()
    {
        QVERIFY(ConfigStore::setShared(u"autoOcr"_s, false));
        QCOMPARE(parsed(m_home->read(localFile)), parsed(R"({"autoOcr": false})"));
        QVERIFY(ConfigStore::setCloud(u"~/cloud"_s));
        QVERIFY(!ConfigStore::setShared(u"captures"_s, u"/c"_s)); // the folder is away, and not created in its absence
        QVERIFY(QDir(m_home->path()).mkdir(u"cloud"_s));
        QVERIFY(ConfigStore::setShared(u"captures"_s, u"/c"_s));
        QCOMPARE(parsed(m_home->read(localFile)), parsed(R"({"autoOcr": false, "cloud": "~/cloud"})"));
        QCOMPARE(parsed(m_home->read(sharedFile)), parsed(R"({"captures": "/c"})"));
        QVERIFY(ConfigStore::setShared(u"captures"_s, std::nullopt));
        QCOMPARE(parsed(m_home->read(sharedFile)), QJsonObject());
        QVERIFY(ConfigStore::setCloud(QString()));
        QCOMPARE(parsed(m_home->read(localFile)), parsed(R"({"autoOcr": false})"));
    }

    // Written by version 0.1; a key that a later one has added outlives a change by this one.
    void settingsOfOtherAges()
    {
        QFile written(QStringLiteral(QM_TEST_DATA "/home-0.1/config.json"));
        QVERIFY(written.open(QIODevice::ReadOnly));
        m_home->write(localFile, written.readAll().replace("{\n    \"auto", "{\n    \"later\": {\"a\": 1}, \"auto"));
        QVERIFY(ConfigStore::autoOcr());
        QCOMPARE(ConfigStore::resolveCaptureDir(), u"/srv/desk"_s);
        QVERIFY(ConfigStore::resolveHotkey() == Hotkey());
        QVERIFY(ConfigStore::setShared(u"autoOcr"_s, false));
        QCOMPARE(parsed(m_home->read(localFile)).value(u"later"), parsed(R"({"a": 1})"));
        QCOMPARE(ConfigStore::resolveCaptureDir(), u"/srv/desk"_s);
    }

    void foldersThatAreAway()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const QString cloud = m_home->file(u"cloud"_s), desktop = m_home->file(u"Desktop"_s);
        const auto capturesAt = [this](const QString &folder) {
            return ConfigStore::resolveCaptureDir() == m_home->file(folder + u"/captures"_s);
        };
        m_home->write(localFile, R"({"cloud": "~/cloud"})");
        QVERIFY(QDir().mkpath(desktop) && QDir().mkpath(cloud));
        QCOMPARE(FolderPresence::rememberedAwayFolders(now), QStringList()); // a new one may be empty
        QVERIFY(QDir().mkpath(cloud + u"/captures"_s));
        QCOMPARE(FolderPresence::rememberedAwayFolders(now), QStringList());
        QVERIFY(capturesAt(u"cloud"_s));
        QVERIFY(QDir().rmdir(cloud + u"/captures"_s)); // as a mount point is when its drive is not there
        QVERIFY(capturesAt(u".quillmere"_s));
        QVERIFY(QDir().rmdir(desktop));
        QCOMPARE(FolderPresence::rememberedAwayFolders(now.addDays(29)), QStringList({desktop, cloud}));
        QCOMPARE(FolderPresence::rememberedAwayFolders(now.addDays(32)), QStringList());
        QCOMPARE(FolderPresence::awayFolders(), QStringList({desktop, cloud}));
        m_home->write(sharedFile, "{}");
        QCOMPARE(FolderPresence::awayFolders(), QStringList(desktop));
        m_home->write(localFile, R"({"cloud": "~/cloud", "captures": "~/mine/captures"})");
        QVERIFY(QDir(cloud).removeRecursively());
        QVERIFY(capturesAt(u"mine"_s)); // not below it
    }

    void linkAndModeSurviveAWrite()
    {
        const QString target = m_home->file(u"dotfiles/q.json"_s);
        m_home->write(u"dotfiles/q.json"_s, R"({"a": 1})");
        QVERIFY(QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup));
        QVERIFY(ConfigStore::createFolder(ConfigStore::resolveCaptureDir()));
        QVERIFY(!(QFile::permissions(ConfigStore::homeFolder()) & (QFile::ReadGroup | QFile::ExeOther)));
        QVERIFY(QFile::link(target, m_home->file(localFile)));
        QVERIFY(ConfigStore::setShared(u"b"_s, 2));
        QVERIFY(QFileInfo(m_home->file(localFile)).isSymLink());
        QCOMPARE(parsed(m_home->read(u"dotfiles/q.json"_s)), parsed(R"({"a": 1, "b": 2})"));
        QCOMPARE(QFile::permissions(target) & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther),
                 QFile::ReadGroup);
    }

    void whoMayUseNewSettings()
    {
        const std::tuple<mode_t, mode_t, mode_t> rows[] = {
            // the folder, the umask, and the file
            {0700, 0022, 0600}, {0755, 0000, 0600},  {0775, 0022, 0660},
            {0777, 0077, 0666}, {01777, 0000, 0600}, // there nobody may replace what is another's
        };
        m_home->write(localFile, R"({"cloud": "~/cloud"})");
        const QByteArray folder = m_home->file(u"cloud"_s).toUtf8(), file = m_home->file(sharedFile).toUtf8();
        for (const auto &[ofFolder, masked, expected] : rows) {
            QVERIFY(mkdir(folder.constData(), 0700) == 0 && chmod(folder.constData(), ofFolder) == 0);
            const mode_t before = umask(masked);
            const Outcome saved = ConfigStore::setShared(u"a"_s, 1);
            umask(before);
            struct stat found = {};
            QVERIFY(saved && stat(file.constData(), &found) == 0);
            QCOMPARE(found.st_mode & 07777, expected);
            QVERIFY(QDir(QString::fromUtf8(folder)).removeRecursively());
        }
    }

    void aSaveThatFailsChangesNothing()
    {
        const auto failing = [] { return Outcome::failure(u"the last step"_s); };
        for (const QByteArray &before : {QByteArray(), QByteArray(" {\"a\":1}"), QByteArray("{\"a\": 1,}")}) {
            init();
            if (!before.isEmpty()) {
                m_home->write(localFile, before);
                m_home->write(sharedFile, before);
            }
            m_home->write(u"cloud/else"_s, {});
            QVERIFY(!ConfigStore::save({.cloud = u"~/cloud"_s, .shared = {{u"b"_s, 2}}}, failing));
            QCOMPARE(m_home->read(localFile), before);
            QCOMPARE(m_home->read(sharedFile), before);
            QCOMPARE(QDir(m_home->file(u"cloud"_s)).count(), before.isEmpty() ? 3 : 4);
            QVERIFY(
                !ConfigStore::save({.cloud = u"~/.quillmere"_s, .shared = {{u"b"_s, 2}}}, failing)); // one file, twice
            QCOMPARE(m_home->read(localFile), before);
        }
    }

    void whatCannotBeReadIsKept()
    {
        m_home->write(localFile, "{\"captures\": \"/mine\",}");
        QVERIFY(ConfigStore::setShared(u"autoOcr"_s, true));
        QCOMPARE(m_home->read(localFile + u".broken"_s), QByteArray("{\"captures\": \"/mine\",}"));
        QCOMPARE(ConfigStore::effective(), parsed(R"({"autoOcr": true})"));
        QVERIFY(QFile::remove(m_home->file(localFile)));
        QCOMPARE(mkfifo(qPrintable(m_home->file(localFile)), 0600), 0); // would be waited at for ever
        QCOMPARE(ConfigStore::effective(), QJsonObject());
    }

    void aFolderWhereNothingCanBeCreated()
    {
        m_home.reset();
        const OrdinaryUser user;
        init(); // a home of that user
        m_home->write(localFile, R"({"a": 1})");
        const QString folder = ConfigStore::homeFolder();
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(ConfigStore::setShared(u"b"_s, 2)); // in place
        QVERIFY(QFile::setPermissions(m_home->file(localFile), QFile::ReadOwner));
        const Outcome refused = ConfigStore::setShared(u"c"_s, 3);
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(QFile::setPermissions(m_home->file(localFile), QFile::WriteOwner));
        QVERIFY(!ConfigStore::setShared(u"c"_s, 3)); // whatever it holds
        QVERIFY(QFile::setPermissions(m_home->file(localFile), QFile::ReadOwner));
        QVERIFY(!refused && !refused.reason().isEmpty());
        QCOMPARE(ConfigStore::effective(), parsed(R"({"a": 1, "b": 2})"));
        m_home.reset();
    }

    void aFullDiskLeavesTheOldFile()
    {
        m_home->write(localFile, R"({"a": 1})");
        {
            const FullDisk full;
            QVERIFY(!ConfigStore::setShared(u"b"_s, 2));
        }
        QCOMPARE(m_home->read(localFile), QByteArray(R"({"a": 1})"));
        QCOMPARE(QDir(ConfigStore::homeFolder()).entryList(QDir::Files | QDir::Hidden), QStringList(u"config.json"_s));
    }
};

QTEST_GUILESS_MAIN(tst_ConfigStore)
#include "tst_ConfigStore.moc"
