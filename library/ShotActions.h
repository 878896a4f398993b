#pragma once

#include "index/Shot.h"

#include <QString>

#include <functional>

class QMimeData;

namespace qm {

enum class ShotAction { copy, annotate, showInFolder, open };

// What can be done with a screenshot, shared by the views that offer it. Main thread; none of it waits for a file.
namespace ShotActions {

QString title(ShotAction action);
QString symbol(ShotAction action);

// The picture to the general pasteboard; a file that can't be read leaves the pasteboard as it is. Copies take effect in
// the order in which they were asked for. `done` runs when all is over, with whether the picture is there now.
void copyToClipboard(const Shot &shot, std::function<void(bool copied)> done = {});

void showInFolder(const Shot &shot);
void open(const Shot &shot);

// For a drag: the file's address and its picture, which is read only when somebody asks for it. The caller owns it.
QMimeData *mimeData(const Shot &shot);

} // namespace ShotActions
} // namespace qm
