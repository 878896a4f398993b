#pragma once

#include <QImage>
#include <QList>
#include <QRect>
#include <QString>

#include <memory>

namespace tesseract {
class TessBaseAPI;
}

namespace qm::ocr {

// A line of text and where it stands, in pixels of the picture.
struct Line {
    QRect box;
    QString text; // as recognised, tidied (see Text.h)
};

// One recogniser with its language data loaded. One thread. Loading takes about a tenth of a second and 50 MB.
class Engine
{
public:
    enum class Layout {
        sparse, // text anywhere, in no order: finds labels, cells and buttons
        block,  // one block of lines: finds long lines that the other tears apart
    };
    enum class Invert { no, yes }; // try light text on dark as well

    // The best of these language sets whose data is installed; parts of a set ("eng+jpn") may be missing. Nothing usable:
    // whatever else is installed. isReady() tells whether anything was.
    Engine(const QStringList &languageSets, Layout layout, Invert invert);
    ~Engine();

    bool isReady() const { return m_ready; }

    // The lines of a grey picture, which is enlarged by the scale first; boxes are in the picture's own pixels.
    QList<Line> read(const QImage &gray, double scale);

private:
    std::unique_ptr<tesseract::TessBaseAPI> m_api;
    bool m_ready = false;
};

} // namespace qm::ocr
