#include "tests/helpers/qmscroll/ScrollDriver.h"

#include <QPainter>

#include <algorithm>

namespace qm {

ScrollDriver::ScrollDriver(ScrollScene &shown, int offset)
    : scene(shown)
    , stitcher(shown.frame(0).size(),
               [this](const QImage &rows) {
                   QImage grown(rows.width(), picture.height() + rows.height(), QImage::Format_RGB32);
                   QPainter painter(&grown);
                   painter.drawImage(0, 0, picture);
                   painter.drawImage(0, picture.height(), rows);
                   painter.end();
                   picture = grown;
                   return true;
               })
    , start(offset)
    , at(offset)
    , furthest(offset)
{
    if (look(offset) != Stitcher::Step::first)
        wrong = QStringLiteral("the first frame is not the first");
}

Stitcher::Step ScrollDriver::look(int offset)
{
    const Stitcher::Step step = stitcher.add(scene.frame(offset));
    if (step == Stitcher::Step::joined) {
        const int claimed = at + stitcher.lastShift();
        if (claimed != offset && scene.looksAlike(claimed, offset)) {
            undecidable = true;
        } else if (claimed != offset || stitcher.position() != offset - start) {
            wrong = QStringLiteral("joined %1 to %2 with a shift of %3").arg(at).arg(offset).arg(stitcher.lastShift());
        }
        at = offset;
        furthest = std::max(furthest, at);
    } else if (step == Stitcher::Step::still && offset != at) {
        undecidable = scene.looksAlike(at, offset);
        if (!undecidable)
            wrong = QStringLiteral("still from %1 to %2").arg(at).arg(offset);
    } else if (step == Stitcher::Step::failed) {
        wrong = QStringLiteral("failed");
    }
    return step;
}

bool ScrollDriver::scroll(int by)
{
    for (; by != 0; by /= 2) {
        const int offset = std::clamp(at + by, 0, scene.lastOffset());
        if (offset == at)
            return true;
        const Stitcher::Step step = look(offset);
        if (!wrong.isEmpty() || undecidable)
            return false;
        if (step == Stitcher::Step::joined)
            return true;
    }
    stuck = true;
    return false;
}

void ScrollDriver::toTheEnd(const std::function<int()> &step)
{
    while (at < scene.lastOffset() && scroll(step())) {
    }
    if (wrong.isEmpty() && !stuck && !undecidable && look(at) == Stitcher::Step::joined)
        wrong = QStringLiteral("joined at the end of the page");
}

void ScrollDriver::finish()
{
    const int height = stitcher.height();
    if (!stitcher.finish() && wrong.isEmpty())
        wrong = QStringLiteral("did not finish");
    if (height != picture.height() && wrong.isEmpty())
        wrong = QStringLiteral("promised %1 rows, handed over %2").arg(height).arg(picture.height());
    if (wrong.isEmpty() && !undecidable)
        wrong = scene.difference(picture, start, furthest);
}

} // namespace qm
