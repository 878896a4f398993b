#pragma once

#include <QString>

namespace qm {

// What became of something the user asked for: done, or the reason why not. The reason is the system's own words, meant
// for qms and for a tooltip; the sentence the user reads is the caller's.
class [[nodiscard]] Outcome
{
public:
    static Outcome success() { return Outcome(); }
    static Outcome failure(const QString &reason)
    {
        Outcome outcome;
        outcome.m_failed = true;
        outcome.m_reason = reason;
        return outcome;
    }

    explicit operator bool() const { return !m_failed; }
    QString reason() const { return m_reason; }

private:
    bool m_failed = false;
    QString m_reason;
};

} // namespace qm
