#pragma once

#include <QtGlobal>

#include <array>
#include <span>

namespace qm {

// A Huffman code as required by deflate: canonical, with a maximum code length (RFC 1951, 3.2.2).
struct PrefixCode {
    static constexpr int mostSymbols = 286;

    // Builds the code for these symbol frequencies, whose sum must be below 2^32; symbols that do not occur get no
    // code. At least two symbols get one, as some decoders refuse incomplete codes.
    static PrefixCode of(std::span<const quint32> counts, int longest);

    std::array<quint8, mostSymbols> lengths{}; // bits; 0 for no code
    std::array<quint16, mostSymbols> codes{};  // first bit lowest, as in the stream
};

} // namespace qm
