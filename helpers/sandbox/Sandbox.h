#pragma once

#include <QtGlobal>

#include <chrono>

namespace qm::Sandbox {

// For a process that opens pictures of unknown origin and may be taken over by one. Once, before the first; main thread.

// Limits the address space, in bytes, and if `time` is not zero the processor time, after which the process is killed. It is
// the first to be killed when memory runs out, and leaves no core file.
void limit(quint64 memory, std::chrono::seconds time = {});

// From here on, neither this process nor what it may become can write, create or remove files, run programs, open sockets or
// reach other processes: a picture that takes over its decoder gets no further. Reading stays possible, and writing to what
// is open. False if that failed; then nothing untrusted should be opened. macOS has nothing of the kind: true, and nothing
// is confined.
bool enter();

// The same for a whole program. With the address sanitizer, whose reports are files and would be lost, only where
// QM_CONFINED is set in the environment: for tests of what has to go on working.
bool enterForGood();

} // namespace qm::Sandbox
