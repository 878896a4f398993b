#pragma once

#include <QSemaphore>
#include <QtGlobal>

#include <utility>

namespace qm {

// The memory, in bytes, that all decoding of this process may take together. A few bytes of a file can demand gigabytes, and
// a list full of such files is decoded on every processor at once. Any thread.
//
// Whoever decodes takes its share first, all at once, and holds it until the decoder is gone. It waits until there is room,
// in turn, so that a large share is not starved by small ones; except on the main thread, which never waits, and where this
// thread holds a share already, as two such might wait for each other. More than there is at all is never given: running
// alone would not make it less.
class DecodeBudget
{
public:
    // Gives back what it holds when destroyed, on the thread that took it.
    class Share
    {
    public:
        Share() = default;
        Share(Share &&other) noexcept
            : m_from(std::exchange(other.m_from, nullptr))
            , m_units(other.m_units)
        {
        }
        Share &operator=(Share &&) = delete;
        ~Share();

        explicit operator bool() const { return m_from; }

    private:
        friend class DecodeBudget;
        DecodeBudget *m_from = nullptr;
        int m_units = 0;
    };

    static DecodeBudget &shared();

    explicit DecodeBudget(qint64 bytes);

    qint64 all() const;
    [[nodiscard]] Share take(qint64 bytes); // empty: more than all, or no room where waiting is not allowed

private:
    const int m_units;
    QSemaphore m_free;
    QSemaphore m_turn{1}; // held by the one that waits for room
};

} // namespace qm
