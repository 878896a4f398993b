#include "index/TextMatch.h"

#include "index/LikePattern.h"

#include <algorithm>

namespace qm {

namespace {

// A place in a text's UTF-8, from which the units before the next one are counted on.
struct Position {
    qsizetype bytes = 0;
    qsizetype units = 0;

    qsizetype unitsAt(const QByteArray &utf8, qsizetype where)
    {
        for (; bytes < where; ++bytes) {
            const auto byte = uchar(utf8[bytes]);
            units += (byte & 0xC0) == 0x80 ? 0 : byte >= 0xF0 ? 2 : 1;
        }
        return units;
    }
};

} // namespace

QList<TextMatch::Range> TextMatch::findAll(const QString &text, const QStringList &terms, int limit)
{
    const QByteArray utf8 = text.toUtf8();
    const std::string_view bytes(utf8.constData(), size_t(utf8.size()));
    QList<Range> all;
    for (const QString &term : terms) {
        const LikePattern pattern('%' + term.toStdString() + '%');
        Position position;
        int count = 0;
        for (size_t from = 0; count < limit; ++count) {
            const std::optional<LikePattern::Range> found = pattern.find(bytes, from);
            if (!found)
                break;
            from = found->start + found->length;
            const qsizetype start = position.unitsAt(utf8, qsizetype(found->start));
            all.append({start, position.unitsAt(utf8, qsizetype(from)) - start});
        }
    }
    if (terms.size() > 1) {
        std::sort(all.begin(), all.end(), [](const Range &a, const Range &b) { return a.start < b.start; });
        qsizetype end = 0;
        all.removeIf([&](const Range &range) {
            const bool overlaps = range.start < end;
            end = overlaps ? end : range.start + range.length;
            return overlaps;
        });
        all.resize(std::min<qsizetype>(all.size(), limit));
    }
    return all;
}

TextMatch::Range TextMatch::lineAt(const QString &text, qsizetype position)
{
    const qsizetype start = position == 0 ? 0 : text.lastIndexOf(u'\n', position - 1) + 1;
    const qsizetype end = text.indexOf(u'\n', position);
    return {start, (end < 0 ? text.size() : end) - start};
}

TextMatch::Excerpt TextMatch::excerpt(const QString &text, const QStringList &terms, int maxLength)
{
    Range match = findAll(text, terms, 1).value(0);
    // A match may span lines; show the one it begins in.
    const Range whole = lineAt(text, match.start);
    QString line = text.sliced(whole.start, whole.length);
    match.start -= whole.start;
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
