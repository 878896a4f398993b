#include "index/PathSet.h"

#include <functional>

namespace qm {

std::string_view PathSet::operator[](size_t number) const
{
    const size_t start = number == 0 ? 0 : m_ends[number - 1];
    return {m_bytes.data() + start, m_ends[number] - start - 1};
}

size_t PathSet::slotOf(std::string_view path, size_t hash) const
{
    const size_t mask = m_slots.size() - 1;
    for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const unsigned held = m_slots[slot];
        if (held == 0 || (m_hashes[held - 1] == hash && (*this)[held - 1] == path))
            return slot;
    }
}

void PathSet::grow()
{
    m_slots.assign(m_slots.empty() ? 1024 : m_slots.size() * 2, 0);
    const size_t mask = m_slots.size() - 1;
    for (size_t number = 0; number < m_hashes.size(); ++number) {
        size_t slot = m_hashes[number] & mask;
        while (m_slots[slot] != 0)
            slot = (slot + 1) & mask;
        m_slots[slot] = unsigned(number + 1);
    }
}

PathSet::Inserted PathSet::insert(std::string_view path)
{
    if (2 * (size() + 1) > m_slots.size())
        grow();
    const size_t hash = std::hash<std::string_view>()(path);
    unsigned &held = m_slots[slotOf(path, hash)];
    if (held != 0)
        return {held - 1, false};
    m_bytes.insert(m_bytes.end(), path.begin(), path.end());
    m_bytes.push_back('\0');
    m_ends.push_back(m_bytes.size());
    m_hashes.push_back(hash);
    held = unsigned(size());
    return {size() - 1, true};
}

std::optional<size_t> PathSet::find(std::string_view path) const
{
    if (m_slots.empty())
        return std::nullopt;
    const unsigned held = m_slots[slotOf(path, std::hash<std::string_view>()(path))];
    return held != 0 ? std::optional<size_t>(held - 1) : std::nullopt;
}

} // namespace qm
