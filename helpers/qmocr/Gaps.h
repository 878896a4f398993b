#pragma once

#include <QRect>

#include <algorithm>

namespace qm::ocr {

// Pixels between two boxes; negative if they overlap.
inline int gapBeside(const QRect &a, const QRect &b)
{
    return std::max(a.left(), b.left()) - std::min(a.right(), b.right()) - 1;
}

inline int gapBelow(const QRect &a, const QRect &b)
{
    return std::max(a.top(), b.top()) - std::min(a.bottom(), b.bottom()) - 1;
}

} // namespace qm::ocr
