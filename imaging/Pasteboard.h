#pragma once

#include "imaging/Image.h"

class QMimeData;

namespace qm {

// The general pasteboard. Main thread.
namespace Pasteboard {

// Replaces its content with the picture. Nothing is encoded until another application asks for it, and then only once.
void setImage(const Image &image);

QMimeData *mimeData(const Image &image); // what setImage puts there, also for drags; the caller owns it

} // namespace Pasteboard
} // namespace qm
