#pragma once

#include "helpers/qmocr/Components.h"

#include <QImage>

namespace qm::ocr {

// Preparation of a picture for recognition: plain functions over 8-bit grey pictures (QImage::Format_Grayscale8). Any
// thread. A null picture yields a null picture.

// Luma (77 R + 150 G + 29 B) / 256, transparent parts on white. Works in bands of rows, so that no format ever needs a
// second full-size copy in colour.
QImage toGray(const QImage &picture);

// Dark text on white, whatever the colours were. A pixel's darkness is its distance from the surface it stands on (see
// Surfaces.h), stretched to the contrast of the neighbourhood (a strip of 17 tiles of 8 x 8 pixels); without a surface,
// from the most frequent grey of the strip. White text on a button, a selected row or a dark window thus reads like any
// other text.
QImage normalised(const QImage &gray);

// Median height in pixels of what looks like letters, of a normalised picture's dark spots: those with a letter's
// proportions. 0 if there are too few to tell.
int textHeight(const Components &spots);

// Factor by which to enlarge a picture with letters of this height, so that they come near the height the recogniser
// reads best: in quarters, 1 to 3, less if the result would exceed maxPixels or maxSide.
double readingScale(int textHeight, QSize size);

constexpr int darkBelow = 150;           // grey level below which a pixel of a normalised picture belongs to a letter
constexpr qint64 maxPixels = 16'000'000; // after enlarging; more gains nothing and takes long
constexpr int maxSide = 32'000;          // the recogniser refuses 32767 and more

} // namespace qm::ocr
