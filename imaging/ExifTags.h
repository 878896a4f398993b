#pragma once

#include <QByteArray>

#include <optional>

class QIODevice;

namespace qm {

// The few tags of a TIFF structure (TIFF 6.0, section 2) that determine how a picture is shown and what decoding it takes.
// EXIF data in JPEG, PNG, WebP and HEIC is such a structure, as is a TIFF file. Malformed data counts as absent.
struct ExifTags {
    int orientation = 1; // 1 to 8
    std::optional<double> dpi;
    std::optional<double> pieceBytes; // of a TIFF file's largest strip or tile, unpacked

    static ExifTags parse(const QByteArray &data); // with or without a leading "Exif\0\0"
    static ExifTags parse(QIODevice &file);        // a TIFF file; seeks, and returns to its start
};

} // namespace qm
