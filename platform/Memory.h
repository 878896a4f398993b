#pragma once

namespace qm::Memory {

// Call once at the start of a program that decodes pictures: large blocks go back to the system when they are freed,
// whichever thread had them. The allocator would otherwise adapt and keep them.
void returnLargeBlocks();
// Returns what is free at the moment. Any thread; takes milliseconds.
void returnFree();

} // namespace qm::Memory
