#include "index/LikePattern.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace qm {

namespace {

constexpr std::uint32_t anyCharacter = 0; // a pattern ends at a NUL
constexpr std::uint32_t replacement = 0xFFFD;

bool isContinuation(char c)
{
    return (std::uint8_t(c) & 0xC0) == 0x80;
}

// One character as SQLite reads it: whatever continuation bytes follow a leading one belong to it.
std::uint32_t read(std::string_view text, size_t &position)
{
    const std::uint8_t first = std::uint8_t(text[position++]);
    if (first < 0xC0)
        return first;
    std::uint32_t c = first < 0xE0 ? first & 0x1Fu : first < 0xF0 ? first & 0x0Fu : first < 0xF8 ? first & 0x07u : 0u;
    if (first >= 0xF8 && first < 0xFC)
        c = first & 0x03u;
    else if (first == 0xFD)
        c = 1;
    for (; position < text.size() && isContinuation(text[position]); ++position)
        c = (c << 6) + (std::uint8_t(text[position]) & 0x3Fu);
    const bool none = c < 0x80 || (c & 0xFFFFF800u) == 0xD800u || (c & 0xFFFFFFFEu) == 0xFFFEu;
    return none ? replacement : c;
}

template<class Character>
Character small(Character c)
{
    return c >= 'A' && c <= 'Z' ? Character(c + ('a' - 'A')) : c;
}

// A small letter also matches its capital, which differs in one bit.
std::uint8_t caseBit(std::uint32_t c)
{
    return c >= 'a' && c <= 'z' ? 0x20 : 0;
}

// Whether it always ends in the same bytes: what is malformed is read as one character, in many spellings.
bool hasKnownEnd(std::uint32_t c)
{
    return c != anyCharacter && c != replacement && c <= 0x10FFFF;
}

// How often a character's last bytes are met in English and Japanese, roughly.
int commonness(std::uint8_t byte)
{
    constexpr std::string_view frequent = "etaoinsrhldcumfpgwybvkxjqz";
    if (byte == ' ')
        return 100;
    if (byte >= 0x80)
        return byte < 0x84 ? 80 : 25;
    const size_t place = frequent.find(char(byte));
    return place == std::string_view::npos ? 20 : 60 - 2 * int(place);
}

// Sixteen bytes at once, as GCC and Clang support on every processor. Comparing gives 0xFF where it holds.
using Bytes = std::uint8_t __attribute__((vector_size(16)));

Bytes load(const char *at)
{
    Bytes bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    return bytes;
}

Bytes filled(std::uint8_t value)
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

// The first place at or after from where a probe's bytes are met and `holds` accepts that of the first of them; false if
// there is none.
template<class Probe, class Holds>
bool search(const Probe &probe, std::string_view text, size_t from, Holds holds)
{
    if (text.size() <= probe.distance)
        return false;
    const size_t end = text.size() - probe.distance; // of the places
    const char *first = text.data(), *second = first + probe.distance;
    const Bytes firstByte = filled(probe.first.bits), firstOpen = filled(probe.first.open);
    const Bytes secondByte = filled(probe.second.bits), secondOpen = filled(probe.second.open);
    const auto hitsAt = [&](size_t at) {
        return Bytes(((load(first + at) | firstOpen) == firstByte) & ((load(second + at) | secondOpen) == secondByte));
    };
    constexpr size_t step = sizeof(Bytes);
    const auto holdsIn = [&](const Bytes &hits, size_t at) {
        for (std::uint32_t left = bits(hits); left != 0; left &= left - 1) {
            if (holds(at + size_t(std::countr_zero(left))))
                return true;
        }
        return false;
    };
    size_t at = from;
    for (; at + 2 * step <= end; at += 2 * step) {
        const Bytes hits = hitsAt(at), more = hitsAt(at + step);
        if (any(hits | more) && (holdsIn(hits, at) || holdsIn(more, at + step)))
            return true;
    }
    if (end >= from + step) { // the rest, with some that were looked at before
        for (; at < end; at += step) {
            at = std::min(at, end - step);
            if (holdsIn(hitsAt(at), at))
                return true;
        }
        return false;
    }
    for (; at < end; ++at) {
        if (probe.first.fits(first[at]) && probe.second.fits(second[at]) && holds(at))
            return true;
    }
    return false;
}

// The start of the last of so many characters that end before `end`; npos if there are fewer after from, which is the
// start of one itself.
size_t stepBack(std::string_view text, size_t from, size_t end, size_t count)
{
    while (count > 0 && end > from) {
        size_t run = end;
        while (run > from && isContinuation(text[run - 1]))
            --run;
        if (run > from && std::uint8_t(text[run - 1]) >= 0xC0) {
            end = run - 1;
            --count;
        } else { // nothing leads these bytes: each is a character
            const size_t passed = std::clamp<size_t>(end - run, 1, count);
            end -= passed;
            count -= passed;
        }
    }
    return count == 0 ? end : std::string_view::npos;
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

LikePattern::Byte LikePattern::lastByteOf(std::uint32_t character)
{
    if (!hasKnownEnd(character))
        return {};
    if (character < 0x80)
        return {std::uint8_t(character), caseBit(character)};
    return {std::uint8_t(0x80 | (character & 0x3F)), 0};
}

// A character above U+007F may be spelt with more bytes than it needs, but the last byte always has its last six bits, the
// byte before that the six before those, and so on, as far as they don't fit into a leading byte. So what every spelling
// has is a character's end and the ASCII that follows it.
std::optional<LikePattern::Probe> LikePattern::probeFor(const std::vector<std::uint32_t> &characters)
{
    struct Known {
        Byte byte;
        size_t character;
        int commonness;
    };
    std::vector<Known> stretch; // bytes that follow each other
    std::optional<Probe> best;
    const auto endStretch = [&] {
        if (stretch.empty())
            return;
        size_t rarest = 0, next = stretch.size() - 1;
        for (size_t i = 1; i < stretch.size(); ++i) {
            if (stretch[i].commonness < stretch[rarest].commonness)
                next = std::exchange(rarest, i);
            else if (stretch[i].commonness < stretch[next].commonness)
                next = i;
        }
        const int sum = stretch[rarest].commonness + (rarest == next ? 100 : stretch[next].commonness);
        if (!best || sum < best->commonness) {
            const auto [first, second] = std::minmax(rarest, next);
            const size_t character = stretch[first].character;
            const Byte before = character > 0 ? lastByteOf(characters[character - 1]) : Byte();
            best = Probe{stretch[first].byte, stretch[second].byte, second - first, character, before, sum};
        }
        stretch.clear();
    };
    constexpr int rather = 80, endsKana = 15; // more common than the ends of other characters
    for (size_t i = 0; i < characters.size(); ++i) {
        const std::uint32_t c = characters[i];
        if (c == anyCharacter || c >= 0x80)
            endStretch();
        if (!hasKnownEnd(c))
            continue;
        if (c >= 0xC0 && c < 0x800) { // any byte that may hold its upper bits
            const std::uint32_t upper = c >> 6;
            const std::uint8_t open = upper >= 16 ? 0x40 : upper >= 8 ? 0x60 : upper >= 4 ? 0x70 : 0x78;
            stretch.push_back({{std::uint8_t(0x80 | upper | open), open}, i, rather});
        }
        if (c >= 0x800) { // not the third from the end: two may follow a leading byte that holds five bits
            const std::uint8_t byte = std::uint8_t(0x80 | (c >> 6 & 0x3F));
            stretch.push_back({{byte, 0}, i, commonness(byte)});
        }
        const Byte last = lastByteOf(c);
        stretch.push_back({last, i, commonness(last.bits) + (c >> 12 == 3 ? endsKana : 0)});
    }
    endStretch();
    return best;
}

void LikePattern::addPart(Part part)
{
    part.probe = probeFor(part.characters);
    m_parts.push_back(std::move(part));
    const auto commonness = [&](size_t i) {
        return m_parts[i].probe ? m_parts[i].probe->commonness : std::numeric_limits<int>::max();
    };
    if (commonness(m_parts.size() - 1) < commonness(m_rarest))
        m_rarest = m_parts.size() - 1;
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

// The first place at or after from that the part matches; at the text's end, if it has to reach it.
std::optional<LikePattern::Range> LikePattern::place(const Part &part, std::string_view text, size_t from,
                                                     bool toTheEnd)
{
    Range range;
    const auto matchesAt = [&](size_t begin) {
        const std::optional<size_t> end = endOf(part, text, begin);
        range = {begin, end.value_or(begin) - begin};
        return end && (!toTheEnd || *end == text.size());
    };
    if (part.probe) {
        const Probe &probe = *part.probe;
        const bool found = search(probe, text, from, [&](size_t at) {
            const size_t character = stepBack(text, from, at + 1, 1);
            if (probe.character > 0 && (character == from || !probe.before.fits(text[character - 1])))
                return false;
            const size_t begin = stepBack(text, from, character, probe.character);
            return begin != std::string_view::npos && matchesAt(begin);
        });
        return found ? std::optional(range) : std::nullopt;
    }
    for (size_t at = from; at < text.size(); read(text, at)) {
        if (matchesAt(at))
            return range;
    }
    return std::nullopt;
}

std::optional<LikePattern::Match> LikePattern::match(std::string_view text, size_t from) const
{
    if (m_rarest > 0 && !place(m_parts[m_rarest], text, from, false))
        return std::nullopt;
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
        } else if (!part.characters.empty()) {
            const std::optional<Range> found = place(part, text, at, toTheEnd);
            if (!found)
                return std::nullopt;
            start = start.value_or(found->start);
            at = end = found->start + found->length;
        }
    }
    return Match{{start.value_or(end), start ? end - *start : 0}, at};
}

bool LikePattern::matches(std::string_view utf8) const
{
    const std::string_view text = m_openEnd ? utf8 : untilNul(utf8);
    const std::optional<Match> found = match(text, 0);
    if (!found)
        return false;
    // Only what was looked at has to be free of NULs.
    return untilNul(text.substr(0, found->end)).size() == found->end || match(untilNul(text), 0);
}

std::optional<LikePattern::Range> LikePattern::find(std::string_view utf8, size_t from) const
{
    const std::optional<Match> found = match(utf8, from);
    return found && found->range.length > 0 ? std::optional(found->range) : std::nullopt;
}

} // namespace qm
