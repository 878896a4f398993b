#pragma once

#include <QImage>
#include <QStringList>

namespace qm {

// Lines of text, one below the other, as a window shows them; the picture is as high as they need. In pixels. Needs a
// QGuiApplication.
struct TextPage {
    QStringList lines;
    int pixelSize = 15; // of the letters; eight fifths of it from line to line
    QColor ink = Qt::black, paper = Qt::white;
    int width = 640;

    QImage painted() const; // RGB32
};

} // namespace qm
