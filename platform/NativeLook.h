#pragma once

#include <QColor>
#include <QImage>
#include <QString>

#include <optional>

namespace qm {

// What the system itself draws, where it can be asked. Main thread.
namespace NativeLook {

std::optional<QColor> accent(); // the user's, as it looks just now; nothing: the palette knows it

// The system's drawing of a symbol by its name ("camera.viewfinder"): black, as large as it can be in so many pixels.
// Null where the system has none.
QImage symbol(const QString &name, QSize pixels);

bool trayTintsIcons(); // a mask is enough: the tray gives it the colour that is seen on it

} // namespace NativeLook
} // namespace qm
