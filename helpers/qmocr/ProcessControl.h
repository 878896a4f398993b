#pragma once

#include <QtGlobal>

#include <chrono>

namespace qm::ocr {

// System calls about the helper's own processes. Any thread.

// Ends this process, quietly and at once, when the other end of this pipe is closed, that is, when its holder is gone.
// Not for a descriptor that other code polls for hang-up. Call it only once per descriptor.
void endWhenHungUp(int descriptor);

// CPU time used by another process so far; zero if unknown.
std::chrono::milliseconds processorTime(qint64 process);

} // namespace qm::ocr
