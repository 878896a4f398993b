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
    // For a pattern with "%" at both ends: the first place at or after from that the rest of it matches, as short as it
    // can be, and without the wildcards at either end. std::nullopt also if it has nothing but wildcards.
    std::optional<Range> find(std::string_view utf8, size_t from = 0) const;

private:
    // What stands between two "%": characters to be passed over, then some to be found.
    struct Part {
        int passed = 0;
        std::vector<std::uint32_t> characters = {}; // in small letters; 0 is any
        // Some that follow each other and are rare, as they are searched for: in small letters, and where they begin.
        std::string anchor = {};
        size_t anchorIndex = 0;    // of a character
        size_t probes[2] = {0, 0}; // positions of its rarest bytes
    };
    enum class Spelling { wellFormed, any };

    void addPart(Part part);
    static size_t candidate(const Part &part, std::string_view text, size_t from, Spelling spelling);
    static std::optional<size_t> endOf(const Part &part, std::string_view text, size_t from);
    struct Match {
        Range range;
        size_t end; // behind the last character looked at
    };
    std::optional<Match> match(std::string_view text, size_t from, Spelling spelling) const;
    bool mayBeSpeltOtherwise(std::string_view text) const;

    std::vector<Part> m_parts;
    bool m_openStart = false, m_openEnd = false; // a "%" there
    // Which texts may hold the characters in a spelling that a search for bytes does not find.
    enum class Others { none, tooLong, malformed, all } m_others = Others::none;
};

} // namespace qm
