#pragma once

#include "index/Shot.h"

#include <QString>

#include <functional>

class QMimeData;

namespace qm {

enum class ShotAction { copy, annotate, showInFolder, open, moveToTrash };

// Actions on a screenshot, shared by the views that offer them. Main thread; none of them waits for a file.
namespace ShotActions {

QString title(ShotAction action);
QString symbol(ShotAction action);

// Copies the picture to the general pasteboard; if the file can't be read, the pasteboard is unchanged. Copies take
// effect in the order requested. `done` is called at the end, with true if the picture is on the pasteboard.
void copyToClipboard(const Shot &shot, std::function<void(bool copied)> done = {});

void showInFolder(const Shot &shot);
void open(const Shot &shot);

// For a drag: the file's URL and its picture, which is read only on request. The caller owns it.
QMimeData *mimeData(const Shot &shot);

} // namespace ShotActions
} // namespace qm
