#include "helpers/qmocr/Columns.h"

#include "helpers/qmocr/Gaps.h"
#include "helpers/qmocr/Unions.h"

#include <algorithm>
#include <vector>

namespace qm::ocr {

// In pixels; what is smaller or larger is no letter, nor a part of one.
static constexpr int smallest = 2, largest = 90;
static constexpr int narrowest = 8; // of a column

// In ems, the size of the font.
static constexpr double closeBelow = 0.6;   // from the ink of one character to the next one's below
static constexpr double stopBelow = 1.3;    // the same after a full stop, or an indented paragraph
static constexpr double clearBeside = 0.25; // around a column
static constexpr double nextColumn = 1.6;   // from a column to the next
static constexpr double longColumn = 4.5;   // nothing but text is that long

namespace {

// Spots one below the other.
struct Stack {
    QRect box;
    int inked = 0;  // rows with something in them
    int pieces = 0; // how often they begin

    int em() const { return box.width(); }
};

} // namespace

static bool isBelow(const QRect &above, const QRect &box)
{
    const int side = std::max({above.width(), above.height(), box.width(), box.height()});
    return gapBelow(above, box) <= closeBelow * side &&
           -gapBeside(above, box) * 2 >= std::min(above.width(), box.width());
}

// boxes are sorted by their tops.
static std::vector<Stack> stacksOf(const std::vector<QRect> &boxes)
{
    Unions unions(boxes.size());
    const auto reach = int(largest * closeBelow);
    for (size_t i = 0; i < boxes.size(); ++i)
        for (size_t k = i + 1; k < boxes.size() && boxes[k].top() <= boxes[i].bottom() + reach; ++k)
            if (isBelow(boxes[i], boxes[k]))
                unions.join(i, k);

    std::vector<Stack> stacks(boxes.size());
    for (size_t i = 0; i < boxes.size(); ++i) {
        Stack &stack = stacks[unions.of(i)];
        const int bottom = stack.box.isNull() ? boxes[i].top() : stack.box.bottom() + 1;
        stack.inked += std::max(0, boxes[i].bottom() + 1 - std::max(bottom, boxes[i].top()));
        stack.pieces += stack.pieces == 0 || boxes[i].top() > bottom;
        stack.box |= boxes[i];
    }
    std::erase_if(stacks, [](const Stack &stack) { return stack.box.isNull() || stack.box.width() > largest; });
    return stacks;
}

// Whether it can be nothing but text: long, of characters that are as wide as high, with little between them.
static bool isLong(const Stack &stack)
{
    const int em = stack.em(), height = stack.box.height();
    return em >= narrowest && height >= longColumn * em && height <= 2 * em * stack.pieces &&
           stack.inked * 5 >= height * 3;
}

// Whether there is hardly anything beside the stack, as near as its characters are to one another.
static bool isClear(const Stack &stack, const std::vector<QRect> &boxes)
{
    const int between = stack.pieces > 1 ? (stack.box.height() - stack.inked) / (stack.pieces - 1) : 0;
    const int room = std::max(int(clearBeside * stack.em()), between);
    const QRect around = stack.box.adjusted(-room, 0, room, 0);
    int beside = 0; // rows
    for (const QRect &box : boxes)
        if (const QRect part = box & around; !part.isEmpty() && !stack.box.contains(box))
            beside += part.height();
    return beside * 8 <= stack.box.height();
}

QList<Columns> columnsAmong(const Components &spots)
{
    std::vector<QRect> boxes;
    for (const Component &spot : spots.all())
        if (const auto [least, most] = std::minmax({spot.box.width(), spot.box.height()});
            least >= smallest && most <= largest)
            boxes.push_back(spot.box);

    std::vector<Stack> stacks = stacksOf(boxes);
    std::vector<Stack> sure;
    std::copy_if(stacks.begin(), stacks.end(), std::back_inserter(sure),
                 [&](const Stack &stack) { return isLong(stack) && isClear(stack, boxes); });

    // From each of them on, what is near and of the same width belongs to the text, however short it is.
    QList<Columns> found;
    for (const Stack &start : sure) {
        if (std::any_of(found.begin(), found.end(), [&](const Columns &c) { return c.box.intersects(start.box); }))
            continue;
        const int em = start.em();
        Columns columns{.box = start.box, .em = em};
        for (QRect before; before != columns.box;) {
            before = columns.box;
            for (const Stack &stack : stacks) {
                const int beside = gapBeside(columns.box, stack.box), below = gapBelow(columns.box, stack.box);
                if (columns.box.contains(stack.box) || stack.em() * 4 > em * 5 || beside > nextColumn * em ||
                    below > stopBelow * em)
                    continue;
                if ((below < 0 || stack.box.height() >= em) && isClear(stack, boxes))
                    columns.box |= stack.box;
            }
        }
        found += columns;
    }
    return found;
}

} // namespace qm::ocr
