#include "index/LikePattern.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace qm {

namespace {

using Byte = std::uint8_t;
constexpr std::uint32_t anyCharacter = 0; // a pattern ends at a NUL
constexpr std::uint32_t replacement = 0xFFFD;

bool isContinuation(char c)
{
    return (Byte(c) & 0xC0) == 0x80;
}

// One character as SQLite reads it: whatever continuation bytes follow a leading one belong to it.
std::uint32_t read(std::string_view text, size_t &position)
{
    const Byte first = Byte(text[position++]);
    if (first < 0xC0)
        return first;
    std::uint32_t c = first < 0xE0 ? first & 0x1Fu : first < 0xF0 ? first & 0x0Fu : first < 0xF8 ? first & 0x07u : 0u;
    if (first >= 0xF8 && first < 0xFC)
        c = first & 0x03u;
    else if (first == 0xFD)
        c = 1;
    for (; position < text.size() && isContinuation(text[position]); ++position)
        c = (c << 6) + (Byte(text[position]) & 0x3Fu);
    const bool none = c < 0x80 || (c & 0xFFFFF800u) == 0xD800u || (c & 0xFFFFFFFEu) == 0xFFFEu;
    return none ? replacement : c;
}

template<class Character>
Character small(Character c)
{
    return c >= 'A' && c <= 'Z' ? Character(c + ('a' - 'A')) : c;
}

void append(std::string &utf8, std::uint32_t c)
{
    if (c < 0x80) {
        utf8 += char(c);
    } else if (c < 0x800) {
        utf8 += {char(0xC0 | c >> 6), char(0x80 | (c & 0x3F))};
    } else if (c < 0x10000) {
        utf8 += {char(0xE0 | c >> 12), char(0x80 | (c >> 6 & 0x3F)), char(0x80 | (c & 0x3F))};
    } else {
        utf8 += {char(0xF0 | c >> 18), char(0x80 | (c >> 12 & 0x3F)), char(0x80 | (c >> 6 & 0x3F)),
                 char(0x80 | (c & 0x3F))};
    }
}

// How often a byte is met in English and Japanese, roughly.
int commonness(char c)
{
    constexpr std::string_view frequent = "etaoinsrhldcumfpgwybvkxjqz";
    const Byte byte = Byte(c);
    if (byte == 0xE3 || c == ' ')
        return 100;
    if (byte >= 0xC0 || (byte >= 0x80 && byte <= 0x83))
        return 80;
    if (byte >= 0x80)
        return 25;
    const size_t place = frequent.find(c);
    return place == std::string_view::npos ? 20 : 60 - 2 * int(place);
}

// Sixteen bytes at once, as GCC and Clang support on every processor. Comparing gives 0xFF where it holds; for signed
// numbers that is a single instruction where it takes two for others.
using Bytes = Byte __attribute__((vector_size(16)));
using SignedBytes = std::int8_t __attribute__((vector_size(16)));

Bytes load(const char *at)
{
    Bytes bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

Bytes filled(Byte value)
{
    return Bytes{} + value;
}

bool any(const Bytes &bytes)
{
#ifdef __SSE2__
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(bytes)) != 0;
#else
    std::uint64_t halves[2];
    std::memcpy(halves, &bytes, sizeof halves);
    return (halves[0] | halves[1]) != 0;
#endif
}

// A bit for each byte, the first one lowest.
std::uint32_t bits(const Bytes &bytes)
{
#ifdef __SSE2__
    return std::uint32_t(_mm_movemask_epi8(reinterpret_cast<__m128i>(bytes)));
#else
    std::uint32_t bits = 0;
    for (unsigned i = 0; i < sizeof(Bytes); ++i)
        bits |= std::uint32_t(bytes[i] >> 7) << i;
    return bits;
#endif
}

// A small letter also matches its capital, which differs in one bit.
Byte caseBit(char c)
{
    return c >= 'a' && c <= 'z' ? 0x20 : 0;
}

bool isAt(std::string_view anchor, const char *text)
{
    for (size_t i = 0; i < anchor.size(); ++i) {
        if (small(text[i]) != anchor[i])
            return false;
    }
    return true;
}

// Where the anchor is found, or npos.
size_t search(std::string_view anchor, const size_t (&probes)[2], std::string_view text, size_t from)
{
    if (text.size() < anchor.size())
        return std::string_view::npos;
    const size_t end = text.size() - anchor.size() + 1; // of the places it may begin at
    const char *first = text.data() + probes[0], *second = text.data() + probes[1];
    const Bytes firstCase = filled(caseBit(anchor[probes[0]])), firstByte = filled(Byte(anchor[probes[0]]));
    const Bytes secondCase = filled(caseBit(anchor[probes[1]])), secondByte = filled(Byte(anchor[probes[1]]));
    const auto hitsAt = [&](size_t at) {
        return Bytes(((load(first + at) | firstCase) == firstByte) & ((load(second + at) | secondCase) == secondByte));
    };
    constexpr size_t step = sizeof(Bytes);
    const auto placeIn = [&](const Bytes &hits, size_t at) {
        for (std::uint32_t left = bits(hits); left != 0; left &= left - 1) {
            const size_t place = at + size_t(std::countr_zero(left));
            if (isAt(anchor, text.data() + place))
                return place;
        }
        return std::string_view::npos;
    };
    size_t at = from;
    for (; at + 2 * step <= end; at += 2 * step) {
        const Bytes hits = hitsAt(at), more = hitsAt(at + step);
        if (!any(hits | more))
            continue;
        const size_t place = std::min(placeIn(hits, at), placeIn(more, at + step));
        if (place != std::string_view::npos)
            return place;
    }
    if (end >= from + step) { // the rest, with some that were looked at before
        for (; at < end; at += step) {
            at = std::min(at, end - step);
            if (const size_t place = placeIn(hitsAt(at), at); place != std::string_view::npos)
                return place;
        }
        return std::string_view::npos;
    }
    for (; at < end; ++at) {
        if (small(first[at]) == anchor[probes[0]] && isAt(anchor, text.data() + at))
            return at;
    }
    return std::string_view::npos;
}

// Looks at every byte of a text and the two before it, many at once: whether `isBad` finds none of them to be so, and none
// is the leading byte of four.
template<class IsBad>
bool isFree(std::string_view text, IsBad isBad)
{
    Bytes bad{}, largest{};
    const auto look = [&](const char *at) {
        const Bytes here = load(at);
        bad |= isBad(here, load(at - 1), load(at - 2));
        largest = here > largest ? here : largest;
    };
    // Both ends are looked at in copies, with zeros around them.
    constexpr size_t before = 2, step = sizeof(Bytes), last = before + step - 1;
    char start[before + 2 * step] = {};
    text.copy(start + before, 2 * step - 1);
    look(start + before);
    if (text.size() < 2 * step) {
        look(start + before + step);
    } else {
        for (size_t at = step; at + step <= text.size(); at += step)
            look(text.data() + at);
        char end[before + step] = {};
        std::memcpy(end, text.data() + text.size() - last, last);
        look(end + before);
    }
    return !any(bad | Bytes(largest >= filled(0xF0)));
}

Bytes continues(const Bytes &bytes)
{
    return Bytes(SignedBytes(bytes) < SignedBytes(filled(0xC0)));
}

// No leading byte has more continuation bytes than it announces, or announces three. Only such a sequence can spell a
// character above U+07FF otherwise than in the usual way.
bool isShort(std::string_view text)
{
    return isFree(text, [](const Bytes &here, const Bytes &before, const Bytes &second) {
        const Bytes continuesOrTwo = Bytes(SignedBytes(second) < SignedBytes(filled(0xE0))); // leads no more than two
        return continues(here) & continues(before) & continuesOrTwo;
    });
}

// As many continuation bytes as the leading bytes announce, none of which announces three or may be longer than needed.
bool isWellFormed(std::string_view text)
{
    return isFree(text, [](const Bytes &here, const Bytes &before, const Bytes &second) {
        const Bytes expected = Bytes((before >= filled(0xC0)) | (second >= filled(0xE0)));
        return (continues(here) ^ expected) | Bytes(here == filled(0xE0));
    });
}

std::string_view untilNul(std::string_view text)
{
    const void *nul = text.empty() ? nullptr : std::memchr(text.data(), '\0', text.size());
    return nul ? text.substr(0, size_t(static_cast<const char *>(nul) - text.data())) : text;
}

} // namespace

