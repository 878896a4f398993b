#pragma once

#include <string>

namespace qm {

class UserBus;

// What KWin tells about the windows. Its clients cannot ask, but its scripts can, and any program of the user may have one
// run: Plasma 5 and 6.
namespace KWinWindows {

// The visible windows of the desktop in use, and menus and the like, bottom first, in the compositor's coordinates and with
// their decoration: [{"id":UUID,"title":TEXT,"isPopup":false,"x":X,"y":Y,"width":W,"height":H}, ...]. Empty if there is no KWin,
// or it lets one of a few questions wait for a second.
std::string list(const UserBus &bus);

} // namespace KWinWindows
} // namespace qm
