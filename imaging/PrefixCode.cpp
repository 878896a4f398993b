#include "imaging/PrefixCode.h"

#include <algorithm>
#include <utility>

namespace qm {

static constexpr int symbolBits = 9;
static constexpr int deepest = 64; // 32-bit counts make no deeper tree

// Number of symbols at each depth of the tree that repeatedly joins the two rarest. They come in ascending order, so
// joined nodes are ascending too, and the rarest of both kinds are always at the front.
static std::array<int, deepest> depthsOf(std::span<const quint64> symbols)
{
    const int leaves = int(symbols.size()), nodes = 2 * leaves - 1;
    std::array<quint32, 2 * PrefixCode::mostSymbols> weight;
    std::array<quint16, 2 * PrefixCode::mostSymbols> parent;
    for (int i = 0; i < leaves; ++i)
        weight[size_t(i)] = quint32(symbols[size_t(i)] >> symbolBits);
    int leaf = 0, joined = leaves;
    for (int next = leaves; next < nodes; ++next) {
        weight[size_t(next)] = 0;
        for (int child = 0; child < 2; ++child) {
            const bool isLeaf = leaf < leaves && (joined == next || weight[size_t(leaf)] <= weight[size_t(joined)]);
            const int rarest = isLeaf ? leaf++ : joined++;
            weight[size_t(next)] += weight[size_t(rarest)];
            parent[size_t(rarest)] = quint16(next);
        }
    }
    std::array<quint8, 2 * PrefixCode::mostSymbols> depth;
    std::array<int, deepest> atDepth{};
    depth[size_t(nodes - 1)] = 0;
    for (int i = nodes - 2; i >= 0; --i) {
        depth[size_t(i)] = quint8(depth[parent[size_t(i)]] + 1);
        if (i < leaves)
            ++atDepth[depth[size_t(i)]];
    }
    return atDepth;
}

// Truncates codes beyond the limit. They then claim more code space than there is, in units of the longest code, until
// enough shorter ones have been lengthened: each makes room for two, itself and one of the longest.
static void limit(std::array<int, deepest> &atLength, int longest)
{
    for (int i = longest + 1; i < deepest; ++i)
        atLength[size_t(longest)] += std::exchange(atLength[size_t(i)], 0);
    quint32 claimed = 0;
    for (int i = 1; i <= longest; ++i)
        claimed += quint32(atLength[size_t(i)]) << (longest - i);
    for (; claimed > 1u << longest; --claimed) {
        int shorter = longest - 1;
        while (atLength[size_t(shorter)] == 0)
            --shorter;
        --atLength[size_t(shorter)];
        atLength[size_t(shorter + 1)] += 2;
        --atLength[size_t(longest)];
    }
}

static quint32 reversed(quint32 bits) // all 16 bits
{
    bits = (bits & 0x5555) << 1 | (bits >> 1 & 0x5555);
    bits = (bits & 0x3333) << 2 | (bits >> 2 & 0x3333);
    bits = (bits & 0x0f0f) << 4 | (bits >> 4 & 0x0f0f);
    return (bits & 0x00ff) << 8 | bits >> 8;
}

PrefixCode PrefixCode::of(std::span<const quint32> counts, int longest)
{
    std::array<quint64, mostSymbols> storage; // count and symbol in one, for sorting
    size_t used = 0;
    for (size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] > 0)
            storage[used++] = quint64(counts[i]) << symbolBits | i;
    }
    for (size_t i = 0; used < 2; ++i) {
        if (counts[i] == 0)
            storage[used++] = quint64(1) << symbolBits | i;
    }
    const std::span<quint64> symbols(storage.data(), used);
    std::sort(symbols.begin(), symbols.end());
    std::array<int, deepest> atLength = depthsOf(symbols);
    limit(atLength, longest);

    PrefixCode code;
    auto rarest = symbols.begin();
    for (int length = longest; length > 0; --length) {
        for (int i = 0; i < atLength[size_t(length)]; ++i)
            code.lengths[*rarest++ % (1 << symbolBits)] = quint8(length);
    }
    std::array<quint16, 16> next{};
    for (size_t length = 1; length < next.size(); ++length)
        next[length] = quint16((next[length - 1] + atLength[length - 1]) << 1);
    for (size_t i = 0; i < counts.size(); ++i) {
        if (const int length = code.lengths[i]; length > 0)
            code.codes[i] = quint16(reversed(next[size_t(length)]++) >> (16 - length));
    }
    return code;
}

} // namespace qm
