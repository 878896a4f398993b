#pragma once

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace qm::ocr {

// Numbered things, more and more of which turn out to belong together.
class Unions
{
public:
    explicit Unions(size_t count)
        : m_parents(count)
    {
        std::iota(m_parents.begin(), m_parents.end(), size_t(0));
    }

    void join(size_t a, size_t b)
    {
        const size_t one = of(a), other = of(b);
        m_parents[std::max(one, other)] = std::min(one, other);
    }
    // The union's first member.
    size_t of(size_t i)
    {
        while (m_parents[i] != i)
            i = m_parents[i] = m_parents[m_parents[i]];
        return i;
    }

private:
    std::vector<size_t> m_parents;
};

} // namespace qm::ocr