LikePattern::LikePattern(std::string_view utf8)
{
    const std::string_view pattern = untilNul(utf8);
    Part part;
    for (size_t at = 0; at < pattern.size();) {
        if (pattern[at] != '%') {
            if (pattern[at] == '_') {
                part.characters.push_back(anyCharacter);
                ++at;
            } else {
                part.characters.push_back(small(read(pattern, at)));
            }
            continue;
        }
        if (at == 0)
            m_openStart = true;
        else
            addPart(std::move(part));
        part = {};
        for (; at < pattern.size() && (pattern[at] == '%' || pattern[at] == '_'); ++at)
            part.passed += pattern[at] == '_';
        m_openEnd = at == pattern.size();
    }
    if (!m_openEnd || part.passed > 0)
        addPart(std::move(part));
}

void LikePattern::addPart(Part part)
{
    for (const std::uint32_t c : part.characters) {
        if (c == replacement || c > 0x10FFFF)
            m_others = Others::all; // many malformed sequences are read as the same
        else if (c >= 0x80)
            m_others = std::max(m_others, c < 0x800 ? Others::malformed : Others::tooLong);
    }
    int best = std::numeric_limits<int>::max();
    for (size_t begin = 0; begin < part.characters.size();) {
        size_t end = begin;
        std::string run;
        for (; end < part.characters.size() && part.characters[end] != anyCharacter; ++end)
            append(run, part.characters[end]);
        if (!run.empty()) {
            const auto commonnessAt = [&](size_t i) {
                const bool endsKana =
                    i >= 2 && run[i - 2] == '\xE3'; // more frequent than the end of any other character
                return commonness(run[i]) + (endsKana ? 15 : 0);
            };
            size_t rarest[2] = {0, run.size() - 1};
            for (size_t i = 0; i < run.size(); ++i) {
                if (commonnessAt(i) < commonnessAt(rarest[0])) {
                    rarest[1] = rarest[0];
                    rarest[0] = i;
                } else if (i != rarest[0] && commonnessAt(i) < commonnessAt(rarest[1])) {
                    rarest[1] = i;
                }
            }
            const int cost = commonnessAt(rarest[0]) + (run.size() > 1 ? commonnessAt(rarest[1]) : 100);
            if (cost < best) {
                best = cost;
                part.anchor = run;
                part.anchorIndex = begin;
                std::copy(std::begin(rarest), std::end(rarest), std::begin(part.probes));
            }
        }
        begin = end + 1;
    }
    if (part.anchorIndex > 0)
        m_others = std::max(m_others, Others::malformed); // characters before it are counted from their end
    m_parts.push_back(std::move(part));
}

