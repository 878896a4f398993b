#pragma once

#include <QList>
#include <QString>

#include <functional>

namespace qm {

// Messages that the desktop shows beside whatever the user is doing. Main thread; nothing here waits.
namespace Notification {

// Both are plain text. Calls unserved on this thread, at once or up to 10 s later, if nothing shows it.
void show(const QString &title, const QString &text, const std::function<void()> &unserved);

// The same about a picture, or about none if its path is empty, with something to do about it: the first action is also that of
// a click on the message. Only the newest message's actions are heard. What does not show actions shows the message alone;
// unserved is called as above.
struct Action {
    QString label;
    std::function<void()> chosen;
};
void offer(
    const QString &title, const QString &text, const QString &picture, const QList<Action> &actions,
    const std::function<void()> &unserved = [] {});

} // namespace Notification
} // namespace qm
