#include "app/AppDelegate.h"
#include "app/SingleInstance.h"
#include "imaging/DecoderProcess.h"
#include "platform/Memory.h"
#include "platform/SystemStartup.h"
#include "platform/TerminationSignals.h"
#include "platform/ToolPaths.h"
#include "platform/WindowActivation.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QTranslator>

#include <cstdio>
#include <cstdlib>

using namespace qm;
using namespace std::chrono_literals;

static QString usage()
{
    return AppLocale::text(u"usage: quillmere [COMMAND]\n"
                           "\n"
                           "Without a command, Quillmere starts; if it is already running, its library opens.\n"
                           "\n"
                           "  capture-region, capture-window, capture-scroll\n"
                           "  capture-screen [--all]   the monitor under the pointer, or all\n"
                           "  capture-last             the last region again\n"
                           "  capture-text             the text in a region: copied, no picture\n"
                           "    each with --delay SECONDS: open menus are captured, too\n"
                           "  library, settings\n"
                           "  annotate FILE\n"
                           "  quit\n",
                           u"使い方: quillmere [コマンド]\n"
                           "\n"
                           "コマンドがなければ Quillmere を起動します。すでに起動していればライブラリを開きます。\n"
                           "\n"
                           "  capture-region, capture-window, capture-scroll\n"
                           "  capture-screen [--all]   ポインターのある画面、またはすべての画面\n"
                           "  capture-last             前回の範囲をもう一度\n"
                           "  capture-text             範囲内の文字をコピー（画像は残さない）\n"
                           "    いずれも --delay 秒数 を付けると、開いたメニューも撮れます\n"
                           "  library, settings\n"
                           "  annotate ファイル\n"
                           "  quit\n");
}

// Handles what needs no display: usage errors, help, and commands for a running instance. Returns the exit code, or
// std::nullopt to continue.
static std::optional<int> doneWithoutADisplay(int argc, char **argv, std::optional<Command> &command)
{
    QCoreApplication core(argc, argv);
    const QStringList words = core.arguments().sliced(1);
    if (words == QStringList(QStringLiteral("--version"))) {
        std::puts("quillmere " QM_VERSION);
        return 0;
    }
    if (words == QStringList(QStringLiteral("--help")) || words == QStringList(QStringLiteral("-h"))) {
        std::fputs(qUtf8Printable(usage()), stdout);
        return 0;
    }
    command = Command::fromWords(words);
    if (!command) {
        std::fputs(qUtf8Printable(usage()), stderr);
        return 2;
    }
    command->activation = WindowActivation::takeOwn();
    if (SingleInstance::handOver(*command) || command->verb == Command::Verb::quit)
        return 0;
    if (!SystemStartup::hasDisplay()) {
        std::fputs(qUtf8Printable(AppLocale::text(u"quillmere: there is no display to show anything on\n",
                                                  u"quillmere: 表示先のディスプレイがありません\n")),
                   stderr);
        return 1;
    }
    if (!SystemStartup::connectToSession())
        std::fputs(qUtf8Printable(AppLocale::text(u"quillmere: the session bus does not answer; going on without it\n",
                                                  u"quillmere: セッションバスが応答しないため、使わずに続行します\n")),
                   stderr);
    return std::nullopt;
}

int main(int argc, char **argv)
{
    std::optional<Command> command;
    if (const std::optional<int> code = doneWithoutADisplay(argc, argv, command))
        return *code;

    Memory::returnLargeBlocks();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quillmere"));
    QApplication::setApplicationVersion(QStringLiteral(QM_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.quillmere.Quillmere"));
    QApplication::setWindowIcon(Symbol::applicationIcon());
    QApplication::setQuitOnLastWindowClosed(false);

    QTranslator translator; // Qt's own strings: file choosers, context menus
    if (AppLocale::isJapanese() &&
        translator.load(QStringLiteral("qtbase_ja"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&translator);

    DecoderProcess::use(toolPaths().decode.value_or(QString()));
    TerminationSignals::defer();                                    // log-out: what has been read is kept
    TerminationSignals::whenReceived([] { QApplication::exit(); }); // quit() would ask every window first

    AppDelegate delegate;
    QObject::connect(&application, &QApplication::commitDataRequest, [&] { delegate.sessionEnds(); });
    SingleInstance instance;
    if (!instance.listen([&](const Command &received) { delegate.perform(received); }))
        return SingleInstance::handOver(*command) ? 0 : 1; // another start was slightly quicker
    delegate.applicationDidFinishLaunching();
    if (command->verb != Command::Verb::open)
        delegate.perform(*command);
    const int code = QApplication::exec();

    // Neither a capture waiting for its user nor an unreachable network folder may keep the process alive.
    if (!delegate.stop(2s))
        std::_Exit(code);
    return code;
}
