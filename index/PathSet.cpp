#include "index/PathSet.h"

#include <cstring>
#include <functional>

namespace qm {

static std::uint32_t hashOf(std::string_view path)
{
    return std::uint32_t(std::hash<std::string_view>()(path));
}

std::string_view PathSet::operator[](Ref ref) const
{
    return m_bytes.data() + ref;
}

size_t PathSet::slotOf(std::string_view path, std::uint32_t hash) const
{
    const size_t mask = m_slots.size() - 1;
    size_t slot = hash & mask;
    for (; m_slots[slot].ref != 0; slot = (slot + 1) & mask) {
        if (m_slots[slot].hash != hash)
            continue;
        // strncmp stops at the NUL of a shorter path, so it stays within the block.
        const char *held = m_bytes.data() + m_slots[slot].ref;
        if (std::strncmp(held, path.data(), path.size()) == 0 && held[path.size()] == '\0')
            break;
    }
    return slot;
}

void PathSet::grow()
{
    const std::vector<Slot> old = std::move(m_slots);
    m_slots.assign(old.empty() ? 1024 : old.size() * 2, Slot());
    const size_t mask = m_slots.size() - 1;
    for (const Slot &held : old) {
        if (held.ref == 0)
            continue;
        size_t slot = held.hash & mask;
        while (m_slots[slot].ref != 0)
            slot = (slot + 1) & mask;
        m_slots[slot] = held;
    }
}

PathSet::Inserted PathSet::insert(std::string_view path)
{
    if (2 * (m_size + 1) > m_slots.size())
        grow();
    const std::uint32_t hash = hashOf(path);
    Slot &slot = m_slots[slotOf(path, hash)];
    if (slot.ref != 0)
        return {slot.ref, false};
    m_bytes.push_back(unmarked);
    slot = {hash, Ref(m_bytes.size())};
    m_bytes.insert(m_bytes.end(), path.begin(), path.end());
    m_bytes.push_back('\0');
    ++m_size;
    return {slot.ref, true};
}

std::optional<PathSet::Ref> PathSet::find(std::string_view path) const
{
    if (m_slots.empty())
        return std::nullopt;
    const Ref ref = m_slots[slotOf(path, hashOf(path))].ref;
    return ref != 0 ? std::optional(ref) : std::nullopt;
}

} // namespace qm
