#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace qm {

// A set of file paths, numbered from 0 in order of insertion. The bytes of all paths stand in one block, each ended by a
// NUL: a hundred thousand strings of their own would cost more than listing the folder. A value; no thread of its own.
class PathSet
{
public:
    // The number of the path, and whether it is new.
    struct Inserted { size_t number; bool isNew; };
    Inserted insert(std::string_view path);

    std::optional<size_t> find(std::string_view path) const;
    size_t size() const { return m_ends.size(); }

    // Valid until the next insertion; a NUL follows.
    std::string_view operator[](size_t number) const;

private:
    size_t slotOf(std::string_view path, size_t hash) const; // where it is, or where it belongs
    void grow();

    std::vector<char> m_bytes;
    std::vector<size_t> m_ends;    // offset behind the NUL of each path
    std::vector<size_t> m_hashes;  // kept, so that growing need not read the paths again
    std::vector<unsigned> m_slots; // open addressing by linear probing: number + 1, 0 is free
};

} // namespace qm
