#pragma once

#include <QString>

namespace qm {

// Tasks that the user's desktop does better than we could. Main thread; none of these waits.
namespace Workspace {

void openFolder(const QString &path); // in the file browser; nothing if it does not exist
void openFile(const QString &path);   // in its default application
void reveal(const QString &path);     // selects the file in the file browser, or opens its folder

QString fileBrowserName(); // its familiar name ("Finder"); empty on systems with many

} // namespace Workspace
} // namespace qm
