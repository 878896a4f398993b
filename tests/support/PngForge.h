#pragma once

#include <QByteArray>
#include <QList>

class QRandomGenerator;

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

Picture anyPicture(QRandomGenerator &random); // small, of any kind that there is

QByteArray chunk(const QByteArray &type, const QByteArray &content);
QByteArray rows(const Picture &picture); // filter numbers and residuals, before deflating
QByteArray deflated(const QByteArray &raw, int level);

// By zlib, which checks everything. At most so many bytes come out, taken is what they came from, and the stream is whole
// when it ended there.
struct Inflated {
    QByteArray raw;
    qsizetype taken = 0;
    bool whole = false;
};
Inflated inflated(const QByteArray &stream, qsizetype most, const QByteArray &history = {});

// The file: signature, IHDR, `extra` (whole chunks), a palette where needed, IDAT, IEND.
QByteArray file(const Picture &picture, const QByteArray &extra = {});
QByteArray file(const Picture &picture, const QByteArray &extra, const QByteArray &deflatedRows);

QList<qsizetype> chunkStarts(const QByteArray &file); // where each chunk's length stands

// The picture's file with one thing wrong or unusual: cut anywhere, a bit changed, a chunk missing, doubled, strange or of a
// wrong length, a bad filter number, rows or bytes too few or too many, a damaged stream in chunks that are sound.
QByteArray damagedFile(const Picture &picture, QRandomGenerator &random);

} // namespace PngForge
} // namespace qm
