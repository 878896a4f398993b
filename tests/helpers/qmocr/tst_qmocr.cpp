#include <libheif/heif.h>

#include <QGuiApplication>
#include <QHash>
#include <QImage>
#include <QImageWriter>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/wait.h>
#ifdef Q_OS_LINUX
#include <sys/prctl.h>
#endif

// The program itself, on pictures drawn here.
class tst_qmocr : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void reads_data();
    void reads();
    void failures_data();
    void failures();
    void tallPicture();
    void streams();
    void survivesAKilledWorker();
    void timeLimit();
    void memoryLimit();
    void endsWithItsReader();
    void options();

private:
    QString file(const QString &name) const { return m_folder.filePath(name); }
    QString save(const QString &name, const QImage &picture) const;

    QTemporaryDir m_folder;
    QHash<QString, QJsonObject> m_answers; // of one run over all the small pictures
    int m_lines = 0;
};

static const QString program = QStringLiteral(QM_PROGRAMS "/qmocr");

// One line of text below the other, as a window shows them.
static QImage drawn(const QStringList &lines, int pixelSize = 15, QColor ink = Qt::black, QColor paper = Qt::white,
                    int width = 640)
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(pixelSize);
    const int pitch = pixelSize * 8 / 5;
    QImage picture(width, 20 + pitch * int(lines.size()), QImage::Format_RGB32);
    picture.fill(paper);
    QPainter painter(&picture);
    painter.setFont(font);
    painter.setPen(ink);
    for (int i = 0; i < lines.size(); ++i)
        painter.drawText(20, 10 + pitch * (i + 1) - pixelSize / 3, lines[i]);
    return picture;
}

static QStringList sentence()
{
    return {QStringLiteral("The quick heron watches over the river"),
            QStringLiteral("Backup finished without warnings"), QStringLiteral("昨日の会議の記録を保存しました"),
            QStringLiteral("設定を変更するには管理者に連絡してください")};
}

QString tst_qmocr::save(const QString &name, const QImage &picture) const
{
    if (!picture.save(file(name)))
        qFatal("cannot write %s", qPrintable(name));
    return file(name);
}

static void put(const QString &path, const QByteArray &content)
{
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
}

// A GIF of several frames, packed without compression: seven-bit codes of eight bits, the table cleared before it grows.
static QByteArray gif(const QList<QImage> &frames)
{
    const auto number = [](int value) { return QByteArray(1, char(value & 255)) + char(value >> 8); };
    QByteArray out = "GIF89a" + number(frames[0].width()) + number(frames[0].height()) + QByteArray("\xf6\0\0", 3);
    for (int i = 0; i < 128; ++i)
        out.append(3, char(i * 2));
    for (const QImage &frame : frames) {
        out += QByteArray("\x21\xf9\x04\0\x0a\0\0\0", 8) + "," + number(0) + number(0) + number(frame.width()) +
               number(frame.height()) + QByteArray("\0\7", 2);
        const QImage gray = frame.convertToFormat(QImage::Format_Grayscale8);
        QByteArray codes;
        for (int y = 0; y < gray.height(); ++y)
            for (int x = 0; x < gray.width(); ++x) {
                if ((y * gray.width() + x) % 100 == 0)
                    codes += char(128);
                codes += char(gray.constScanLine(y)[x] >> 1);
            }
        codes += char(129);
        for (qsizetype i = 0; i < codes.size(); i += 255) {
            const QByteArray block = codes.mid(i, 255);
            out += char(block.size()) + block;
        }
        out += char(0);
    }
    return out + ";";
}

static bool writeHeic(const QString &path, const QImage &picture)
{
    const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
    heif_context *context = heif_context_alloc();
    heif_encoder *encoder = nullptr;
    heif_image *image = nullptr;
    bool ok = heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code == heif_error_Ok;
    if (ok) {
        heif_image_create(rgb.width(), rgb.height(), heif_colorspace_RGB, heif_chroma_interleaved_RGB, &image);
        heif_image_add_plane(image, heif_channel_interleaved, rgb.width(), rgb.height(), 8);
        int stride = 0;
        uint8_t *plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
        for (int y = 0; y < rgb.height(); ++y)
            memcpy(plane + qsizetype(y) * stride, rgb.constScanLine(y), size_t(rgb.width()) * 3);
        ok = heif_context_encode_image(context, image, encoder, nullptr, nullptr).code == heif_error_Ok &&
             heif_context_write_to_file(context, path.toUtf8().constData()).code == heif_error_Ok;
        heif_image_release(image);
        heif_encoder_release(encoder);
    }
    heif_context_free(context);
    return ok;
}

