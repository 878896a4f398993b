#pragma once

#include <QString>
#include <QtGlobal>

namespace qm {

// The permission to bring a window to the front. A Wayland compositor gives it, as a token that works once, to the program that
// the user is in: a launcher, the tray, whoever shows a message. These pass it on with what they ask for. Other desktops need
// none. Main thread.
class WindowActivation
{
public:
    // What this process was started with. Call it early and once: the next call returns an empty string, and programs that are
    // started from here do not inherit it.
    static QString takeOwn();

    // While this lives, the first window to be activated has this permission; then it expires. Without one, that which Qt has
    // got from the tray stays in force until then.
    explicit WindowActivation(const QString &token = {});
    ~WindowActivation();
    Q_DISABLE_COPY_MOVE(WindowActivation)
};

} // namespace qm
