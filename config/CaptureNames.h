#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>

#include <optional>

namespace qm {

// How the pictures taken by ourselves are named, and read back. Any thread.
namespace CaptureNames {

QString capture(const QDateTime &local); // "Quillmere 2026-03-05-14-07-09.png"
QString scroll(const QDateTime &local);  // "Quillmere 2026-03-05-14-07-09 scroll.png"

// The wall-clock time in a name of our own, as "2026-03-05T14:07:09". Only the beginning must be ours, so an annotated copy
// keeps the time of its shot. Nothing for any other name.
std::optional<QString> takenAt(QStringView name);

} // namespace CaptureNames
} // namespace qm
