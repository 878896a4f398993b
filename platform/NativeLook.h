#pragma once

#include <QColor>
#include <QImage>
#include <QString>

#include <optional>

namespace qm {

// Drawing that the system provides, if it does. Main thread.
namespace NativeLook {

std::optional<QColor> accent(); // the user's current accent colour; std::nullopt if the palette has it

// The system's symbol of that name ("camera.viewfinder"): black, as large as fits into this many pixels. Null if the
// system has none.
QImage symbol(const QString &name, QSize pixels);

bool blendsWindows(); // translucent pixels of a window show what is below it; asks the system each time

bool trayTintsIcons(); // a mask suffices: the tray applies a contrasting colour

} // namespace NativeLook
} // namespace qm
