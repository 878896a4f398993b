#pragma once

#include "capture/CaptureRunner.h"

namespace qm {

// What becomes of a region whose text was asked for. Any thread.
struct TextCapture {
    QString copied = {}; // goes to the clipboard, unless it is empty
    QString title = {};  // is said to the user
    QString details = {};

    static TextCapture of(const CaptureResult &result); // of CaptureRunner::captureText
};

} // namespace qm
