#pragma once

#include <span>

namespace qm {

// Writes all bytes to a pipe from which another program reads what it pastes, and closes it. Any thread; gives up when the reader
// has gone, or has read nothing for 30 s. SIGPIPE is blocked on this thread from then on.
void writeToReader(int pipe, std::span<const char> bytes);

} // namespace qm
