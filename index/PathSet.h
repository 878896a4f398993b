#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qm {

// A set of file paths, each with a mark. Made for scanning a hundred thousand files, where the cost is cache misses:
// all bytes are in one block, and a look-up touches one slot and one path. A value; no thread of its own.
class PathSet
{
public:
    using Ref = std::uint32_t; // position of a path; stays valid, increases in order of insertion

    struct Inserted {
        Ref ref;
        bool isNew;
    };
    Inserted insert(std::string_view path); // must not contain a NUL
    std::optional<Ref> find(std::string_view path) const;
    std::string_view operator[](Ref ref) const; // NUL-terminated; valid until the next insertion
    size_t size() const { return m_size; }

    void mark(Ref ref) { m_bytes[ref - 1] = marked; }
    bool isMarked(Ref ref) const { return m_bytes[ref - 1] == marked; }

    template<class Function>
    void forEach(Function function) const
    {
        for (Ref ref = 1; ref < m_bytes.size(); ref += Ref((*this)[ref].size()) + 2)
            function(ref);
    }

private:
    struct Slot {
        std::uint32_t hash = 0;
        Ref ref = 0; // 0: free
    };
    static constexpr char unmarked = 0, marked = 1;

    size_t slotOf(std::string_view path, std::uint32_t hash) const; // where it is, or where to insert it
    void grow();

    std::vector<char> m_bytes; // per path: its mark, its bytes, a NUL
    std::vector<Slot> m_slots; // open addressing with linear probing; at most half full
    size_t m_size = 0;
};

} // namespace qm
