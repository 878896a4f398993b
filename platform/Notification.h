#pragma once

#include <QString>

#include <functional>

namespace qm {

// Messages that the desktop shows beside whatever the user is doing. Main thread; nothing here waits.
namespace Notification {

// Both are plain text. Calls unserved on this thread, at once or up to 10 s later, if nothing shows it.
void show(const QString &title, const QString &text, const std::function<void()> &unserved);

} // namespace Notification
} // namespace qm