// Where the part might begin, at or after from; npos if nowhere.
size_t LikePattern::candidate(const Part &part, std::string_view text, size_t from, Spelling spelling)
{
    if (spelling == Spelling::any) {
        while (from < text.size()) {
            const size_t at = from;
            if (small(read(text, from)) == part.characters.front())
                return at;
        }
        return std::string_view::npos;
    }
    for (size_t searched = from;;) {
        size_t at = search(part.anchor, part.probes, text, searched);
        if (at == std::string_view::npos)
            return at;
        searched = at + 1;
        size_t back = part.anchorIndex;
        for (; back > 0 && at > from; --back) {
            do
                --at;
            while (at > from && isContinuation(text[at]));
        }
        if (back == 0)
            return at;
    }
}

std::optional<size_t> LikePattern::endOf(const Part &part, std::string_view text, size_t from)
{
    for (const std::uint32_t c : part.characters) {
        if (from >= text.size())
            return std::nullopt;
        const std::uint32_t found = read(text, from);
        if (c != anyCharacter && small(found) != c)
            return std::nullopt;
    }
    return from;
}

std::optional<LikePattern::Match> LikePattern::match(std::string_view text, size_t from, Spelling spelling) const
{
    std::optional<size_t> start;
    size_t at = from, end = from;
    for (size_t i = 0; i < m_parts.size(); ++i) {
        const Part &part = m_parts[i];
        const bool toTheEnd = i + 1 == m_parts.size() && !m_openEnd;
        for (int passed = 0; passed < part.passed; ++passed) {
            if (at >= text.size())
                return std::nullopt;
            read(text, at);
        }
        if (i == 0 && !m_openStart) {
            const std::optional<size_t> last = endOf(part, text, at);
            if (!last || (toTheEnd && *last != text.size()))
                return std::nullopt;
            start = at;
            at = end = *last;
            continue;
        }
        while (!part.characters.empty()) {
            const size_t begin = candidate(part, text, at, spelling);
            if (begin == std::string_view::npos)
                return std::nullopt;
            const std::optional<size_t> last = endOf(part, text, begin);
            if (last && (!toTheEnd || *last == text.size())) {
                start = start.value_or(begin);
                at = end = *last;
                break;
            }
            at = begin;
            read(text, at);
        }
    }
    return Match{{start.value_or(end), start ? end - *start : 0}, at};
}

bool LikePattern::mayBeSpeltOtherwise(std::string_view text) const
{
    switch (m_others) {
    case Others::none: return false;
    case Others::tooLong: return !isShort(text);
    case Others::malformed: return !isWellFormed(text);
    case Others::all: break;
    }
    return true;
}

bool LikePattern::matches(std::string_view utf8) const
{
    const std::string_view text = m_openEnd ? utf8 : untilNul(utf8);
    if (const std::optional<Match> found = match(text, 0, Spelling::wellFormed)) {
        if (untilNul(text.substr(0, found->end)).size() == found->end)
            return true;
    } else if (!mayBeSpeltOtherwise(text)) {
        return false;
    }
    return match(untilNul(text), 0, Spelling::any).has_value();
}

std::optional<LikePattern::Range> LikePattern::find(std::string_view utf8, size_t from) const
{
    std::optional<Match> found = match(utf8, from, Spelling::wellFormed);
    if (!found && mayBeSpeltOtherwise(utf8))
        found = match(utf8, from, Spelling::any);
    return found && found->range.length > 0 ? std::optional(found->range) : std::nullopt;
}

} // namespace qm
