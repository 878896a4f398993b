#pragma once

namespace qm {

// Scrolling capture of a region by the helper qmscroll. Main thread.
namespace ScrollCapture {

// Starts the helper with a new file in the capture folder and returns at once. The helper is not waited for; its
// picture is indexed like any other. Does nothing if the helper is missing or cannot be started.
void start();

} // namespace ScrollCapture
} // namespace qm
