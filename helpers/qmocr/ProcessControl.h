#pragma once

#include <QtGlobal>

#include <chrono>

namespace qm::ocr {

// What the helper asks of the system for its own processes. Any thread.

// Ends this process, quietly and at once, when the other end of this pipe is closed, that is when whoever held it is gone.
// Not for a file that something else is read from by polling for hang-up. Never called twice for one descriptor.
void endWhenHungUp(int descriptor);

// For a worker, which opens files of any origin and works in the background: low priority, a limit to its memory in
// bytes of address space, first in line should the system run out, no core files.
void confineWorker(quint64 memoryLimit);

// Processor time that another process has used so far; zero when it cannot be told.
std::chrono::milliseconds processorTime(qint64 process);

} // namespace qm::ocr
