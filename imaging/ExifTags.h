#pragma once

#include <QByteArray>

#include <optional>

class QIODevice;

namespace qm {

// The few tags of a TIFF structure (TIFF 6.0, section 2) that say how a picture is to be shown. EXIF data in JPEG, PNG, WebP
// and HEIC is such a structure, a TIFF file itself another. Anything malformed reads as silence.
struct ExifTags {
    int orientation = 1; // 1 to 8
    std::optional<double> dpi;

    static ExifTags parse(const QByteArray &data); // with or without "Exif\0\0" before it
    static ExifTags parse(QIODevice &file);        // a TIFF file; seeks, and comes back to its start
};

} // namespace qm
