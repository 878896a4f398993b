#pragma once

#include <QImage>

namespace qm {

// Whether two frames show something else. Both RGB32 of the same size; their fourth byte means nothing and may differ.
bool differs(const QImage &frame, const QImage &other);

} // namespace qm
