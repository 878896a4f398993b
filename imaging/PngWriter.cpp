#include "imaging/PngWriter.h"

#include <QImageWriter>
#include <QSaveFile>

#include <cmath>

namespace qm {

Outcome PngWriter::write(const QString &path, const Image &image)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Outcome::failure(file.errorString());
    QImage pixels = image.pixels;
    const int dotsPerMetre = int(std::lround(72 * std::round(image.scale()) * 39.3701));
    pixels.setDotsPerMeterX(dotsPerMetre);
    pixels.setDotsPerMeterY(dotsPerMetre);
    QImageWriter writer(&file, "png");
    if (!writer.write(pixels))
        return Outcome::failure(writer.errorString());
    return file.commit() ? Outcome::success() : Outcome::failure(file.errorString());
}

} // namespace qm