// Runs the program over the paths; the answers by path.
static QHash<QString, QJsonObject> run(const QStringList &paths, int *lineCount = nullptr,
                                       const QStringList &environment = {}, const QStringList &arguments = {})
{
    QProcess process;
    process.setEnvironment(QProcess::systemEnvironment() + environment);
    process.start(program, arguments);
    process.write(paths.join(u'\n').toUtf8() + '\n');
    process.closeWriteChannel();
    QHash<QString, QJsonObject> answers;
    if (!process.waitForFinished(120'000))
        qFatal("qmocr did not end");
    const QList<QByteArray> lines = process.readAllStandardOutput().split('\n');
    for (const QByteArray &line : lines) {
        const QJsonObject answer = QJsonDocument::fromJson(line).object();
        if (!answer.isEmpty())
            answers[answer[u"path"].toString()] = answer;
    }
    if (lineCount)
        *lineCount = int(lines.size()) - 1;
    return answers;
}

void tst_qmocr::initTestCase()
{
    QStringList paths;
    const QImage page = drawn(sentence());
    for (const char *suffix : {"png", "jpg", "jpeg", "tiff", "webp"})
        paths += save(QStringLiteral("page.") + QString::fromLatin1(suffix), page);
    paths += file(QStringLiteral("page.gif"));
    put(paths.last(), gif({page, drawn({QStringLiteral("another frame entirely")}).copy(page.rect())}));
    paths += file(QStringLiteral("page.heic"));
    if (!writeHeic(paths.last(), page))
        paths.removeLast();

    paths += save(QStringLiteral("dark.png"), drawn(sentence(), 15, QColor(220, 220, 220), QColor(30, 32, 38)));
    paths += save(QStringLiteral("large.png"), drawn(sentence(), 30, Qt::black, Qt::white, 1200));
    QImage alpha = page.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < alpha.height(); ++y) // black letters on nothing
        for (int x = 0; x < alpha.width(); ++x)
            alpha.setPixel(x, y, qRgba(0, 0, 0, 255 - qGray(alpha.pixel(x, y))));
    paths += save(QStringLiteral("transparent.png"), alpha);

    // A list with a selected row, and a bar above it: light on dark within dark on light.
    QImage list = drawn(sentence());
    QPainter painter(&list);
    painter.drawImage(QPoint(0, 34), drawn(sentence(), 15, Qt::white, QColor(40, 100, 210)), QRect(0, 34, 640, 24));
    painter.end();
    paths += save(QStringLiteral("selected.png"), list);

    paths += save(QStringLiteral("a 'quoted\" \\ $(name) 画面 .png"), page);
    paths += save(QStringLiteral("wide.png"),
                  drawn({QStringLiteral("heron ").repeated(400)}, 15, Qt::black, Qt::white, 20000));

    QImage dot(1, 1, QImage::Format_RGB32);
    dot.fill(Qt::red);
    paths += save(QStringLiteral("dot.png"), dot);
    paths += save(QStringLiteral("thread.png"), QImage(40000, 1, QImage::Format_Mono));

    QStringList many;
    for (int i = 0; i < 60; ++i)
        many += sentence()[i % 4] + QString::number(i);
    save(QStringLiteral("slow.png"), drawn(many)); // for the tests that interrupt

    put(file(QStringLiteral("empty.png")), {});
    put(file(QStringLiteral("rubbish.png")), QByteArray("\x89PNG\r\n\x1a\n").append(QByteArray(2000, 'x')));
    QFile whole(file(QStringLiteral("page.png")));
    QVERIFY(whole.open(QIODevice::ReadOnly));
    put(file(QStringLiteral("truncated.png")), whole.read(whole.size() / 3));
    put(file(QStringLiteral("old rubbish.png")), "not a picture");
    QFile old(file(QStringLiteral("old rubbish.png")));
    QVERIFY(old.open(QIODevice::ReadWrite));
    QVERIFY(old.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("folder.png")));
    QCOMPARE(QProcess::execute(QStringLiteral("mkfifo"), {file(QStringLiteral("pipe.png"))}), 0);
    for (const char *name :
         {"empty.png", "rubbish.png", "truncated.png", "old rubbish.png", "folder.png", "pipe.png", "missing.png"})
        paths += file(QString::fromLatin1(name));

    m_answers = run(paths, &m_lines);
    QCOMPARE(m_lines, paths.size());
    QCOMPARE(m_answers.size(), paths.size());
}

void tst_qmocr::reads_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name :
         {"page.png", "page.jpg", "page.jpeg", "page.tiff", "page.webp", "page.gif", "page.heic", "dark.png",
          "large.png", "transparent.png", "selected.png", "a 'quoted\" \\ $(name) 画面 .png"})
        QTest::newRow(name) << QString::fromUtf8(name);
}

