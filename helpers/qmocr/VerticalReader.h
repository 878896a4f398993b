#pragma once

#include "helpers/qmocr/Components.h"
#include "helpers/qmocr/Engine.h"

#include <QImage>

#include <optional>

namespace qm::ocr {

// Reads Japanese that is written in columns, with an engine of its own, which is loaded when there is such text for the
// first time. One thread.
class VerticalReader
{
public:
    // The columns' lines from right to left, in the pixels of a prepared picture. What was read is removed from the
    // picture. spots are the picture's letters. None without the language data for it, nor where the other engine makes
    // rows of the same letters: widely spaced text looks like columns.
    QList<Line> take(QImage &prepared, const Components &spots, Engine &other);

private:
    std::optional<Engine> m_engine;
};

} // namespace qm::ocr
