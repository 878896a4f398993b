#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace qm {

// The system's symbols by name ("camera.viewfinder") if it has any, otherwise our own line drawings. Drawn at the
// requested size, so they are sharp at every size and scale. An unknown name yields a null icon. Main thread.
namespace Symbol {

QIcon icon(const QString &name, const QColor &color);
// A light drawing with a dark rim, for use on top of pictures.
QIcon outlinedIcon(const QString &name);
// For a tray, whose panel may have any colour: a mask if the tray tints icons. Otherwise the colour is unknown, and the
// icon is a white drawing on a badge with equal contrast against black and white (4.5 : 1 by WCAG 2).
QIcon trayIcon(const QString &name);

// The application's own icon, for its windows.
QIcon applicationIcon();

} // namespace Symbol

} // namespace qm
