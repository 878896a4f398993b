#pragma once

#include <QtGlobal>

#include <array>
#include <span>

namespace qm {

// A Huffman code as deflate wants it: canonical, no code longer than a limit (RFC 1951, 3.2.2).
struct PrefixCode {
    static constexpr int mostSymbols = 286;

    // For symbols that occur so often each, less than 2^32 times together; one that does not occur gets no code. At least two
    // symbols get one, as some decoders refuse a code that leaves bits unused.
    static PrefixCode of(std::span<const quint32> counts, int longest);

    std::array<quint8, mostSymbols> lengths{}; // bits; 0 where there is no code
    std::array<quint16, mostSymbols> codes{};  // the first bit lowest, as they go into the stream
};

} // namespace qm
