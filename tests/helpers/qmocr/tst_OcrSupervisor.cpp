#include "helpers/qmocr/Supervisor.h"
#include "tests/support/TempHome.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <unistd.h>

using namespace qm::ocr;
using namespace Qt::StringLiterals;

// The parent, with a shell script in the place of the worker program: what it does is each row's own matter.
class tst_OcrSupervisor : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<qm::TempHome> m_home;
    int m_noData = 0;

    // A worker that reads every path as itself, except that it does `bad` for a path with "bad" in it.
    QString script(const QByteArray &bad) const
    {
        m_home->write(u"worker.bash"_s, "while IFS= read -r -d '' path; do\nprintf 'b\\0'\ncase $path in *bad*)\n" +
                                            bad + "\ncontinue;;\nesac\nprintf 't%s\\0' \"$path\"\ndone\n");
        return m_home->script(u"worker"_s, "cd \"${0%/*}\"; exec /bin/bash worker.bash");
    }
    QByteArray bad(int age) const // a file, so many seconds old
    {
        m_home->write(u"bad 画像.png"_s, "");
        QFile file(m_home->file(u"bad 画像.png"_s));
        if (!file.open(QIODevice::ReadWrite) ||
            !file.setFileTime(QDateTime::currentDateTime().addSecs(-age), QFileDevice::FileModificationTime))
            qFatal("cannot set the time of a file");
        return file.fileName().toUtf8();
    }
    Supervisor::Options options(const QString &program)
    {
        return {.worker = {program, {}},
                .workers = 2,
                .limits = Limits::fromEnvironment(),
                .boxes = Boxes::yes,
                .emitLine = {},
                .emptied = {},
                .noData = [this] { ++m_noData; }};
    }
    // Path to text, or "!" and the error.
    QMultiMap<QString, QString> run(const QString &program, const QByteArrayList &paths,
                                    const Limits &limits = Limits::fromEnvironment())
    {
        QMultiMap<QString, QString> answers;
        bool emptied = false;
        Supervisor::Options how = options(program);
        how.limits = limits;
        how.emitLine = [&](const QByteArray &bytes) {
            const QJsonObject line = QJsonDocument::fromJson(bytes).object();
            QString answer = line[u"text"].toString();
            for (const QJsonValue place : line[u"lines"].toArray())
                answer += u" @%1"_s.arg(place[u"box"][0].toInt());
            answers.insert(line[u"path"].toString(),
                           line.contains(u"error"_s) ? u'!' + line[u"error"].toString() : answer);
        };
        how.emptied = [&] { emptied = true; };
        Supervisor supervisor(how);
        for (const QByteArray &path : paths)
            supervisor.add(path);
        supervisor.close();
        if (!QTest::qWaitFor([&] { return emptied; }, 20'000))
            qWarning("not emptied");
        return answers;
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<qm::TempHome>();
        qputenv("QMOCR_TIME_LIMIT_MS", "300");
    }

    void badPicture_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<bool>("old");         // the file has not changed for two hours
        QTest::addColumn<QString>("expected"); // of the bad picture; "!" is any error
        const auto row = [](const char *name, const char *script, bool old, const char *expected) {
            QTest::newRow(name) << QByteArray(script) << old << QString::fromUtf8(expected);
        };
        row("an error", "printf 'enot now\\0'", true, "!not now");
        row("a lasting error", "printf 'xbroken\\0'", false, "!broken");
        row("a lasting error, old file", "printf 'xbroken\\0'", true, "");
        row("dies", "kill -SEGV $$", false, "!");
        row("dies, old file", "kill -SEGV $$", true, "");
        row("exits", "exit 0", false, "!");
        row("dies the first time only", "[ -e tried ] && printf 'tfine\\0' || { touch tried; exit 1; }", true, "fine");
        row("dies in the second pass", "printf 'ffirst\\0'; exit 1", false, "first");
        row("places", R"(printf 'l[{"box":[1]}]\0ffirst\0l[{"box":[3]},{"box":[4]}]\0tboth\0')", false, "both @3 @4");
        row("places of the first pass", R"(printf 'l[{"box":[1]}]\0ffirst\0l[{"box":[3]}]\0'; exit 1)", false,
            "first @1");
        row("hangs", "read -r -d '' never", false, "!took too long");
        row("hangs without working, old file", "read -r -d '' never", true, "!took too long");
        row("gets little done on a busy machine",
            "for i in {1..7}; do for k in {1..3000}; do :; done; read -t 0.1 -r -d '' never; done; printf 'tlate\\0'",
            true, "late");
        row("waits while we are stopped",
            "(sleep 1.5; kill -CONT $PPID; sleep 1; kill -CONT $PPID) & read -t 0.05 -r -d '' never; kill -STOP $PPID;"
            "read -t 1.45 -r -d '' never; printf 'twhole\\0'",
            true, "whole");
        row("works without end", "while :; do :; done", false, "!took too long");
        row("works without end, old file", "while :; do :; done", true, "");
        row("hangs in the second pass", "printf 'p10\\0ffirst\\0'; read -r -d '' never", true, "first");
        row("many pixels take longer", "printf 'p8294400\\0'; read -t 0.6 -r -d '' never; printf 'tlarge\\0'", false,
            "large");
        row("talks nonsense", "printf '?\\0tlate\\0'", false, "!");
        row("talks after its answer", "printf 'tfine\\0'; exit 1", false, "fine");
    }
    void badPicture()
    {
        QFETCH(QByteArray, script);
        QFETCH(bool, old);
        QFETCH(QString, expected);
        const QByteArray path = bad(old ? 7200 : 0);
        auto answers = run(this->script(script), {"/one", "/two", path, "/three", "/four"});
        const QString result = answers.take(QString::fromUtf8(path));
        for (const char16_t *good : {u"/one", u"/two", u"/three", u"/four"})
            QCOMPARE(answers.take(QString::fromUtf16(good)), QString::fromUtf16(good));
        QVERIFY(answers.isEmpty()); // one line each
        if (expected == u"!")
            QVERIFY(result.size() > 1 && result.startsWith(u'!'));
        else
            QCOMPARE(result, expected);
    }

    void everyPathOnce()
    {
        QByteArrayList paths;
        QMultiMap<QString, QString> expected;
        for (int i = 0; i < 60; ++i) {
            paths += "/p/" + QByteArray::number(i / 2); // each twice
            expected.insert(QString::fromUtf8(paths.last()), QString::fromUtf8(paths.last()));
        }
        QCOMPARE(run(script("exit 1"), paths), expected);
    }

    void nothingToReadWith()
    {
        for (const QString &answer : run(m_home->file(u"nothing"_s), {"/one", "/two", "/three"}))
            QVERIFY(answer.startsWith(u'!'));
        QCOMPARE(m_noData, 0);
        const QByteArray path = bad(7200);
        const auto answers = run(script("printf 'n\\0'"), {path, path});
        QVERIFY(answers.size() == 2 && answers.first().startsWith(u'!')); // never the fault of the file, however old
        QCOMPARE(m_noData, 1);
    }

    void neverBegins()
    {
        Limits limits;
        limits.start = std::chrono::milliseconds(200);
        const auto answers = run(m_home->script(u"worker"_s, "read -r never"), {"/one", "/two"}, limits);
        QCOMPARE(answers.values(), QStringList(2, u"!took too long"_s));
    }

    void givesUpAtOnceWhenDestroyed()
    {
        {
            Supervisor::Options how = options(script("echo $$ >told; read -r -d '' never"));
            how.limits = {};
            Supervisor supervisor(how);
            supervisor.add("/bad");
            QTRY_VERIFY(!m_home->read(u"told"_s).isEmpty());
        }
        QVERIFY(!QFile::exists(u"/proc/"_s + QString::fromLatin1(m_home->read(u"told"_s).trimmed())));
    }
};

QTEST_GUILESS_MAIN(tst_OcrSupervisor)
#include "tst_OcrSupervisor.moc"
