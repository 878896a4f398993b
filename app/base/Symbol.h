#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace qm {

// The system's symbols by their names ("camera.viewfinder") where it has any, else our own line drawings in their place.
// Drawn at the size asked for, so they are sharp at every size and scale. An unknown name gives a null icon. Main thread.
namespace Symbol {

QIcon icon(const QString &name, const QColor &color);
QIcon rimmedIcon(const QString &name); // light with a dark rim, to be seen on anything
// For a tray, whose panel may be light or dark: a mask where the tray gives it its colour, else rimmed.
QIcon trayIcon(const QString &name);

} // namespace Symbol

} // namespace qm
