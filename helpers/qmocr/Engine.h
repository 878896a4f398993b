#pragma once

#include "helpers/qmocr/Line.h"

#include <QImage>
#include <QStringList>

#include <memory>

namespace tesseract {
class TessBaseAPI;
}

namespace qm::ocr {

// One recogniser with its language data loaded. One thread. Loading takes about a tenth of a second and 50 MB.
class Engine
{
public:
    enum class Layout {
        sparse,  // text anywhere, in any order: finds labels, cells and buttons
        columns, // one block, read from top to bottom and from right to left
    };

    // Uses the best of these language sets whose data is installed; parts of a set ("eng+jpn") may be missing. If none
    // is usable, uses whatever else is installed, except for columns. isReady() tells whether there was anything.
    Engine(const QStringList &languageSets, Layout layout);
    ~Engine();

    bool isReady() const { return m_ready; }

    // The lines of a grey picture, dark on light, which is first scaled; boxes are in the original picture's pixels. In
    // columns, the box of a symbol is that of its whole word.
    QList<Line> read(const QImage &gray, double scale);
    // The same of parts of it, each of which holds one line, whatever the layout.
    QList<QList<Symbol>> readRows(const QImage &gray, double scale, const QList<QRect> &areas);

private:
    std::unique_ptr<tesseract::TessBaseAPI> m_api;
    Layout m_layout;
    bool m_ready = false;
};

} // namespace qm::ocr
