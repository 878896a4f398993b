#pragma once

#include "imaging/Image.h"

#include <QByteArray>

class QMimeData;

namespace qm {

// The general pasteboard. Main thread.
namespace Pasteboard {

// Content for the pasteboard, which keeps only the PNG. Without one it is encoded once, in the background.
struct Content {
    Image image;
    QByteArray png; // the same picture as a PNG file; if empty, encoded from the image
};

// The content of a file, with its own bytes if it is a PNG. Any thread. No image if it cannot be read.
Content contentOf(const QString &path);

// Both replace the current content. The pasteboard's own object for it, which others may have replaced by the next time the
// event loop runs: for Clipboard::holds().
const QMimeData *setContent(const Content &content);
void setImage(const Image &image);

} // namespace Pasteboard
} // namespace qm
