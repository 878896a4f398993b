#include "ui/HelperReason.h"

#include "ui/AppLocale.h"

#include <QRegularExpression>

namespace qm {

// "%1" stands for anything, which is kept; "%2" for what is another reason, perhaps.
static constexpr std::pair<QStringView, QStringView> reasons[] = {
    // of pictures whose text is to be read
    {u"no such file", u"ファイルがありません"},
    {u"not a file", u"ファイルではありません"},
    {u"too large", u"画像が大きすぎます"},
    {u"not a readable picture", u"画像として読めません"},
    {u"incomplete, perhaps still being written", u"ファイルが途中で終わっています（書き込み中かもしれません）"},
    {u"took too long", u"時間がかかりすぎたため中止しました"},
    {u"not enough memory", u"メモリーが足りません"},
    {u"not enough memory for the language data", u"言語データを読み込むメモリーが足りません"},
    {u"no language data", u"文字認識の言語データがありません"},
    {u"no Tesseract language data is installed", u"文字認識（Tesseract）の言語データがインストールされていません"},
    {u"the reading process failed", u"文字認識のプロセスに問題が起きました"},
    {u"the reading process ended unexpectedly", u"文字認識のプロセスが異常終了しました"},
    {u"this system cannot confine the process that reads pictures",
     u"このシステムでは、画像を読むプロセスを隔離できません"},
    {u"unknown", u"不明"},
    // of the helpers themselves
    {u"%1 cannot be started", u"%1 を起動できません"},
    {u"its answer is not UTF-8", u"応答が UTF-8 ではありません"},
    {u"it ended before it had answered", u"応答する前に終了しました"},
    {u"the capture tool cannot be started", u"撮影プログラムを起動できません"},
    {u"no display server", u"ディスプレイサーバーに接続できません"},
    {u"this compositor shows no monitor, or lets nothing be shown on one",
     u"モニターがないか、このコンポジターではモニターに何も表示できません"},
    {u"not enough memory for the picture of a monitor", u"モニターの画像を保持するメモリーが足りません"},
    {u"the compositor does not show anything", u"コンポジターが画面に何も表示しません"},
    {u"no display to capture from", u"撮影できるディスプレイがありません"},
    {u"cannot load %1", u"%1 を読み込めません"},
    {u"cannot write to the folder %1", u"フォルダー %1 に書き込めません"},
    // of scrolling captures
    {u"qmscroll has ended unexpectedly", u"qmscroll が異常終了しました"},
    {u"this desktop does not let a region be captured while it is scrolled",
     u"このデスクトップでは、スクロールしながら範囲を撮影できません"},
    {u"the display is gone", u"ディスプレイとの接続が切れました"},
    {u"the region could not be read from the screen", u"範囲を画面から読み取れませんでした"},
    {u"cannot write %1: %2", u"%1 に書き込めません（%2）"},
    {u"the picture ends at %1 pixels: %2", u"画像は %1 ピクセルまでです（%2）"},
    // of the system, as programs without a translation get them
    {u"Permission denied", u"アクセス権がありません"},
    {u"No such file or directory", u"ファイルやフォルダーがありません"},
    {u"No space left on device", u"ディスクに空きがありません"},
    {u"Input/output error", u"入出力エラー"},
    {u"Disk quota exceeded", u"ディスクの割り当てを使い切りました"},
    {u"File too large", u"ファイルが大きすぎます"},
    {u"Read-only file system", u"書き込みが禁止されたディスクです"},
};

QString HelperReason::japanese(const QString &english)
{
    for (const auto &[reason, translation] : reasons) {
        if (english == reason)
            return translation.toString();
    }
    for (const auto &[pattern, translation] : reasons) {
        if (!pattern.contains(u"%1"))
            continue;
        QString expression = QRegularExpression::escape(pattern);
        for (const QStringView placeholder : {u"%1", u"%2"})
            expression.replace(QRegularExpression::escape(placeholder), QStringLiteral("(.+)"));
        const auto match = QRegularExpression(QRegularExpression::anchoredPattern(expression)).match(english);
        if (!match.hasMatch())
            continue;
        const QString first = match.captured(1), second = match.captured(2), reason = japanese(second);
        return second.isEmpty() ? translation.toString().arg(first)
                                : translation.toString().arg(first, reason.isEmpty() ? second : reason);
    }
    return {};
}

QString HelperReason::shown(const QString &english)
{
    const QString translated = AppLocale::isJapanese() ? japanese(english) : QString();
    return translated.isEmpty() ? english : translated;
}

} // namespace qm
