#include "helpers/qmocr/Supervisor.h"

#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace qm::ocr;

// The parent, with a shell script in the place of the worker program: what it does is each row's own matter.
class tst_OcrSupervisor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void badPicture_data();
    void badPicture();
    void everyPathOnce();
    void missingProgram();
    void missingLanguageData();
    void givesUpAtOnceWhenDestroyed();

private:
    QString script(const QByteArray &bad);
    QList<QJsonObject> run(const QString &program, const QList<QByteArray> &paths, int workers);
    QByteArray file(const char *name) const { return m_folder->filePath(QString::fromUtf8(name)).toUtf8(); }

    std::unique_ptr<QTemporaryDir> m_folder;
    int m_noData = 0;
};

void tst_OcrSupervisor::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_noData = 0;
}

// A worker that reads every path as itself, except that it does `bad` for a path with "bad" in it.
QString tst_OcrSupervisor::script(const QByteArray &bad)
{
    const QString path = m_folder->filePath(QStringLiteral("worker"));
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly))
        qFatal("cannot write the script");
    out.write("#!/bin/bash\ncd \"${0%/*}\"\nwhile IFS= read -r -d '' path; do\nprintf 'b\\0'\ncase $path in *bad*)\n" +
              bad + "\ncontinue;;\nesac\nprintf 't%s\\0' \"$path\"\ndone\n");
    out.close();
    out.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

