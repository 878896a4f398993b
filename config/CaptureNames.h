#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>

#include <optional>

namespace qm {

// Names of the pictures we take, and parsing them back. Any thread.
namespace CaptureNames {

QString capture(const QDateTime &local); // "Quillmere 2026-03-05-14-07-09.png"
QString scroll(const QDateTime &local);  // "Quillmere 2026-03-05-14-07-09 scroll.png"

// The path of a picture that would have been taken a second later: for one whose name is taken. The clock's hour that
// comes twice is no obstacle. The path must end in one of our names.
QString aSecondLater(const QString &path);

// The local time in one of our names, as "2026-03-05T14:07:09". Only the beginning has to match, so an annotated copy
// keeps the time of its shot. std::nullopt for any other name.
std::optional<QString> takenAt(QStringView name);

} // namespace CaptureNames
} // namespace qm
