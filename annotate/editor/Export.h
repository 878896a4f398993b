#pragma once

#include "imaging/Image.h"

#include <QString>

namespace qm {

// Saves annotated pictures next to the screenshots. Any thread.
namespace Export {

// Writes the picture as PNG into the folder, which must exist, under the first free name of "shot-annotated.png",
// "shot-annotated-2.png", "shot-annotated-3.png", ... for a source file "shot.png". The file appears complete, and
// never overwrites one that another program creates meanwhile.
// A name that would be too long for a file is cut. If it fails, nothing is left behind.
struct Saved {
    QString path;   // empty if it failed
    QString reason; // why, for the user; empty if it did not
};
Saved save(const Image &image, const QString &sourcePath, const QString &folder);

} // namespace Export
} // namespace qm
