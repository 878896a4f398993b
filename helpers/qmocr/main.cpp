#include "helpers/qmocr/LineWriter.h"
#include "helpers/qmocr/ProcessControl.h"
#include "helpers/qmocr/Supervisor.h"
#include "helpers/qmocr/Worker.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

using namespace qm;

static QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

static int workerCount()
{
    bool set = false;
    const int count = qEnvironmentVariableIntValue("QMOCR_WORKERS", &set);
    return set && count > 0 ? count : std::max(1, QThread::idealThreadCount());
}

static int supervise(QCoreApplication &app, const QStringList &workerArguments, const ocr::Limits &limits,
                     ocr::Boxes boxes)
{
    ocr::LineWriter writer(STDOUT_FILENO);
    ocr::endWhenHungUp(STDOUT_FILENO);
    ocr::Supervisor supervisor({
        .worker = {QCoreApplication::applicationFilePath(), workerArguments},
        .workers = workerCount(),
        .limits = limits,
        .boxes = boxes,
        .emitLine = [&](const QByteArray &line) { writer.write(line + '\n'); },
        .emptied = [&] { QMetaObject::invokeMethod(&app, &QCoreApplication::quit, Qt::QueuedConnection); },
        .noData = [] { std::fputs("qmocr: no Tesseract language data is installed\n", stderr); },
    });

    ocr::MessageSplitter paths('\n');
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        QByteArray buffer(65536, Qt::Uninitialized);
        const ssize_t n = read(STDIN_FILENO, buffer.data(), size_t(buffer.size()));
        if (n < 0 && (errno == EINTR || errno == EAGAIN))
            return;
        QList<QByteArray> lines = paths.take(buffer.first(std::max<ssize_t>(n, 0)));
        if (n <= 0)
            lines += paths.rest(); // the last line may lack its terminator
        for (const QByteArray &path : std::as_const(lines))
            if (!path.isEmpty())
                supervisor.add(path);
        if (n <= 0) {
            input.setEnabled(false);
            supervisor.close();
        }
    });
    return QCoreApplication::exec();
}

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(text("qmocr"));
    QCoreApplication::setApplicationVersion(text(QM_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(text(
        "Reads the text in pictures.\n\n"
        "Takes the paths of pictures on standard input, one per line, and prints one JSON object for each as soon as\n"
        "it has been read, in any order: {\"path\": ..., \"text\": ...}, or \"error\" with the reason instead of the "
        "text. --boxes adds \"lines\": where each line of the text stands, and each of its words as\n"
        "[start, length, x, y, width, height].\n\n"
        "QMOCR_WORKERS           how many pictures are read at once (default: one per processor)\n"
        "QMOCR_TIME_LIMIT_MS     time for a picture of 1920 x 1080 (default: 30000); larger ones get more\n"
        "QMOCR_MEMORY_LIMIT_MB   address space of the process that reads a picture"));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption languages(text("lang"), text("Language data to read with, such as eng+jpn."),
                                       text("names"));
    const QCommandLineOption places(text("boxes"), text("Tells where lines and words stand, in pixels."));
    QCommandLineOption worker(text("worker"));
    worker.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOptions({languages, places, worker});
    parser.process(app);
    if (!parser.positionalArguments().isEmpty()) {
        std::fputs("qmocr: takes no arguments; pass paths on standard input (see --help)\n", stderr);
        return 2;
    }

    const ocr::Limits limits = ocr::Limits::fromEnvironment();
    const ocr::Boxes boxes = parser.isSet(places) ? ocr::Boxes::yes : ocr::Boxes::no;
    if (parser.isSet(worker))
        return ocr::runWorker(parser.value(languages), limits.memory, boxes);
    QStringList arguments{text("--worker")};
    if (boxes == ocr::Boxes::yes)
        arguments += text("--boxes");
    if (parser.isSet(languages))
        arguments += {text("--lang"), parser.value(languages)};
    return supervise(app, arguments, limits, boxes);
}
