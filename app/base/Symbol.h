#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace qm {

// Our own line drawings, named after the symbols they stand in for ("camera.viewfinder"). Main thread.
// Drawn from SVG at the size asked for, so they are sharp at every size and scale. An unknown name gives a null icon.
namespace Symbol {

QIcon icon(const QString &name, const QColor &color);
// For a tray, whose panel may be light or dark: a light drawing with a dark rim, and nobody tells us which it is.
QIcon trayIcon(const QString &name);

} // namespace Symbol

} // namespace qm
