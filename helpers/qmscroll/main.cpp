// qmscroll --region PATH [--manual] [--max-height PIXELS] [--rest X,Y,W,H]
// The user draws a region; its content is scrolled to the end and written to PATH as one tall picture. With --manual
// the user scrolls. The picture ends at 30,000 pixels unless told otherwise. With --rest a menu was shown in that part of
// the screen (pixels): what lay below must come to rest before the screen is frozen.
// Exit status 0: written, or cancelled (no file), with a line on stderr if the picture ends early because what follows
// could not be joined, or if parts of it may have loaded too late. 1: failed, with one line on stderr; there is a file only if
// the disk was full before all of it was written. What an earlier process left that was killed becomes a picture first, which
// is told on stdout.

#include "config/UnfinishedPictures.h"
#include "helpers/qmscroll/CaptureRun.h"
#include "platform/ParentDeath.h"

#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <cstdio>

using namespace qm;

namespace {

constexpr int defaultHeight = 30'000;
constexpr int greatestHeight = 1'000'000;

volatile std::sig_atomic_t endingSignal = 0;

struct Arguments {
    QString path;
    ScrollSession::Mode mode = ScrollSession::Mode::automatic;
    int heightLimit = defaultHeight;
    QRect rest;
};

std::optional<Arguments> parse(int count, char **values)
{
    Arguments arguments;
    for (int i = 1; i < count; ++i) {
        const QByteArray option = values[i];
        const bool hasValue = i + 1 < count;
        if (option == "--manual") {
            arguments.mode = ScrollSession::Mode::manual;
        } else if (option == "--region" && hasValue) {
            arguments.path = QFile::decodeName(values[++i]);
        } else if (option == "--max-height" && hasValue) {
            bool isNumber = false;
            arguments.heightLimit = QByteArray(values[++i]).toInt(&isNumber);
            if (!isNumber || arguments.heightLimit < 1 || arguments.heightLimit > greatestHeight)
                return {};
        } else if (option == "--rest" && hasValue) {
            const QByteArrayList numbers = QByteArray(values[++i]).split(',');
            if (numbers.size() != 4)
                return {};
            arguments.rest = QRect(numbers[0].toInt(), numbers[1].toInt(), numbers[2].toInt(), numbers[3].toInt());
        } else {
            return {};
        }
    }
    return arguments.path.isEmpty() ? std::nullopt : std::optional(arguments);
}

int fail(const QString &reason)
{
    std::fprintf(stderr, "qmscroll: %s\n", qPrintable(reason));
    return 1;
}

// nullptr if it does not.
const char *whyItEndsEarly(ScrollSession::End end)
{
    using End = ScrollSession::End;
    switch (end) {
    case End::changed: return "the page has changed what was already captured";
    case End::ambiguous: return "what follows could be joined in more than one way";
    case End::lost: return "what follows does not match";
    case End::unanswered: return "the window does not answer the wheel any more";
    default: return nullptr;
    }
}

// Lets the capture end by itself, so that no file is left behind where only named ones can be written.
void catchSignals()
{
    struct sigaction action = {};
    action.sa_handler = [](int signal) { endingSignal = signal; };
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signal, &action, nullptr);
}

} // namespace

int main(int argc, char **argv)
{
    endWithParent();               // a capture must not outlive the program that waits for it
    std::signal(SIGXFSZ, SIG_IGN); // exceeding a limit on files (or shared memory) is then an ordinary error
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});

    std::optional<Arguments> arguments = parse(argc, argv);
    if (!arguments)
        return fail(QStringLiteral("usage: qmscroll --region PATH [--manual] [--max-height PIXELS] [--rest X,Y,W,H]"));
    const QFileInfo folder(QFileInfo(arguments->path).path());
    if (!folder.isDir() || !folder.isWritable())
        return fail(QStringLiteral("cannot write to the folder %1").arg(folder.filePath()));
    for (const QString &picture : UnfinishedPictures::complete(folder.filePath()))
        std::printf("qmscroll: an earlier capture is saved as far as it went: %s\n", qPrintable(picture));

    QString failure;
    const std::unique_ptr<ScrollDesktop> desktop = ScrollDesktop::open(&failure);
    if (!desktop)
        return fail(failure);
    if (!desktop->claim())
        return 0;
    if (!arguments->rest.isNull())
        desktop->waitForRest(arguments->rest);
    const std::optional<ScrollDesktop::Region> region = desktop->chooseRegion(&failure);
    if (!failure.isEmpty())
        return fail(failure);
    if (!region)
        return 0;
    if (!desktop->canTurnWheel())
        arguments->mode = ScrollSession::Mode::manual;

    catchSignals();
    CaptureRun run(
        *desktop, *region,
        {.path = arguments->path, .mode = arguments->mode, .heightLimit = arguments->heightLimit, .isAskedToEnd = [] {
             return endingSignal != 0;
         }});
    const CaptureRun::Result result = run.run();
    if (!result.failure.isEmpty())
        return fail(result.failure);
    if (!result.cut.isEmpty())
        return fail(QStringLiteral("the picture ends at %1 pixels: %2").arg(result.height).arg(result.cut));
    if (result.end == ScrollSession::End::cancelled && endingSignal) {
        std::signal(endingSignal, SIG_DFL); // so that the parent process sees the signal
        std::raise(endingSignal);
    }
    if (const char *reason = whyItEndsEarly(result.end))
        std::fprintf(stderr, "qmscroll: the picture ends at %d pixels: %s\n", result.height, reason);
    else if (result.mayBeStale)
        std::fprintf(stderr, "qmscroll: parts of the page may have loaded after they were captured\n");
    return 0;
}
