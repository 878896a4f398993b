#pragma once

#include "helpers/x11/XConnection.h"

namespace qm {

// Waits until a part of the screen (pixels) has come to rest after a menu or a card that covered it was taken away. The
// windows below repaint when they get to it, and compositors fade out what has gone. Returns after 200 to 600 ms; what
// still moves then (a film, a clock) is not waited for.
void waitForRest(XConnection &server, const QRect &part);

} // namespace qm
