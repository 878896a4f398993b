#pragma once

#include <QString>

namespace qm {

// When a screenshot was taken, according to its name, or else its modification time (ms since 1970 UTC). A time from
// the name is local, "2024-05-01T09:30:15", even if the digits are no valid date; one from the file is UTC,
// "2024-05-01T00:30:15Z".
QString parseTakenAt(const QString &name, qint64 modifiedMs);

// The same in local time, without a zone: what a person is to see. Empty if it is no time.
QString localTime(const QString &takenAt);

// Internet date-time in UTC without a fraction (RFC 3339).
QString isoUtc(qint64 msSince1970);

} // namespace qm
