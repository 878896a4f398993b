#pragma once

#include "imaging/PngReader.h"
#include "tests/support/PngReference.h"

#include <QBuffer>

#include <cstring>

namespace qm {

// Collects rows, and how often the reader began.
class PngRows : public RowSink
{
public:
    bool begin(const PictureHeader &header) override
    {
        ++begun;
        rows = 0;
        pixels = QImage(header.rows, header.format);
        pixels.fill(0);
        return !pixels.isNull();
    }
    bool add(const uchar *row) override
    {
        std::memcpy(pixels.scanLine(rows++), row, size_t(pixels.width()) * size_t(pixels.depth()) / 8);
        return true;
    }
    bool addWhole(const QImage &) override { return false; }

    QImage pixels;
    int begun = 0;
    int rows = 0;
};

// What our reading makes of a file that libpng's does not, pixels and refusal both; empty when they agree.
inline QByteArray differenceFromLibpng(const QByteArray &file, PngReader::Lane lane, bool *byLane = nullptr)
{
    const PngReference wanted = PngReference::read(file);
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    PngRows got;
    const Decoded decoded = PngReader::read(buffer, PngReader::Depth::file, got, lane);
    if (byLane)
        *byLane = decoded == Decoded::whole && got.begun == 1;
    if ((decoded == Decoded::nothing) != wanted.refused)
        return wanted.refused ? "libpng refuses, we read" : "we refuse, libpng reads";
    if (wanted.refused)
        return {};
    const int height = wanted.pixels.height();
    if ((decoded == Decoded::whole) != (wanted.wholeRows == height))
        return "one of us thinks the file is damaged";
    if (wanted.wholeRows > 0 && wanted.wholeRows < height && wanted.wholeRows != got.rows)
        return "libpng gave " + QByteArray::number(wanted.wholeRows) + " rows, we " + QByteArray::number(got.rows);
    // A cut interlaced picture is compared in all rows. What never came of it has no alpha in the reference, and full alpha
    // where our format has none.
    const int rows = wanted.wholeRows > 0 ? wanted.wholeRows : height;
    const bool alpha = wanted.wholeRows > 0 || got.pixels.hasAlphaChannel();
    const QImage ours = got.pixels.convertToFormat(wanted.pixels.format());
    const int step = ours.depth() / 8;
    for (int y = 0; y < rows; ++y) {
        const uchar *a = ours.constScanLine(y), *b = wanted.pixels.constScanLine(y);
        for (int x = 0; x < ours.width(); ++x, a += step, b += step) {
            if (std::memcmp(a, b, size_t(alpha ? step : step * 3 / 4)) != 0)
                return "different pixels in row " + QByteArray::number(y);
        }
    }
    return {};
}

} // namespace qm
