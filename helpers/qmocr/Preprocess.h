#pragma once

#include <QImage>

namespace qm::ocr {

// What a picture goes through before it is read: plain functions over 8-bit grey pictures (QImage::Format_Grayscale8).
// Any thread. A null picture gives a null picture.

// Luma 77 R + 150 G + 29 B over 256, transparent parts on white. Works by bands of rows, so that a picture of any format
// never needs a second full-size copy in colour.
QImage toGray(const QImage &picture);

// Dark text on white, whatever the colours were. Each tile of 8 x 8 pixels takes the most frequent grey of its
// neighbourhood (a strip of 17 tiles) as its background; a pixel's darkness is its distance from that, stretched to the
// strip's own contrast. White text on a coloured bar, a selected row or a dark window thus reads like any other text.
QImage normalised(const QImage &gray);

// Median height in pixels of what looks like letters: connected dark spots of a letter's proportions.
// 0 when there are too few to tell.
int textHeight(const QImage &darkOnLight);

// By how much a picture with letters of this height is enlarged so that they come near the height that the recogniser
// reads best: in quarters, 1 to 3, less when the result would exceed maxPixels or maxSide.
double readingScale(int textHeight, QSize size);

constexpr qint64 maxPixels = 16'000'000; // enlarged; more gains nothing and takes long
constexpr int maxSide = 32'000;          // the recogniser refuses 32767 and more

} // namespace qm::ocr
