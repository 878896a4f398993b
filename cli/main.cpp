#include "cli/Commands.h"
#include "config/ConfigStore.h"
#include "config/UnfinishedPictures.h"
#include "ui/AppLocale.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

using namespace qm;
using AppLocale::text;

static QString usage()
{
    return text(u"usage: qms COMMAND [OPTION...]\n"
                "\n"
                "  scan                 bring the index in line with the folders\n"
                "  ocr [--all]          read one batch of waiting pictures, or all of them\n"
                "  search TEXT...       list pictures that contain TEXT, newest first;\n"
                "                       % is any text, _ any character\n"
                "  list                 list the newest pictures\n"
                "  status [--failed]    show the paths, counts and settings in force,\n"
                "                       or the pictures that cannot be read, and why\n"
                "  forget FILE...       take the text of pictures out of the index; they are\n"
                "                       not read again until they change\n"
                "\n"
                "  --limit N            show at most N results of search and list (200)\n"
                "  --json               print one JSON object per line\n"
                "  --help, --version\n"
                "\n"
                "exit codes: 0 done, 1 nothing found, 2 usage error or failure",
                u"使い方: qms コマンド [オプション...]\n"
                "\n"
                "  scan                 フォルダーの内容を索引に反映する\n"
                "  ocr [--all]          待っている画像をひとまとまり（--all ならすべて）読み取る\n"
                "  search 文字列...     文字列を含む画像を新しい順に表示する\n"
                "                       % は任意の文字列、_ は任意の一文字\n"
                "  list                 新しい画像の一覧\n"
                "  status [--failed]    使用中のパス、件数、設定（--failed なら読み取れない画像とその理由）\n"
                "  forget ファイル...   画像の文字を索引から消去する（変更されるまで読み取らない）\n"
                "\n"
                "  --limit N            search と list の件数の上限（200）\n"
                "  --json               1行に1つのJSONオブジェクト\n"
                "  --help, --version\n"
                "\n"
                "終了コード: 0 完了、1 見つからない、2 使い方の誤りまたは失敗");
}

static Exit run(const QCommandLineParser &parser, Console &console)
{
    const QStringList words = parser.positionalArguments();
    const QString command = words.value(0);
    const auto wrong = [&](const QString &what) { return console.fail(what + u'\n' + usage()); };
    bool isNumber = true;
    const int limit =
        parser.isSet(QStringLiteral("limit")) ? parser.value(QStringLiteral("limit")).toInt(&isNumber) : 200;
    if (!isNumber || limit < 1)
        return wrong(
            text(u"--limit must be a whole number, 1 or greater", u"--limit には1以上の整数を指定してください"));
    const bool searches = command == u"search";
    const bool forgets = command == u"forget";
    if (searches || forgets ? words.size() < 2 : words.size() != 1)
        return wrong(words.isEmpty()
                         ? text(u"no command given", u"コマンドを指定してください")
                         : text(u"wrong number of arguments to %1", u"%1 の引数の数が違います").arg(command));
    if (parser.isSet(QStringLiteral("all")) && command != u"ocr")
        return wrong(text(u"--all can only be used with ocr", u"--all は ocr でだけ使えます"));
    const bool failures = parser.isSet(QStringLiteral("failed"));
    if (failures && command != u"status")
        return wrong(text(u"--failed can only be used with status", u"--failed は status でだけ使えます"));
    if (parser.isSet(QStringLiteral("limit")) && !searches && command != u"list")
        return wrong(
            text(u"--limit can only be used with search and list", u"--limit は search と list でだけ使えます"));

    if (command == u"scan")
        return Commands::scan(console);
    if (command == u"ocr")
        return Commands::ocr(console,
                             parser.isSet(QStringLiteral("all")) ? Commands::Batches::all : Commands::Batches::one);
    if (searches) // the words as they would stand in a picture
        return Commands::search(console, words.sliced(1).join(u' '), limit);
    if (forgets)
        return Commands::forget(console, words.sliced(1));
    if (command == u"list")
        return Commands::list(console, limit);
    if (command == u"status")
        return failures ? Commands::failures(console) : Commands::status(console);
    return wrong(text(u"no such command: %1", u"そのようなコマンドはありません: %1").arg(command));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{QStringLiteral("all"), QString()},
                       {QStringLiteral("failed"), QString()},
                       {QStringLiteral("json"), QString()},
                       {QStringLiteral("limit"), QString(), QStringLiteral("N")},
                       {{QStringLiteral("h"), QStringLiteral("help")}, QString()},
                       {{QStringLiteral("v"), QStringLiteral("version")}, QString()}});
    const bool understood = parser.parse(application.arguments());
    Console console(understood && parser.isSet(QStringLiteral("json")));
    if (!understood)
        return int(console.fail(parser.errorText() + u'\n' + usage()));
    if (parser.isSet(QStringLiteral("help"))) {
        console.line(usage());
        return 0;
    }
    if (parser.isSet(QStringLiteral("version"))) {
        console.line(QStringLiteral("qms " QM_VERSION));
        return 0;
    }
    for (const QString &picture : UnfinishedPictures::complete(ConfigStore::resolveCaptureDir()))
        console.remark(text(u"An interrupted scrolling capture is saved as far as it went: %1",
                            u"中断されたスクロールキャプチャを途中まで保存しました: %1")
                           .arg(picture));
    Exit exit = run(parser, console);
    if (std::fflush(stdout) != 0)
        exit = console.fail(text(u"the output could not be written", u"出力を書き込めませんでした"));
    return int(exit);
}
