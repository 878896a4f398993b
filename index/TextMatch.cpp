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
    for (const QChar c : core) {
        if (c == u'%') {
            pattern += QStringLiteral(".*?");
        } else if (c == u'_') {
            pattern += u'.';
        } else {
            const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
            pattern += letter ? QStringLiteral("[%1%2]").arg(c.toLower(), c.toUpper())
                              : QRegularExpression::escape(QString(c));
            literal = true;
        }
    }
    // Escaping by UTF-16 units is safe: nothing is inserted between the halves of a surrogate pair.
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
        const qsizetype lead = std::clamp<qsizetype>(match.start - maxLength / 3, 0, line.size() - maxLength);
        const bool cutBehind = lead + maxLength < line.size();
        line = line.sliced(lead, maxLength);
        match.start -= lead;
        if (lead > 0)
            line[0] = u'…';
        if (cutBehind)
            line[line.size() - 1] = u'…';
        match.length = std::min(match.length, line.size() - match.start);
    }
    return {line, match};
}

} // namespace qm
