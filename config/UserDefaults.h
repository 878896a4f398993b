#pragma once

#include <QString>

namespace qm {

// What the application remembers about itself on this machine, apart from the user's settings. Main thread; where it
// is kept is asked at each use.
namespace UserDefaults {

bool boolean(const QString &key); // false when never set
void setBoolean(const QString &key, bool value);

} // namespace UserDefaults
} // namespace qm
