#pragma once

#include <QtGlobal>

#include <chrono>

namespace qm::ocr {

// System calls about the helper's own processes. Any thread.

// Ends this process, quietly and at once, when the other end of this pipe is closed, that is, when its holder is gone.
// Not for a descriptor that other code polls for hang-up. Call it only once per descriptor.
void endWhenHungUp(int descriptor);

// For a worker, which opens untrusted files in the background: low priority, a limit on its address space in bytes,
// first to be killed when memory runs out, no core files.
void confineWorker(quint64 memoryLimit);

// From here on, neither this process nor what it may become can write, create or remove files, run programs, open sockets or
// reach other processes: a picture that takes over its decoder gets no further. Reading stays possible. False if that
// failed; then nothing untrusted should be opened. macOS has nothing of the kind: true, and nothing is confined.
bool enterSandbox();

// CPU time used by another process so far; zero if unknown.
std::chrono::milliseconds processorTime(qint64 process);

} // namespace qm::ocr
