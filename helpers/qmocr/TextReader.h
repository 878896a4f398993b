#pragma once

#include "helpers/qmocr/Engine.h"

#include <QImage>
#include <QStringList>

#include <optional>

namespace qm::ocr {

// Reads a picture's text in two passes with different weaknesses: the first finds nearly everything, the second adds
// lines that the first tore apart or missed. One thread.
class TextReader
{
public:
    // languages: Tesseract's names joined by "+"; if empty, those that read both English and Japanese best.
    explicit TextReader(const QString &languages);

    bool isReady() const { return m_first.isReady(); } // false if no language data is installed

    QStringList first(const QImage &gray);
    // The first pass's lines plus what a second look adds.
    QStringList second(const QImage &gray, const QStringList &first);

private:
    Engine m_first;
    Engine m_second;
};

} // namespace qm::ocr
