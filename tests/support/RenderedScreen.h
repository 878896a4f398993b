#pragma once

#include <QImage>

namespace qm::RenderedScreen {

// What a photograph is to a codec: clouds of noise in many octaves, soft light, edges, and a sensor's grain. RGB32, the same
// at every call.
QImage photo(QSize pixels);

} // namespace qm::RenderedScreen
