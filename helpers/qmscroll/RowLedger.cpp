#include "helpers/qmscroll/RowLedger.h"

#include "helpers/qmscroll/HeldRows.h"

#include <algorithm>
#include <bit>

namespace qm {

static constexpr int pointedAt = 96;   // rows that may differ: what the pointer lights up, now and when it was taken
static constexpr int fewestMarks = 24; // rows that differ from the one above: two lines of text

quint32 RowLedger::markOf(const RowHash &row)
{
    quint32 mark = 0;
    for (const quint32 hash : row)
        mark = mark << 2 | (hash & 3);
    return mark;
}

static quint32 maskOf(const Bands &bands)
{
    quint32 mask = 0;
    for (size_t band = 0; band < bandCount; ++band)
        mask = mask << 2 | (bands[band] ? 3 : 0);
    return mask;
}

static int bandsIn(quint32 marks)
{
    return std::popcount((marks | marks >> 1) & 0x55555555);
}

// Of all the frame's rows.
std::vector<quint32> RowLedger::marksOf(const Part &part)
{
    std::vector<quint32> marks;
    for (const RowHash &row : part.frame.rows)
        marks.push_back(markOf(row));
    return marks;
}

std::vector<quint32> RowLedger::withHeld(const HeldRows &held) const
{
    std::vector<quint32> marks = m_marks;
    for (int row = held.first(); row < held.end(); ++row)
        marks.push_back(markOf(held[row]));
    return marks;
}

std::optional<int> RowLedger::find(const Part &part, const HeldRows &held, int near) const
{
    const quint32 mask = maskOf(part.bands);
    const std::vector<quint32> here = marksOf(part);
    const std::vector<quint32> picture = withHeld(held);
    const int aside = bandsIn(mask) / 4; // columns that go their own way
    int marked = 0;
    for (int y = part.from + 1; y < part.to; ++y)
        marked += bandsIn((here[size_t(y)] ^ here[size_t(y - 1)]) & mask) > aside;
    const int allowed = std::min(pointedAt, marked / 4), end = int(picture.size());
    const auto isAt = [&](int at) {
        const int from = std::max(part.from, -at), to = std::min(part.to, end - at);
        int differ = 2 * (to - from) < part.to - part.from ? allowed + 1 : 0;
        for (int y = from; y < to && differ <= allowed; ++y)
            differ += bandsIn((here[size_t(y)] ^ picture[size_t(at + y)]) & mask) > aside;
        return differ <= allowed;
    };
    for (int away = 0; away <= end + part.frame.height(); ++away) {
        for (const int at : {near - away, near + away}) {
            if (isAt(at))
                return at;
        }
    }
    return {};
}

bool RowLedger::beginsAlike(const Part &part, const HeldRows &held) const
{
    const quint32 mask = maskOf(part.bands);
    const std::vector<quint32> here = marksOf(part), picture = withHeld(held);
    int marks = 0;
    for (int y = part.from; y < std::min(part.to, int(picture.size())); ++y) {
        if ((here[size_t(y)] ^ picture[size_t(y)]) & mask)
            break;
        marks += y > part.from && ((here[size_t(y)] ^ here[size_t(y - 1)]) & mask) != 0;
    }
    return marks >= fewestMarks;
}

bool RowLedger::hasWritten(const Part &part, int least) const
{
    if (part.to - part.from < least)
        return false;
    const quint32 mask = maskOf(part.bands);
    const std::vector<quint32> here = marksOf(part);
    const auto begin = here.begin() + part.from, end = begin + least;
    int marks = 0;
    for (auto row = begin + 1; row < end; ++row)
        marks += ((*row ^ *(row - 1)) & mask) != 0;
    const auto isIn = [&](auto from, auto to) {
        return std::search(from, to, begin, end, [mask](quint32 a, quint32 b) { return ((a ^ b) & mask) == 0; }) != to;
    };
    return marks >= fewestMarks && isIn(m_marks.begin(), m_marks.end()) && !isIn(here.begin(), end - 1);
}

} // namespace qm