void tst_qmocr::reads()
{
    QFETCH(QString, name);
    if (name.endsWith(u".heic") && !QFile::exists(file(name)))
        QSKIP("libheif cannot write HEIC here");
    QVERIFY(m_answers.contains(file(name)));
    const QString text = m_answers[file(name)][u"text"].toString();
    for (const QString &line : sentence())
        QVERIFY2(text.contains(line), qPrintable(text));
    QVERIFY(!text.contains(QStringLiteral("another")));
    for (const QString &line : text.split(u'\n'))
        QVERIFY2(!line.isEmpty() && line == line.trimmed(), qPrintable(text));
}

void tst_qmocr::failures_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isError"); // else an empty text
    const auto row = [](const char *name, bool isError) {
        QTest::newRow(name) << QString::fromLatin1(name) << isError;
    };
    row("empty.png", true);
    row("rubbish.png", true);
    row("truncated.png", true);
    row("old rubbish.png", false);
    row("folder.png", true);
    row("pipe.png", true);
    row("missing.png", true);
    row("dot.png", false);
    row("thread.png", false);
}

void tst_qmocr::failures()
{
    QFETCH(QString, name);
    const QJsonObject answer = m_answers[file(name)];
    QTEST(answer.contains(u"error"), "isError");
    if (answer.contains(u"error"))
        QVERIFY(!answer[u"error"].toString().isEmpty() && !answer.contains(u"text"));
    else
        QCOMPARE(answer[u"text"].toString(QStringLiteral("none")), QString());
}

void tst_qmocr::tallPicture()
{
    // No row is blank, so that no cut falls between lines: the columns are shifted against each other.
    static constexpr int count = 130;
    QStringList left, right;
    for (int i = 0; i < count; ++i) {
        left += QStringLiteral("Entry %1").arg(1000 + i);
        right += QStringLiteral("項目 %1").arg(5000 + i);
    }
    const QImage first = drawn(left, 40, Qt::black, Qt::white, 320);
    QImage tall(640, first.height() + 32, QImage::Format_RGB32);
    tall.fill(Qt::white);
    QPainter painter(&tall);
    painter.drawImage(0, 0, first);
    painter.drawImage(320, 32, drawn(right, 40, Qt::black, Qt::white, 320));
    painter.end();
    const QString path = save(QStringLiteral("tall.png"), tall);
    const QString text = run({path}).value(path)[u"text"].toString();
    const QStringList lines = text.split(u'\n');
    int lost = 0, doubled = 0;
    for (const QStringList &column : {left, right})
        for (const QString &line : column) {
            lost += !text.contains(line);
            doubled += lines.count(line) > 1;
        }
    QVERIFY2(lost <= 2, qPrintable(text)); // one may be misread; at a seam all would go
    QCOMPARE(doubled, 0);
    // In the order in which they stand.
    QVERIFY(text.indexOf(QStringLiteral("1010")) < text.indexOf(QStringLiteral("1060")));
    QVERIFY(text.indexOf(QStringLiteral("1060")) < text.indexOf(QStringLiteral("1120")));
    QVERIFY(m_answers[file(QStringLiteral("wide.png"))][u"text"].toString().count(QStringLiteral("heron")) > 350);
}

