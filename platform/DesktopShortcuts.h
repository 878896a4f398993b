#pragma once

#include "platform/Outcome.h"

#include <optional>

namespace qm {

// Shortcuts of the desktop's own for our captures, where a program can set them: on GNOME, Shift+Super+R for a region and
// Shift+Super+W for a window. Any thread except the main one: blocks while another program works.
namespace DesktopShortcuts {

std::optional<bool> areSet(); // std::nullopt on other desktops

struct Names { // as the desktop's settings show them
    QString region, window;
};
Outcome set(bool on, const QString &program, const Names &names); // program: the path of Quillmere, or its name

} // namespace DesktopShortcuts
} // namespace qm
