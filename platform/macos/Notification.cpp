#include "platform/Notification.h"

namespace qm {

// The system's own centre takes signed applications only, and asks the user first; the menu bar's item can always tell.
void Notification::show(const QString &, const QString &, const std::function<void()> &unserved)
{
    unserved();
}

// Windows of our own do that here.
void Notification::offer(const QString &, const QString &, const QString &, const QList<Action> &,
                         const std::function<void()> &unserved)
{
    unserved();
}

} // namespace qm
