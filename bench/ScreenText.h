#pragma once

#include <QRandomGenerator>
#include <QString>
#include <QStringList>

namespace qm::bench {

// Resembles recognised text of a screen: words in both languages, about the given number of UTF-8 bytes.
inline QString screenText(QRandomGenerator &random, qsizetype bytes)
{
    static const QStringList words =
        QStringLiteral(
            "the window shows settings for capture region editor release notes meeting agenda invoice total amount "
            "server error timeout please restart build passed failed test branch merge table column user name password "
            "設定画面 請求書 合計金額 会議の議事録 保存しました キャンセル 検索結果 スクリーンショット 更新履歴 翻訳 "
            "確認してください")
            .split(u' ');
    QString text;
    while (text.toUtf8().size() < bytes)
        text += words[random.bounded(words.size())] + (random.bounded(9) == 0 ? u'\n' : u' ');
    return text;
}

} // namespace qm::bench
