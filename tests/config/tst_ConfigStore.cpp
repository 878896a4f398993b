#include "config/CaptureNames.h"
#include "config/ConfigStore.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QTest>

#include <csignal>
#include <memory>
#include <sys/resource.h>

using namespace qm;

static const QString localFile = QStringLiteral(".quillmere/config.json");
static const QString sharedFile = QStringLiteral("cloud/config.json");

static QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

class tst_ConfigStore : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;

    // "HOME" in an expectation stands for the home of this row.
    QString at(QString path) const { return path.replace(QStringLiteral("HOME"), m_home->path()); }

private Q_SLOTS:
    void init() { m_home = std::make_unique<TempHome>(); }

    void effective_data()
    {
        QTest::addColumn<QByteArray>("local");
        QTest::addColumn<QByteArray>("shared");
        QTest::addColumn<QByteArray>("expected");
        const auto row = [](const char *name, const char *local, const char *shared, const char *expected) {
            QTest::newRow(name) << QByteArray(local) << QByteArray(shared) << QByteArray(expected);
        };
        row("nothing", "", "", "{}");
        row("no JSON", "{\"captures\": ", "", "{}");
        row("no object", "[1, 2]", "", "{}");
        row("local only", R"({"a": 1})", R"({"a": 2})", R"({"a": 1})");
        row("the shared value wins", R"({"cloud": "~/cloud", "a": 1, "b": 1})", R"({"a": 2, "c": [3]})",
            R"({"cloud": "~/cloud", "a": 2, "b": 1, "c": [3]})");
        row("but not the shared cloud", R"({"cloud": "~/cloud/", "a": 1})", R"({"cloud": "/elsewhere"})",
            R"({"cloud": "~/cloud/", "a": 1})");
        row("broken shared file", R"({"cloud": "~/cloud", "a": 1})", "{", R"({"cloud": "~/cloud", "a": 1})");
        row("missing shared file", R"({"cloud": "~/none", "a": 1})", "", R"({"cloud": "~/none", "a": 1})");
        row("cloud of the wrong type", R"({"cloud": 7, "a": 1})", R"({"a": 2})", R"({"cloud": 7, "a": 1})");
        row("empty cloud", R"({"cloud": "", "a": 1})", R"({"a": 2})", R"({"cloud": "", "a": 1})");
    }
    void effective()
    {
        QFETCH(QByteArray, local);
        QFETCH(QByteArray, shared);
        QFETCH(QByteArray, expected);
        m_home->write(localFile, local);
        m_home->write(sharedFile, shared);
        QCOMPARE(ConfigStore::effective(), parsed(expected));
    }

    void hotkey_data()
    {
        QTest::addColumn<QByteArray>("hotkey");
        QTest::addColumn<HotkeyModifier>("modifier");
        QTest::addColumn<double>("threshold");
        const auto row = [](const char *hotkey, HotkeyModifier modifier, double threshold) {
            QTest::newRow(hotkey) << QByteArray(hotkey) << modifier << threshold;
        };
        row("null", HotkeyModifier::rightShift, 0.4);
        row("\"rightOption\"", HotkeyModifier::rightShift, 0.4);
        row(R"({"modifier": "rightControl", "holdThreshold": 0.25})", HotkeyModifier::rightControl, 0.25);
        row(R"({"modifier": "rightOption", "holdThreshold": 0.05})", HotkeyModifier::rightOption, 0.2);
        row(R"({"modifier": "rightCommand", "holdThreshold": 2})", HotkeyModifier::rightCommand, 0.8);
        row(R"({"holdThreshold": "0.5"})", HotkeyModifier::rightShift, 0.4);
        row(R"({"modifier": "leftShift", "holdThreshold": 0.6})", HotkeyModifier::rightShift, 0.6);
    }
    void hotkey()
    {
        QFETCH(QByteArray, hotkey);
        QFETCH(HotkeyModifier, modifier);
        QFETCH(double, threshold);
        m_home->write(localFile, "{\"hotkey\": " + hotkey + "}");
        const Hotkey resolved = ConfigStore::resolveHotkey();
        QCOMPARE(resolved.modifier, modifier);
        QCOMPARE(resolved.holdThreshold, threshold);
    }

    void hotkeyNumbers()
    {
        QStringList table;
        for (const HotkeyModifier modifier : allHotkeyModifiers) {
            QCOMPARE(hotkeyModifierFrom(rawValue(modifier)), std::optional(modifier));
            table << QStringLiteral("%1 %2 %3")
                         .arg(rawValue(modifier))
                         .arg(keyCode(modifier))
                         .arg(flagMask(modifier), 0, 16);
        }
        QCOMPARE(table, QStringList({QStringLiteral("rightShift 60 20000"), QStringLiteral("rightCommand 54 100000"),
                                     QStringLiteral("rightOption 61 80000"), QStringLiteral("rightControl 62 40000")}));
    }

    void folders_data()
    {
        QTest::addColumn<QByteArray>("local");
        QTest::addColumn<QString>("captures");
        QTest::addColumn<QString>("source");
        const auto row = [](const char *local, const char16_t *captures, const char16_t *source) {
            QTest::newRow(local) << QByteArray(local) << QString::fromUtf16(captures) << QString::fromUtf16(source);
        };
        row("{}", u"HOME/.quillmere/captures", u"HOME/Desktop");
        row(R"({"captures": "~/shots/", "source": "~"})", u"HOME/shots", u"HOME");
        row(R"({"captures": "\/a/\/", "source": "relative/b"})", u"/a", u"HOME/relative/b");
        row(R"({"captures": "/", "source": "~someone/c"})", u"/", u"HOME/~someone/c");
        row(R"({"cloud": "~/cloud"})", u"HOME/cloud/captures", u"HOME/Desktop");
        row(R"({"cloud": "~/cloud", "captures": "", "source": ""})", u"HOME/cloud/captures", u"HOME/Desktop");
        row(R"({"captures": 5, "source": null})", u"HOME/.quillmere/captures", u"HOME/Desktop");
    }
    void folders()
    {
        QFETCH(QByteArray, local);
        QFETCH(QString, captures);
        QFETCH(QString, source);
        m_home->write(localFile, local);
        QCOMPARE(ConfigStore::resolveCaptureDir(), at(captures));
        QCOMPARE(ConfigStore::resolveSource(), at(source));
    }

    void theSystemsOwnScreenshotFolder()
    {
        QVERIFY(QDir().mkpath(m_home->file(QStringLiteral("Pictures/Screenshots"))));
        QCOMPARE(ConfigStore::resolveSource(), at(QStringLiteral("HOME/Pictures/Screenshots")));
        QCOMPARE(ConfigStore::originOf(QStringLiteral("source")), ConfigStore::Origin::system);
    }

    void foldersInAnswers()
    {
        QCOMPARE(folderFromAnswer("~/Shots\n"), std::optional(at(QStringLiteral("HOME/Shots"))));
        QCOMPARE(folderFromAnswer(" /a b \n"), std::optional(QStringLiteral("/a b")));
        QCOMPARE(folderFromAnswer("\n"), std::nullopt);
        QCOMPARE(folderFromAnswer("/\xff"), std::nullopt);
    }

    void autoOcrIsOffOnlyByAPlainFalse()
    {
        for (const auto &[json, on] : {std::pair("{}", true),
                                       {"{\"autoOcr\": false}", false},
                                       {"{\"autoOcr\": \"false\"}", true},
                                       {"{\"autoOcr\": 0}", true}}) {
            m_home->write(localFile, json);
            QCOMPARE(ConfigStore::autoOcr(), on);
        }
    }

    void settingGoesToTheFileThatGoverns()
    {
        QVERIFY(ConfigStore::setShared(QStringLiteral("autoOcr"), false));
        QCOMPARE(parsed(m_home->read(localFile)), parsed(R"({"autoOcr": false})"));
        QVERIFY(ConfigStore::setCloud(QStringLiteral("~/cloud")));
        QVERIFY(ConfigStore::setShared(QStringLiteral("captures"), QJsonValue(QStringLiteral("/c"))));
        QCOMPARE(parsed(m_home->read(localFile)), parsed(R"({"autoOcr": false, "cloud": "~/cloud"})"));
        QCOMPARE(parsed(m_home->read(sharedFile)), parsed(R"({"captures": "/c"})"));
        QVERIFY(ConfigStore::setShared(QStringLiteral("captures"), std::nullopt));
        QCOMPARE(parsed(m_home->read(sharedFile)), QJsonObject());
        QVERIFY(ConfigStore::setCloud(QString()));
        QCOMPARE(parsed(m_home->read(localFile)), parsed(R"({"autoOcr": false})"));
    }

    void theIndexFolderIsItsOwnersOnly()
    {
        QVERIFY(ConfigStore::createFolder(ConfigStore::resolveCaptureDir()));
        const QFile::Permissions mode = QFile::permissions(m_home->file(QStringLiteral(".quillmere")));
        QVERIFY(!(mode & (QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther)));
        QVERIFY(QFileInfo(m_home->file(QStringLiteral(".quillmere/captures"))).isDir());
    }

    void linkAndModeSurviveAWrite()
    {
        m_home->write(QStringLiteral("dotfiles/q.json"), R"({"a": 1})");
        const QFile::Permissions mode = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
        QVERIFY(QFile::setPermissions(m_home->file(QStringLiteral("dotfiles/q.json")), mode));
        QVERIFY(QDir().mkpath(ConfigStore::homeFolder()));
        QVERIFY(QFile::link(m_home->file(QStringLiteral("dotfiles/q.json")), m_home->file(localFile)));
        QVERIFY(ConfigStore::setShared(QStringLiteral("b"), 2));
        QVERIFY(QFileInfo(m_home->file(localFile)).isSymLink());
        QCOMPARE(parsed(m_home->read(QStringLiteral("dotfiles/q.json"))), parsed(R"({"a": 1, "b": 2})"));
        const QFile::Permissions kept = QFile::permissions(m_home->file(QStringLiteral("dotfiles/q.json")));
        QCOMPARE(kept & (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther),
                 QFile::Permissions(QFile::ReadGroup));
    }

    void whatCannotBeReadIsKept()
    {
        m_home->write(localFile, "{\"captures\": \"/mine\",}");
        QVERIFY(ConfigStore::setShared(QStringLiteral("autoOcr"), true));
        QCOMPARE(m_home->read(localFile + QStringLiteral(".broken")), QByteArray("{\"captures\": \"/mine\",}"));
        QCOMPARE(ConfigStore::effective(), parsed(R"({"autoOcr": true})"));
    }

    void aFolderWhereNothingCanBeCreated()
    {
        m_home.reset();
        const OrdinaryUser user;
        init(); // a home of that user
        m_home->write(localFile, R"({"a": 1})");
        const QString folder = ConfigStore::homeFolder();
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        QVERIFY(ConfigStore::setShared(QStringLiteral("b"), 2)); // in place
        QVERIFY(QFile::setPermissions(m_home->file(localFile), QFile::ReadOwner));
        const Outcome refused = ConfigStore::setShared(QStringLiteral("c"), 3);
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(!refused);
        QVERIFY(!refused.reason().isEmpty());
        QCOMPARE(ConfigStore::effective(), parsed(R"({"a": 1, "b": 2})"));
        m_home.reset();
    }

    void aFullDiskLeavesTheOldFile()
    {
        m_home->write(localFile, R"({"a": 1})");
        rlimit before;
        getrlimit(RLIMIT_FSIZE, &before);
        const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit full{0, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
        const Outcome outcome = ConfigStore::setShared(QStringLiteral("b"), 2);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, oldHandler);
        QVERIFY(!outcome);
        QCOMPARE(m_home->read(localFile), QByteArray(R"({"a": 1})"));
        QCOMPARE(QDir(ConfigStore::homeFolder()).entryList(QDir::Files | QDir::Hidden),
                 QStringList(QStringLiteral("config.json")));
    }

    void captureNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("takenAt");
        const auto row = [](const char16_t *name, const char16_t *takenAt) {
            const QString text = QString::fromUtf16(name);
            QTest::newRow(qPrintable(text)) << text << QString::fromUtf16(takenAt);
        };
        row(u"Quillmere 2026-03-05-14-07-09.png", u"2026-03-05T14:07:09");
        row(u"Quillmere 2026-03-05-14-07-09 scroll.png", u"2026-03-05T14:07:09");
        row(u"Quillmere 2026-03-05-14-07-09-annotated-2.png", u"2026-03-05T14:07:09");
        row(u"Quillmere 2026-99-99-99-99-99", u"2026-99-99T99:99:99");
        row(u"Copy of Quillmere 2026-03-05-14-07-09.png", u"");
        row(u"Quillmere 2026-03-05-14-07-0", u"");
        row(u"Quillmere 2026-03-05 14-07-09.png", u"");
        row(u"Quillmere ２026-03-05-14-07-09.png", u"");
    }
    void captureNames()
    {
        QFETCH(QString, name);
        QTEST(CaptureNames::takenAt(name).value_or(QString()), "takenAt");
    }

    void captureNamesReadBack()
    {
        const QDateTime time(QDate(2026, 3, 5), QTime(4, 7, 9));
        QCOMPARE(CaptureNames::capture(time), QStringLiteral("Quillmere 2026-03-05-04-07-09.png"));
        QCOMPARE(CaptureNames::scroll(time), QStringLiteral("Quillmere 2026-03-05-04-07-09 scroll.png"));
    }
};

QTEST_GUILESS_MAIN(tst_ConfigStore)
#include "tst_ConfigStore.moc"
