#include "helpers/qmocr/Rows.h"

#include "helpers/qmocr/Gaps.h"
#include "helpers/qmocr/Unions.h"

#include <algorithm>
#include <vector>

namespace qm::ocr {

// Letters of one row.
static bool areBeside(const QRect &a, const QRect &b, int textHeight)
{
    const int widest = std::max(textHeight, std::max(a.height(), b.height()) * 6 / 10);
    return gapBeside(a, b) <= widest && -gapBelow(a, b) * 2 >= std::min(a.height(), b.height());
}

// Strokes of the same letters: too near to each other for two lines.
static bool areHalves(const QRect &a, const QRect &b, int textHeight)
{
    return (a | b).height() * 5 <= textHeight * 9 && gapBelow(a, b) * 2 <= textHeight &&
           -gapBeside(a, b) * 5 >= std::min(a.width(), b.width()) * 3;
}

// Single characters, each in a cell of its own: terminals give them two of a font that is not made for them.
static bool areApart(const QRect &a, const QRect &b)
{
    const int em = std::max(a.height(), b.height());
    return a.width() * 4 <= em * 5 && b.width() * 4 <= em * 5 && gapBeside(a, b) * 2 <= em * 3 &&
           -gapBelow(a, b) * 2 >= std::min(a.height(), b.height());
}

// The boxes around those that belong together; near tells it of two that are at most reach pixels apart in x.
template<class Near>
static std::vector<QRect> united(std::vector<QRect> boxes, int reach, const Near &near)
{
    std::sort(boxes.begin(), boxes.end(), [](const QRect &a, const QRect &b) { return a.left() < b.left(); });
    Unions unions(boxes.size());
    for (size_t i = 0; i < boxes.size(); ++i)
        for (size_t k = i + 1; k < boxes.size() && boxes[k].left() <= boxes[i].right() + 1 + reach; ++k)
            if (near(boxes[i], boxes[k]))
                unions.join(i, k);
    std::vector<QRect> found(boxes.size());
    for (size_t i = 0; i < boxes.size(); ++i)
        found[unions.of(i)] |= boxes[i];
    std::erase_if(found, [](const QRect &box) { return box.isNull(); });
    return found;
}

QList<QRect> rowsAmong(const Components &spots, int textHeight)
{
    const int highest = 4 * textHeight, widest = 6 * textHeight; // of a letter
    std::vector<QRect> letters;
    for (const Component &spot : spots.all())
        if (spot.box.height() <= highest && spot.box.width() <= widest && spot.box.width() > 1)
            letters.push_back(spot.box);
    std::vector<QRect> rows = united(std::move(letters), std::max(textHeight, highest * 6 / 10),
                                     [&](const QRect &a, const QRect &b) { return areBeside(a, b, textHeight); });
    rows = united(std::move(rows), 0, [&](const QRect &a, const QRect &b) { return areHalves(a, b, textHeight); });
    rows = united(std::move(rows), highest * 3 / 2, areApart);
    QList<QRect> result;
    std::copy_if(rows.begin(), rows.end(), std::back_inserter(result),
                 [&](const QRect &row) { return row.height() * 3 >= textHeight * 2; });
    return result;
}

} // namespace qm::ocr
