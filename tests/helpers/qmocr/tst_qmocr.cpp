#include "tests/support/TempHome.h"
#include "tests/support/TextPage.h"

#include <QGuiApplication>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

using namespace qm;
using namespace Qt::StringLiterals;

static const QString program = QStringLiteral(QM_PROGRAMS "/qmocr");

static const QStringList sentence{u"The quick heron watches over the river"_s, u"Backup finished without warnings"_s,
                                  u"昨日の会議の記録を保存しました"_s, u"設定を変更するには管理者に連絡してください"_s};

// The program itself, on pictures drawn here.
class tst_qmocr : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;
    QHash<QString, QJsonObject> m_answers; // of one run over all the small pictures, by name
    QStringList m_tall, m_wide;            // the lines of a page that is read in several pieces, the words of another

    QString file(const QString &name) const { return m_home.file(name); }
    QString save(const QString &name, const QImage &picture) const
    {
        if (!picture.save(file(name)))
            qFatal("cannot write %s", qPrintable(name));
        return name;
    }
    QHash<QString, QJsonObject> run(const QStringList &names, const QStringList &environment = {},
                                    const QStringList &arguments = {}, QByteArray *errors = nullptr) const
    {
        QProcess process;
        process.setEnvironment(QProcess::systemEnvironment() + environment);
        process.start(program, arguments);
        for (const QString &name : names)
            process.write(file(name).toUtf8() + '\n');
        process.closeWriteChannel();
        if (!process.waitForFinished(200'000))
            qFatal("qmocr did not end");
        if (errors)
            *errors = process.readAllStandardError();
        QHash<QString, QJsonObject> answers;
        for (const QByteArray &line : process.readAllStandardOutput().split('\n')) {
            const QJsonObject answer = QJsonDocument::fromJson(line).object();
            if (!answer.isEmpty())
                answers[QFileInfo(answer[u"path"].toString()).fileName()] = answer;
        }
        return answers;
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QImage page = TextPage{.lines = sentence}.painted();
        QStringList names{save(u"page.png"_s, page), save(u"a 'b\" \\ $(c) 画面 .png"_s, page)};
        const TextPage dark{.lines = sentence, .ink = QColor(220, 220, 220), .paper = QColor(30, 32, 38)};
        names += save(u"dark.png"_s, dark.painted());
        for (int i = 100; i < 330; ++i)
            m_wide += u"heron%1"_s.arg(i);
        names += save(u"wide.png"_s, TextPage{.lines = {m_wide.join(u' ')}, .width = 20000}.painted());
        for (int i = 0; i < 60; ++i)
            m_tall += u"Number %1 watches over the river"_s.arg(100 + i);
        names += save(u"tall.png"_s, TextPage{.lines = m_tall, .pixelSize = 25, .width = 2400}.painted());

        names += save(u"dot.png"_s, QImage(1, 1, QImage::Format_RGB32));
        names += save(u"thread.png"_s, QImage(40000, 1, QImage::Format_Mono));
        m_home.write(u"truncated.png"_s, m_home.read(u"page.png"_s).first(3000));
        for (const QString &half : {u"growing.png"_s, u"half.png"_s})
            m_home.write(half, m_home.read(u"page.png"_s).chopped(200));
        m_home.setModified(u"half.png"_s, 1'000'000'000); // nobody is writing it any more
        m_home.write(u"folder.png/file"_s, "");
        QCOMPARE(mkfifo(qPrintable(file(u"pipe.png"_s)), 0600), 0);
        names +=
            {u"growing.png"_s, u"half.png"_s, u"truncated.png"_s, u"folder.png"_s, u"pipe.png"_s, u"missing.png"_s};
        m_answers = run(names, {}, {u"--boxes"_s});
        QCOMPARE(m_answers.size(), names.size());
        QStringList many;
        for (int i = 0; i < 60; ++i)
            many += sentence[i % 4] + QString::number(i);
        save(u"slow.png"_s, TextPage{.lines = many}.painted()); // for the tests that interrupt
    }

    void reads()
    {
        QVERIFY(m_answers[u"half.png"_s][u"text"].toString().contains(sentence[0]));
        for (const QString &name : {u"page.png"_s, u"dark.png"_s, u"a 'b\" \\ $(c) 画面 .png"_s}) {
            const QStringList lines = m_answers[name][u"text"].toString().split(u'\n');
            for (const QString &line : sentence)
                QVERIFY2(lines.contains(line), qPrintable(lines.join(u'\n')));
        }
        for (const QJsonObject &answer : std::as_const(m_answers))
            if (answer.contains(u"text"_s))
                QCOMPARE(answer[u"lines"_s].toArray().size(),
                         answer[u"text"_s].toString().split(u'\n', Qt::SkipEmptyParts).size());
        const QJsonValue last = m_answers[u"wide.png"_s][u"lines"_s].toArray().last();
        QVERIFY(last[u"words"_s].toArray().last()[2].toInt() > 10'000);
        // In several pieces, whose lines meet again.
        const QString wide = m_answers[u"wide.png"_s][u"text"_s].toString();
        QCOMPARE(wide.simplified().split(u' '), m_wide);
        QCOMPARE(m_answers[u"tall.png"_s][u"text"].toString().split(u'\n'), m_tall); // each line once
        for (const QString &name :
             {u"growing.png"_s, u"truncated.png"_s, u"folder.png"_s, u"pipe.png"_s, u"missing.png"_s}) {
            QVERIFY2(!m_answers[name][u"error"].toString().isEmpty(), qPrintable(name));
            QVERIFY2(!m_answers[name].contains(u"text"_s), qPrintable(name));
        }
        QCOMPARE(m_answers[u"pipe.png"_s][u"error"].toString(), u"not a file"_s); // rather than waited for
        for (const QString &name : {u"dot.png"_s, u"thread.png"_s})
            QCOMPARE(m_answers[name][u"text"].toString(u"none"_s), QString());
    }

    // Two columns under ordinary text, read by a process that can do nothing else.
    void columns()
    {
        const QStringList columns{u"名前はまだ無い"_s, u"記憶している"_s};
        const QStringList names{u"columns.png"_s};
        QImage page(640, 300, QImage::Format_RGB32);
        page.fill(Qt::white);
        QPainter painter(&page);
        painter.drawImage(0, 0, TextPage{.lines = sentence}.painted());
        QFont font(u"Noto Serif CJK JP"_s);
        font.setPixelSize(20);
        painter.setFont(font);
        const auto placeOf = [](int column, int i) { return QRect(400 - 36 * column, 130 + 20 * i, 20, 20); };
        for (int column = 0; column < 2; ++column)
            for (int i = 0; i < columns[column].size(); ++i)
                painter.drawText(placeOf(column, i), Qt::AlignCenter, columns[column].mid(i, 1));
        painter.end();
        save(names[0], page);

        const QJsonObject answer = run(names, {u"QM_CONFINED=1"_s}, {u"--boxes"_s})[names[0]];
        const QStringList lines = answer[u"text"_s].toString().split(u'\n');
        QVERIFY2(lines.contains(sentence[3]) && lines.mid(lines.size() - 2) == columns, qPrintable(lines.join(u'\n')));
        for (int column = 0; column < 2; ++column)
            for (int i = 0; i < columns[column].size(); ++i) {
                const QJsonValue line = answer[u"lines"_s].toArray()[lines.size() - 2 + column];
                const QJsonArray word = line[u"words"_s].toArray()[i].toArray();
                const QRect box(word[2].toInt(), word[3].toInt(), word[4].toInt(), word[5].toInt());
                QVERIFY((box.center() - placeOf(column, i).center()).manhattanLength() <= 6);
            }
    }

    // Answers come while the input is still open, and of two pictures the quick one does not wait for the slow one.
    void streams()
    {
        QProcess process;
        process.setEnvironment(QProcess::systemEnvironment() << u"QMOCR_WORKERS=2"_s);
        process.start(program, QStringList());
        process.write((file(u"slow.png"_s) + u'\n' + file(u"dot.png"_s) + u'\n').toUtf8());
        QByteArrayList lines;
        while (lines.size() < 2 && process.waitForReadyRead(60'000))
            while (process.canReadLine())
                lines += process.readLine();
        QVERIFY(lines.size() == 2 && lines[0].contains("dot.png"));
        QCOMPARE(process.state(), QProcess::Running);
        process.write(file(u"dot.png"_s).toUtf8()); // without an end of line, and a second time
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished(60'000));
        QCOMPARE(process.readAllStandardOutput().count('\n'), 1);
        QCOMPARE(process.exitCode(), 0);
    }

#ifndef QM_ADDRESS_SANITIZED // the sanitizer itself takes terabytes of addresses
    void memoryLimit()
    {
        // 15,000 x 10,000 pixels are within the limit of the pictures, but not within this one.
        QImage huge(15'000, 10'000, QImage::Format_Mono);
        huge.fill(1);
        const auto answers = run({save(u"huge.png"_s, huge), u"dot.png"_s}, {u"QMOCR_MEMORY_LIMIT_MB=300"_s});
        QVERIFY(answers[u"huge.png"_s].contains(u"error"_s));
        QVERIFY(answers[u"dot.png"_s].contains(u"text"_s));
    }
#endif

    // Whoever is waiting for the answers ends, in whatever way; then so do the helper and its workers, in mid-picture.
    void endsWithItsReader()
    {
#ifdef Q_OS_LINUX
        QVERIFY(prctl(PR_SET_CHILD_SUBREAPER, 1) == 0); // orphans come to this process, which can wait for them
        qputenv("QMOCR_WORKERS", "1");
        QStringList lines; // to be read for much longer than anything here waits
        for (int i = 0; i < 400; ++i)
            lines += sentence[i % 4] + u' ' + sentence[i % 3] + QString::number(i);
        const QString endless = save(u"endless.png"_s, TextPage{.lines = lines, .width = 2000}.painted());
        const QByteArray paths = (file(u"dot.png"_s) + u'\n' + file(endless) + u'\n').toUtf8();
        const auto childOf = [](qint64 process) {
            QFile list(u"/proc/%1/task/%1/children"_s.arg(process));
            return list.open(QIODevice::ReadOnly) ? list.readAll().split(' ').first().toInt() : 0;
        };
        const auto ends = [](pid_t process) {
            return QTest::qWaitFor([&] { return waitpid(process, nullptr, WNOHANG) == process; }, 15'000);
        };
        pid_t helper = 0, worker = 0;
        QProcess reader, killed;
        reader.start(u"/bin/bash"_s, {u"-c"_s, u"\"$0\" | head -n 1"_s, program});
        reader.write(paths); // and its input stays open
        QTRY_VERIFY((helper = childOf(reader.processId())) > 0);
        QTRY_VERIFY((worker = childOf(helper)) > 0);
        QVERIFY(reader.waitForFinished(15'000)); // which waits for both ends of its pipeline
        QCOMPARE(reader.readAllStandardOutput().count('\n'), 1);
        QVERIFY(ends(worker));

        killed.start(program, QStringList());
        killed.write(paths);
        QVERIFY(killed.waitForReadyRead(60'000));
        QVERIFY((worker = childOf(killed.processId())) > 0);
        killed.kill();
        QVERIFY(killed.waitForFinished(60'000));
        QVERIFY(ends(worker));
        qunsetenv("QMOCR_WORKERS");
#endif
    }

    void options()
    {
        QCOMPARE(QProcess::execute(program, {u"picture.png"_s}), 2);
        const QStringList page{u"page.png"_s};
        const QString english = run(page, {}, {u"--lang"_s, u"eng"_s})[page[0]][u"text"].toString();
        QVERIFY(!run({u"dot.png"_s})[u"dot.png"_s].contains(u"lines"_s));
        QVERIFY(english.contains(sentence[0]) && !english.contains(u"会議"_s));
        // Without any language data nothing is said about the picture.
        QByteArray errors;
        const auto answers = run(page, {u"TESSDATA_PREFIX="_s + m_home.path()}, {}, &errors);
        QVERIFY(answers[page[0]].contains(u"error"_s));
        QCOMPARE(errors, "qmocr: no Tesseract language data is installed\n");
    }
};

QTEST_MAIN(tst_qmocr)
#include "tst_qmocr.moc"
