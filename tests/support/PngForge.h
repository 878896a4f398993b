#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace qm {

// Puts PNG files together chunk by chunk, right ones and wrong ones, with zlib only: the seeds of the differential tests and
// of the fuzzer.
namespace PngForge {

struct Picture {
    int width = 1, height = 1;
    int bitDepth = 8;
    int colourType = 2; // as in IHDR: 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGBA
    bool interlaced = false;
    int filter = -1;    // 0 to 4 for every row; -1: a different one for each, also 0 to 4
    int level = 6;      // zlib's
    int idatLength = 0; // bytes in each IDAT chunk; 0: one chunk
    quint32 seed = 1;   // of the residuals, half of which are zero
};

QByteArray chunk(const QByteArray &type, const QByteArray &content);
QByteArray rows(const Picture &picture); // filter numbers and residuals, before deflating
QByteArray deflated(const QByteArray &raw, int level);

// By zlib, which checks everything; none unless it is one whole stream, of at most so many bytes, with nothing behind it.
std::optional<QByteArray> inflated(const QByteArray &stream, qsizetype most);

// The file: signature, IHDR, `extra` (whole chunks), a palette where needed, IDAT, IEND.
QByteArray file(const Picture &picture, const QByteArray &extra = {});
QByteArray file(const Picture &picture, const QByteArray &extra, const QByteArray &deflatedRows);

QList<qsizetype> chunkStarts(const QByteArray &file); // where each chunk's length stands

// Files with one thing wrong or unusual each, named: wrong checksums, missing, doubled and misplaced chunks, cut anywhere,
// bad filter numbers, too few and too many rows, split and empty IDAT chunks.
QList<std::pair<QByteArray, QByteArray>> oddities();

} // namespace PngForge
} // namespace qm
