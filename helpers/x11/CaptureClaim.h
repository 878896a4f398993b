#pragma once

#include "helpers/x11/XConnection.h"

namespace qm {

// Only one helper chooses at a time: it owns the selection _QUILLMERE_CAPTURE while it does.
class CaptureClaim
{
public:
    // False when another has it.
    [[nodiscard]] static bool take(XConnection &server); // for as long as the connection lives, or until released
    static void release(XConnection &server);
};

} // namespace qm
