#include "index/TextMatch.h"

#include <QRegularExpression>

namespace qm {

// Wildcards match lazily: only what was meant should be highlighted.
static QRegularExpression expressionFor(const QString &searched)
{
    QString core = searched;
    while (core.startsWith(u'%'))
        core.remove(0, 1);
    while (core.endsWith(u'%'))
        core.chop(1);
    QString pattern;
    bool literal = false;
    for (const char32_t c :
         core.toStdU32String()) { // by characters: a backslash between two surrogates is no expression
        if (c == U'%') {
            pattern += QStringLiteral(".*?");
        } else if (c == U'_') {
            pattern += u'.';
        } else {
            const QString character = QString::fromUcs4(&c, 1);
            const bool letter = (c >= U'a' && c <= U'z') || (c >= U'A' && c <= U'Z');
            pattern += letter ? QStringLiteral("[%1%2]").arg(character.toLower(), character.toUpper())
                              : QRegularExpression::escape(character);
            literal = true;
        }
    }
    return literal ? QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption) : QRegularExpression();
}

std::optional<TextMatch::Range> TextMatch::find(const QString &text, const QString &searched, qsizetype from)
{
    const QRegularExpression expression = expressionFor(searched);
    if (expression.pattern().isEmpty())
        return std::nullopt;
    const QRegularExpressionMatch match = expression.match(text, from);
    return match.hasMatch() ? std::optional(Range{match.capturedStart(), match.capturedLength()}) : std::nullopt;
}

TextMatch::Excerpt TextMatch::excerpt(const QString &text, const QString &searched, int maxLength)
{
    Range match = find(text, searched).value_or(Range());
    // A match may span lines; show the one it begins in.
    const qsizetype lineStart = match.start == 0 ? 0 : text.lastIndexOf(u'\n', match.start - 1) + 1;
    qsizetype lineEnd = text.indexOf(u'\n', match.start);
    if (lineEnd < 0)
        lineEnd = text.size();
    QString line = text.sliced(lineStart, lineEnd - lineStart);
    match.start -= lineStart;
    match.length = std::min(match.length, line.size() - match.start);

    if (line.size() > maxLength) {
        qsizetype first = std::clamp<qsizetype>(match.start - maxLength / 3, 0, line.size() - maxLength);
        qsizetype last = first + maxLength - 1;
        const bool cutBefore = first > 0, cutBehind = last + 1 < line.size();
        // "…" takes the place of one unit at either end, never of half a surrogate pair.
        if (cutBefore && line[first + 1].isLowSurrogate())
            ++first;
        if (cutBehind && line[last].isLowSurrogate())
            --last;
        line = line.sliced(first, last + 1 - first);
        match.start -= first;
        if (cutBefore)
            line[0] = u'…';
        if (cutBehind)
            line[line.size() - 1] = u'…';
        match.length = std::min(match.length, line.size() - match.start);
    }
    return {line, match};
}

} // namespace qm
