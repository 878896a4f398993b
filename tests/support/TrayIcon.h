#pragma once

#include <QRect>

#include <optional>

namespace qm {

class Desktop;

// Quillmere's icon in the panel's tray, in pixels of the whole desktop; nothing while it is not there.
std::optional<QRect> trayIcon(const Desktop &desktop);

} // namespace qm
