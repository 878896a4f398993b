#pragma once

#include "imaging/Image.h"
#include "platform/Outcome.h"

namespace qm {

// Writes PNG files. Any thread.
namespace PngWriter {

// The picture at path, with its resolution and colour profile. Written beside and then put into place, over a file that
// stands there; on failure nothing is left behind and the old file is untouched.
Outcome write(const QString &path, const Image &image);

} // namespace PngWriter
} // namespace qm
