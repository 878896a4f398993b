#pragma once

namespace qm {

// Scrolling capture of a region, by the helper qmscroll. Main thread.
namespace ScrollCapture {

// Starts the helper on a new file in the capture folder and returns at once. The helper is not waited for; its picture
// comes into the index like any other. No helper, or it cannot be started: nothing happens.
void start();

} // namespace ScrollCapture
} // namespace qm
