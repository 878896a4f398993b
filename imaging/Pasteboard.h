#pragma once

#include "imaging/Image.h"

namespace qm {

// The general clipboard. Main thread.
namespace Pasteboard { void setImage(const Image &image); }

} // namespace qm
