#pragma once

#include "imaging/Image.h"

#include <QByteArray>

namespace qm {

// The general pasteboard. Main thread.
namespace Pasteboard {

// What goes there. Without png nothing is encoded until another application asks for it, and then once.
struct Content {
    Image image;
    QByteArray png; // the same picture as a PNG file; empty: made of the image
};

// Of a file, whose own bytes are handed over where it is a PNG. Any thread. Without an image when it cannot be read.
Content contentOf(const QString &path);

// Both replace what is there.
void setContent(const Content &content);
void setImage(const Image &image);

} // namespace Pasteboard
} // namespace qm
