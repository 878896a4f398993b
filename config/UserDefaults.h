#pragma once

#include <QRect>
#include <QString>

namespace qm {

// What the application remembers about itself on this machine, apart from the user's settings. Main thread; the storage
// location is looked up on each use.
namespace UserDefaults {

bool boolean(const QString &key); // false if never set
void setBoolean(const QString &key, bool value);

QRect rectangle(const QString &key); // null if never set
void setRectangle(const QString &key, const QRect &value);

} // namespace UserDefaults
} // namespace qm
