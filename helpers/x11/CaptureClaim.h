#pragma once

#include "helpers/x11/XConnection.h"

namespace qm {

// Only one helper lets the user choose at a time: meanwhile it owns the selection _QUILLMERE_CAPTURE.
class CaptureClaim
{
public:
    // False if another helper has it.
    [[nodiscard]] static bool take(XConnection &server); // until released or the connection closes
    static void release(XConnection &server);
};

} // namespace qm
