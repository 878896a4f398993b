#pragma once

#include <QString>

namespace qm {

// The user's desktop, for what it does better than we could. Main thread; none of these waits.
namespace Workspace {

void openFolder(const QString &path); // in the file browser; nothing where there is none
void openFile(const QString &path);   // in its default application
void reveal(const QString &path);     // in the file browser, the file selected; else its folder is opened

QString fileBrowserName(); // as everybody calls it ("Finder"); empty where there are many

} // namespace Workspace
} // namespace qm
