#pragma once

#include <QString>

namespace qm {

// The user's desktop, for what it does better than we could. Main thread; none of these waits.
namespace Workspace {

void openFolder(const QString &path); // in the file browser; nothing where there is none

} // namespace Workspace
} // namespace qm
