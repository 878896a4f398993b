#pragma once

#include "platform/Outcome.h"

#include <functional>

namespace qm {

// Tasks that the user's desktop does better than we could. Main thread; none of these waits.
namespace Workspace {

void openFolder(const QString &path); // in the file browser; nothing if it does not exist
void openFile(const QString &path);   // in its default application
void reveal(const QString &path);     // selects the file in the file browser, or opens its folder

// Moves the file to the user's trash, on a thread of its own. Where that is impossible nothing is deleted. `done` is called
// on the main thread, with the reason of a failure.
void trash(const QString &path, std::function<void(const Outcome &outcome)> done);

QString fileBrowserName(); // its familiar name ("Finder"); empty on systems with many

} // namespace Workspace
} // namespace qm