// Answers come while the input is still open, and of two pictures the quick one does not wait for the slow one.
void tst_qmocr::streams()
{
    const QString slow = file(QStringLiteral("slow.png")), quick = file(QStringLiteral("dot.png"));
    QProcess process;
    process.setEnvironment(QProcess::systemEnvironment() << QStringLiteral("QMOCR_WORKERS=2"));
    process.start(program, QStringList());
    process.write((slow + u'\n' + quick + u'\n').toUtf8());
    QByteArrayList lines;
    while (lines.size() < 2 && process.waitForReadyRead(60'000))
        while (process.canReadLine())
            lines += process.readLine();
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines[0].contains("dot.png"));
    QCOMPARE(process.state(), QProcess::Running);
    process.write(quick.toUtf8()); // without an end of line, and a second time
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(60'000));
    QCOMPARE(process.readAllStandardOutput().count('\n'), 1);
    QCOMPARE(process.exitCode(), 0);
}

static QList<qint64> childrenOf(qint64 process)
{
    QFile list(QStringLiteral("/proc/%1/task/%1/children").arg(process));
    QList<qint64> children;
    if (list.open(QIODevice::ReadOnly))
        for (const QByteArray &child : list.readAll().split(' '))
            if (child.toLongLong() > 0)
                children += child.toLongLong();
    return children;
}

void tst_qmocr::survivesAKilledWorker()
{
    const QString path = file(QStringLiteral("page.png"));
    QProcess process;
    process.setEnvironment(QProcess::systemEnvironment() << QStringLiteral("QMOCR_WORKERS=1"));
    process.start(program, QStringList());
    process.write((path + u'\n' + path + u'\n').toUtf8());
    process.closeWriteChannel();
    QVERIFY(process.waitForStarted());
    QList<qint64> workers;
    QTRY_VERIFY(!(workers = childrenOf(process.processId())).isEmpty());
    QCOMPARE(workers.size(), 1);
    ::kill(pid_t(workers[0]), SIGKILL);
    QVERIFY(process.waitForFinished(60'000));
    const QByteArray output = process.readAllStandardOutput();
    QCOMPARE(output.count('\n'), 2);
    QCOMPARE(output.count("heron"), 2);
}

void tst_qmocr::timeLimit()
{
    const QString slow = file(QStringLiteral("slow.png")), quick = file(QStringLiteral("dot.png"));
    QHash<QString, QJsonObject> answers = run({slow, quick}, nullptr, {QStringLiteral("QMOCR_TIME_LIMIT_MS=1000")});
    QVERIFY(answers[slow].contains(u"error"));
    QVERIFY(answers[slow][u"error"].toString().contains(u"too long"));
    QCOMPARE(answers[quick][u"text"].toString(QStringLiteral("none")), QString());
}

void tst_qmocr::memoryLimit()
{
    // 15,000 x 10,000 pixels are within the limit of the pictures, but not within this one.
    QImage huge(15'000, 10'000, QImage::Format_Mono);
    huge.fill(1);
    const QString path = save(QStringLiteral("huge.png"), huge), other = file(QStringLiteral("dot.png"));
    const QHash<QString, QJsonObject> answers =
        run({path, other}, nullptr, {QStringLiteral("QMOCR_MEMORY_LIMIT_MB=300")});
    QVERIFY(answers[path].contains(u"error"));
    QVERIFY(answers[other].contains(u"text"));
}

// Whoever is waiting for the answers ends, in whatever way; then so do the helper and its workers, in mid-picture.
void tst_qmocr::endsWithItsReader()
{
#ifdef Q_OS_LINUX
    QVERIFY(prctl(PR_SET_CHILD_SUBREAPER, 1) == 0); // orphans come to this process, which can wait for them
    const auto isGone = [](qint64 process) { return waitpid(pid_t(process), nullptr, WNOHANG) == process; };
#else
    const auto isGone = [](qint64 process) { return kill(pid_t(process), 0) != 0; }; // launchd waits for orphans
#endif
    const QByteArray paths =
        (file(QStringLiteral("dot.png")) + u'\n' + file(QStringLiteral("slow.png")) + u'\n').toUtf8();
    const auto ends = [&](qint64 process) { return QTest::qWaitFor([&] { return isGone(process); }, 60'000); };
    qputenv("QMOCR_WORKERS", "1");
    QList<qint64> parents, workers;

    QProcess reader;
    reader.start(QStringLiteral("/bin/bash"), {QStringLiteral("-c"), QStringLiteral("\"$0\" | head -n 1"), program});
    reader.write(paths); // and its input stays open
    QTRY_VERIFY(!(parents = childrenOf(reader.processId())).isEmpty());
    QTRY_VERIFY(!(workers = childrenOf(parents[0])).isEmpty());
    QVERIFY(reader.waitForFinished(60'000)); // which waits for both ends of its pipeline
    QCOMPARE(reader.readAllStandardOutput().count('\n'), 1);
    QVERIFY(ends(workers[0]));

    QProcess killed;
    killed.start(program, QStringList());
    killed.write(paths);
    QVERIFY(killed.waitForReadyRead(60'000));
    QVERIFY(!(workers = childrenOf(killed.processId())).isEmpty());
    killed.kill();
    QVERIFY(killed.waitForFinished(60'000));
    QVERIFY(ends(workers[0]));
    qunsetenv("QMOCR_WORKERS");
}

void tst_qmocr::options()
{
    QProcess process;
    process.start(program, {QStringLiteral("--version")});
    QVERIFY(process.waitForFinished(60'000));
    QVERIFY(process.readAllStandardOutput().startsWith("qmocr "));
    process.start(program, {QStringLiteral("picture.png")});
    QVERIFY(process.waitForFinished(60'000));
    QCOMPARE(process.exitCode(), 2);

    const QString path = file(QStringLiteral("page.png"));
    const QString english =
        run({path}, nullptr, {}, {QStringLiteral("--lang"), QStringLiteral("eng")})[path][u"text"].toString();
    QVERIFY(english.contains(sentence()[0]));
    QVERIFY(!english.contains(QStringLiteral("会議")));
    // Without any language data nothing is said about the picture.
    QVERIFY(run({path}, nullptr, {QStringLiteral("TESSDATA_PREFIX=") + m_folder.path()})[path].contains(u"error"));
}

QTEST_MAIN(tst_qmocr)
#include "tst_qmocr.moc"
