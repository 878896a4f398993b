#pragma once

#include "helpers/qmocr/Engine.h"
#include "helpers/qmocr/VerticalReader.h"

#include <QImage>
#include <QRegion>

#include <optional>

namespace qm::ocr {

// Reads a picture's text in two passes with different weaknesses: the first finds nearly everything, the second looks
// again at the lines of which the first is not sure. One thread.
class TextReader
{
public:
    // languages: Tesseract's names joined by "+"; if empty, those that read both English and Japanese best.
    explicit TextReader(const QString &languages);

    bool isReady() const { return m_first.isReady(); } // false if no language data is installed

    // The lines' boxes are in pixels of the picture.
    QList<Line> first(const QImage &gray);
    // The first pass's lines after a second look, without what is no text; with exact boxes if they are wanted.
    QList<Line> second(const QImage &gray, const QList<Line> &first, Boxes boxes);

private:
    // Replaces what is doubtful in the lines, which are in the prepared picture's pixels; may leave empty ones. Gives the
    // lines that were missing. Rows that reach into `elsewhere` are other pieces' business.
    QList<Line> readAgain(QList<Line> &lines, const QImage &prepared, const QRegion &elsewhere);

    QString m_languages;
    Engine m_first;
    VerticalReader m_vertical;
    // For what the first is not sure of; loaded when first needed.
    std::optional<Engine> m_latin, m_japanese;
};

} // namespace qm::ocr
