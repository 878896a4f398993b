#include "library/PictureText.h"

#include <QTextBoundaryFinder>

#include <algorithm>
#include <cmath>

namespace qm {

PictureText::PictureText(const QString &text, const TextBoxes &boxes)
    : m_text(text)
    , m_boxes(boxes)
{
}

bool PictureText::hasTextAt(QPointF point) const
{
    return !isEmpty() && QRectF(nearest(point).box).contains(point);
}

// Of the words at the point's height the one beside it; between lines those of the nearer one.
const TextBoxes::Word &PictureText::nearest(QPointF point) const
{
    const auto beyond = [](double value, double first, double last) {
        return std::max({first - value, value - last, 0.0});
    };
    const auto distance = [&](const TextBoxes::Word &word) {
        const QRectF box(word.box);
        return std::pair(beyond(point.y(), box.top(), box.bottom()), beyond(point.x(), box.left(), box.right()));
    };
    return *std::min_element(m_boxes.words.begin(), m_boxes.words.end(),
                             [&](const auto &one, const auto &other) { return distance(one) < distance(other); });
}

qsizetype PictureText::positionAt(QPointF point) const
{
    const TextBoxes::Word &word = nearest(point);
    const double part = std::clamp((point.x() - word.box.x()) / word.box.width(), 0.0, 1.0);
    const qsizetype position = word.start + qsizetype(std::lround(part * double(word.length)));
    // Not into the middle of a character.
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, m_text);
    finder.setPosition(position);
    return finder.isAtBoundary() ? position : std::max<qsizetype>(0, finder.toPreviousBoundary());
}

TextMatch::Range PictureText::wordAt(QPointF point) const
{
    const TextBoxes::Word &word = nearest(point);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Word, m_text); // Japanese words have many boxes
    finder.setPosition(word.start);
    const qsizetype start = finder.isAtBoundary() ? word.start : std::max<qsizetype>(0, finder.toPreviousBoundary());
    finder.setPosition(start);
    const qsizetype end = finder.toNextBoundary();
    return {start, std::max(end, word.start + word.length) - start};
}

TextMatch::Range PictureText::lineAt(QPointF point) const
{
    return TextMatch::lineAt(m_text, nearest(point).start);
}

} // namespace qm
