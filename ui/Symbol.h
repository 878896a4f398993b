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
// For a tray, whose panel may be of any colour: a mask where the tray gives it its own. Elsewhere nobody tells us which it
// is, and it is a white drawing on a badge whose contrast is the same against black and against white (4.5 : 1, as WCAG 2
// counts it).
QIcon trayIcon(const QString &name);

// The application's own icon, for its windows.
QIcon applicationIcon();

} // namespace Symbol

} // namespace qm
