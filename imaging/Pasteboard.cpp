#include "imaging/Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace qm {

void Pasteboard::setImage(const Image &image)
{
    QGuiApplication::clipboard()->setImage(image.pixels);
}

} // namespace qm
