#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace qm {

// The system's symbols by their names ("camera.viewfinder") where it has any, else our own line drawings in their place.
// Drawn at the size asked for, so they are sharp at every size and scale. An unknown name gives a null icon. Main thread.
namespace Symbol {

QIcon icon(const QString &name, const QColor &color);
// A light drawing with a dark rim, for what lies over a picture.
QIcon outlinedIcon(const QString &name);
// For a tray, whose panel may be light or dark: a mask where the tray gives it its colour. Elsewhere nobody tells us which it
// is, and the drawing is outlined.
QIcon trayIcon(const QString &name);

} // namespace Symbol

} // namespace qm
