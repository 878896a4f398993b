#pragma once

#include "helpers/qmocr/Engine.h"

#include <QImage>

namespace qm::ocr {

// Reads a picture's text in two passes with different weaknesses: the first finds nearly everything, the second adds
// lines that the first tore apart or missed. One thread.
class TextReader
{
public:
    // languages: Tesseract's names joined by "+"; if empty, those that read both English and Japanese best.
    explicit TextReader(const QString &languages);

    bool isReady() const { return m_first.isReady(); } // false if no language data is installed

    // The lines' boxes are in pixels of the picture.
    QList<Line> first(const QImage &gray);
    // The first pass's lines plus what a second look adds.
    QList<Line> second(const QImage &gray, const QList<Line> &first);

private:
    Engine m_first;
    Engine m_second;
};

} // namespace qm::ocr
