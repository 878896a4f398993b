#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qm {

// A pattern of SQL's LIKE: "%" is any text, "_" any character, ASCII letters are alike in either case. The meaning is
// SQLite's for every pattern and text, down to NULs, where both end, and to malformed UTF-8; but a text is searched many
// bytes at a time. A value; any thread.
class LikePattern
{
public:
    explicit LikePattern(std::string_view utf8);

    bool matches(std::string_view utf8) const; // the whole text

    struct Range {
        size_t start = 0; // bytes
        size_t length = 0;
    };
    // For a pattern with "%" at both ends: the first place at or after from, where a character starts, that the rest of
    // it matches, as short as it can be, and without the wildcards at either end. std::nullopt also if it has nothing but
    // wildcards.
    std::optional<Range> find(std::string_view utf8, size_t from = 0) const;

private:
    // A byte of which some bits may be anything.
    struct Byte {
        std::uint8_t bits = 0xFF; // the open ones set
        std::uint8_t open = 0xFF;
        bool fits(char c) const { return (std::uint8_t(c) | open) == bits; }
    };
    // Two bytes that a text holds wherever a part matches, however its characters are spelt.
    struct Probe {
        Byte first, second;
        size_t distance;  // from the first to the second; 0 if there is only one
        size_t character; // to which the first belongs
        Byte before;      // with which the character before that one ends
        int commonness;
    };
    // What stands between two "%": characters to be passed over, then some to be found.
    struct Part {
        int passed = 0;
        std::vector<std::uint32_t> characters = {}; // in small letters; 0 is any
        std::optional<Probe> probe = {};
    };
    struct Match {
        Range range;
        size_t end; // behind the last character looked at
    };

    void addPart(Part part);
    static Byte lastByteOf(std::uint32_t character);
    static std::optional<Probe> probeFor(const std::vector<std::uint32_t> &characters);
    static std::optional<size_t> endOf(const Part &part, std::string_view text, size_t from);
    static std::optional<Range> place(const Part &part, std::string_view text, size_t from, bool toTheEnd);
    std::optional<Match> match(std::string_view text, size_t from) const;

    std::vector<Part> m_parts;
    size_t m_rarest = 0;                         // the part that fewest texts should hold
    bool m_openStart = false, m_openEnd = false; // a "%" there
};

} // namespace qm
