#pragma once

#include <QByteArray>

#include <optional>

namespace qm {

// What a HEIC file (ISO/IEC 14496-12 and 23008-12, 14496-15 for its HEVC) makes a decoder allocate. libheif tells the size
// that is written beside the picture; the decoder goes by the one inside, which may be another.
namespace HeifStructure {

// Pixels of the largest picture that is coded or put together from tiles. std::nullopt if that can't be told: codecs other
// than HEVC, overlays, pictures in pieces, pictures that refer to others.
std::optional<qint64> largestPicture(const QByteArray &file);

} // namespace HeifStructure
} // namespace qm
