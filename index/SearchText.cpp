#include "index/SearchText.h"

namespace qm {

static bool breaks(QChar c)
{
    return c.isSpace() && (c < u' ' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator || c == QChar(0x85));
}

QString SearchText::asTyped(const QString &typed)
{
    QString text;
    for (qsizetype i = 0; i < typed.size();) {
        qsizetype end = i;
        bool broken = false;
        for (; end < typed.size() && typed[end].isSpace(); ++end)
            broken = broken || breaks(typed[end]);
        if (end == i)
            end = i + 1;
        text += broken ? QStringView(u"%") : QStringView(typed).sliced(i, end - i);
        i = end;
    }
    return text;
}

QString SearchText::pattern(const QString &typed)
{
    return u'%' + asTyped(typed) + u'%';
}

QStringList SearchText::words(const QString &typed)
{
    QStringList words = typed.simplified().split(u' ', Qt::SkipEmptyParts);
    words.removeDuplicates();
    return words;
}

QStringList SearchText::terms(const QString &typed, SearchResult::Match match)
{
    if (match == SearchResult::Match::words)
        return words(typed);
    return typed.isEmpty() ? QStringList() : QStringList(asTyped(typed));
}

} // namespace qm
