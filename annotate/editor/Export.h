#pragma once

#include "imaging/Image.h"

#include <QString>

#include <optional>

namespace qm {

// Saves annotated pictures next to the screenshots. Any thread.
namespace Export {

// Writes the picture as PNG into the folder, which must exist, under the first free name of "shot-annotated.png",
// "shot-annotated-2.png", "shot-annotated-3.png", ... for a source file "shot.png". The file appears complete, and
// never overwrites one that another program creates meanwhile.
// Returns the path written; std::nullopt if there are no pixels or writing fails, in which case nothing is left behind.
std::optional<QString> save(const Image &image, const QString &sourcePath, const QString &folder);

} // namespace Export
} // namespace qm
