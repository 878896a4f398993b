#pragma once

#include <initializer_list>

namespace qm::Confinement {

// What a program gives up that was given the right to read every key. Both give false if that failed; then it must end.

// Of the groups that the program was given, the one that opens input devices stays, as more of them may be plugged in. An
// ordinary user's own groups cannot be given up.
bool keepOneGroup();

// No more privileges, and only the system calls that reading devices, and finding new ones, takes: files are opened for reading
// only, written is to standard output and errors, and of the device calls those work that ask. Others fail. moreCalls are for
// tests, in which devices are simulated.
bool enter(std::initializer_list<int> moreCalls = {});

} // namespace qm::Confinement
