#include "helpers/qmocr/ReadingOrder.h"

#include "helpers/qmocr/Gaps.h"

#include <algorithm>

namespace qm::ocr {

static bool isBefore(const QRect &a, const QRect &b)
{
    const bool inRow = -gapBelow(a, b) * 2 >= std::min(a.height(), b.height());
    return inRow ? a.center().x() < b.center().x() : a.center().y() < b.center().y();
}

void insertInOrder(QList<Line> &lines, const Line &line)
{
    qsizetype best = 0;
    int wrong = 0, least = 0; // as many as if it were the first, and so many more
    for (qsizetype i = 0; i < lines.size(); ++i) {
        wrong += isBefore(lines[i].box, line.box) ? -1 : 1;
        if (wrong < least) {
            least = wrong;
            best = i + 1;
        }
    }
    lines.insert(best, line);
}

} // namespace qm::ocr
