#pragma once

#include "helpers/wayland/OutputPicture.h"
#include "helpers/wayland/WaylandOutputs.h"

#include <QImage>

namespace qm {

class UserBus;

// The desktop portal's screenshots: org.freedesktop.portal.Screenshot, which asks the user for permission, in general once.
namespace ScreenshotPortal {

struct Answer {
    enum class Kind {
        picture,
        cancelled, // by the user, perhaps by a no to the question for permission
        denied,    // by the user, some time ago: nothing was asked now
        refused,   // by the portal, which asked nobody
        failed,
    } kind = Kind::failed;
    QImage picture = {}; // the whole desktop, or what was chosen in the dialog
    QString file = {};   // of the picture: the caller's to remove, for the portal leaves it among the user's pictures
};
// Within a minute, for someone reads a question. Silent: nothing else is asked than for permission.
enum class Manner { silent, dialog };
Answer take(const UserBus &bus, Manner manner);

// What each monitor shows of such a picture, in the monitor's own pixels; empty if it is null, or not one of the whole desktop.
// The picture has one scale for all monitors, whatever theirs are.
std::vector<OutputPicture> cut(const QImage &picture, const WaylandOutputs &outputs);

} // namespace ScreenshotPortal
} // namespace qm
