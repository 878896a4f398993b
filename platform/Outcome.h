#pragma once

#include <QString>

namespace qm {

// Result of something the user asked for: success, or the reason for failing. The reason is in the system's own words,
// for qms and tooltips; the caller writes the sentence shown to the user.
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