QList<QJsonObject> tst_OcrSupervisor::run(const QString &program, const QList<QByteArray> &paths, int workers)
{
    QList<QJsonObject> lines;
    bool emptied = false;
    Limits limits;
    limits.time = std::chrono::milliseconds(300);
    Supervisor supervisor({
        .worker = {program, {}},
        .workers = workers,
        .limits = limits,
        .emitLine = [&](const QByteArray &line) { lines += QJsonDocument::fromJson(line).object(); },
        .emptied = [&] { emptied = true; },
        .noData = [&] { ++m_noData; },
    });
    for (const QByteArray &path : paths)
        supervisor.add(path);
    supervisor.close();
    if (!QTest::qWaitFor([&] { return emptied; }, 20'000))
        qWarning("not emptied");
    return lines;
}

void tst_OcrSupervisor::badPicture_data()
{
    QTest::addColumn<QByteArray>("bad");
    QTest::addColumn<bool>("old");         // the file has not changed for two hours
    QTest::addColumn<QString>("expected"); // of the bad picture; "!" is any error
    const auto row = [](const char *name, const char *bad, bool old, const char *expected) {
        QTest::newRow(name) << QByteArray(bad) << old << QString::fromUtf8(expected);
    };
    row("reads well", "printf 'tfine\\0'", false, "fine");
    row("an error", "printf 'enot now\\0'", true, "!not now");
    row("a lasting error", "printf 'xbroken\\0'", false, "!broken");
    row("a lasting error, old file", "printf 'xbroken\\0'", true, "");
    row("dies", "kill -SEGV $$", false, "!");
    row("dies, old file", "kill -SEGV $$", true, "");
    row("exits", "exit 0", false, "!");
    row("dies the first time only", "[ -e tried ] && printf 'tfine\\0' || { touch tried; exit 1; }", true, "fine");
    row("dies in the second pass", "printf 'ffirst\\0'; exit 1", false, "first");
    row("hangs", "read -r -d '' never", false, "!took too long");
    row("hangs without working, old file", "read -r -d '' never", true, "!took too long");
    row("gets little done on a busy machine",
        "for i in {1..7}; do for k in {1..3000}; do :; done; read -t 0.1 -r -d '' never; done; printf 'tlate\\0'", true,
        "late");
    row("works without end", "while :; do :; done", false, "!took too long");
    row("works without end, old file", "while :; do :; done", true, "");
    row("hangs in the second pass", "printf 'p10\\0ffirst\\0'; read -r -d '' never", true, "first");
    row("many pixels take longer", "printf 'p8294400\\0'; read -t 0.6 -r -d '' never; printf 'tlarge\\0'", false,
        "large");
    row("talks nonsense", "printf '?\\0tlate\\0'", false, "!");
    row("talks after its answer", "printf 'tfine\\0'; exit 1", false, "fine");
}

void tst_OcrSupervisor::badPicture()
{
    QFETCH(QByteArray, bad);
    QFETCH(bool, old);
    QFETCH(QString, expected);
    const QByteArray path = file("bad 画像.png");
    QFile picture(QString::fromUtf8(path));
    QVERIFY(picture.open(QIODevice::WriteOnly));
    if (old)
        QVERIFY(picture.setFileTime(QDateTime::currentDateTime().addSecs(-7200), QFileDevice::FileModificationTime));
    picture.close();

    QHash<QString, QString> got;
    const QList<QJsonObject> lines = run(script(bad), {"/one", "/two", path, "/three", "/four"}, 2);
    for (const QJsonObject &line : lines)
        got[line[u"path"].toString()] =
            line.contains(u"error") ? u'!' + line[u"error"].toString() : line[u"text"].toString();
    QCOMPARE(lines.size(), 5);
    for (const char *good : {"/one", "/two", "/three", "/four"})
        QCOMPARE(got[QString::fromLatin1(good)], QString::fromLatin1(good));
    const QString result = got[QString::fromUtf8(path)];
    if (expected == u"!")
        QVERIFY(result.size() > 1 && result.startsWith(u'!'));
    else
        QCOMPARE(result, expected);
}

void tst_OcrSupervisor::everyPathOnce()
{
    QList<QByteArray> paths;
    QMap<QString, int> expected, got;
    for (int i = 0; i < 60; ++i) {
        paths += "/p/" + QByteArray::number(i / 2); // each twice
        ++expected[QString::fromUtf8(paths.last())];
    }
    const QList<QJsonObject> lines = run(script("exit 1"), paths, 3);
    for (const QJsonObject &line : lines) {
        QCOMPARE(line[u"text"], line[u"path"]);
        ++got[line[u"path"].toString()];
    }
    QCOMPARE(got, expected);
}

void tst_OcrSupervisor::missingProgram()
{
    const QList<QJsonObject> lines = run(m_folder->filePath(QStringLiteral("nothing")), {"/one", "/two"}, 2);
    QCOMPARE(lines.size(), 2);
    for (const QJsonObject &line : lines)
        QVERIFY(line.contains(u"error"));
}

void tst_OcrSupervisor::missingLanguageData()
{
    const QByteArray path = file("bad.png");
    QFile picture(QString::fromUtf8(path));
    QVERIFY(picture.open(QIODevice::WriteOnly));
    picture.setFileTime(QDateTime::currentDateTime().addSecs(-7200), QFileDevice::FileModificationTime);
    const QList<QJsonObject> lines = run(script("printf 'n\\0'"), {path, path}, 1);
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines[0].contains(u"error")); // never the fault of the file, however old
    QCOMPARE(m_noData, 1);
}

void tst_OcrSupervisor::givesUpAtOnceWhenDestroyed()
{
    const QByteArray told = file("told");
    {
        Supervisor supervisor({
            .worker = {script("echo $$ >told; read -r -d '' never"), {}},
            .workers = 1,
            .limits = {},
            .emitLine = {},
            .emptied = {},
            .noData = {},
        });
        supervisor.add("/bad");
        QTRY_VERIFY(QFile(QString::fromUtf8(told)).size() > 0);
    }
    QFile pid(QString::fromUtf8(told));
    QVERIFY(pid.open(QIODevice::ReadOnly));
    QVERIFY(!QFile::exists(QStringLiteral("/proc/") + QString::fromLatin1(pid.readAll().trimmed())));
}

QTEST_GUILESS_MAIN(tst_OcrSupervisor)
#include "tst_OcrSupervisor.moc"
