#pragma once

#include <QImage>

namespace qm::RenderedScreen {

// What a photograph is to a codec: clouds of noise in many octaves, and a sensor's grain. RGB32, the same at every call.
QImage photo(QSize pixels);

} // namespace qm::RenderedScreen
