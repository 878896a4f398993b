#pragma once

#include "imaging/Image.h"

#include <QString>

#include <optional>

namespace qm {

// Annotated pictures as files beside the screenshots. Any thread.
namespace Export {

// Writes the picture as PNG into the folder, which must exist, under the first free name of "shot-annotated.png",
// "shot-annotated-2.png", "shot-annotated-3.png", ... for a source file "shot.png". It appears there complete, and a file
// that another program puts there meanwhile is not overwritten.
// The path written; nothing when there are no pixels or they cannot be written, and then nothing is left behind.
std::optional<QString> save(const Image &image, const QString &sourcePath, const QString &folder);

} // namespace Export
} // namespace qm
