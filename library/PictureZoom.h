#pragma once

#include <QSize>

namespace qm {

// How large a picture is shown in a view. A value. Sizes of the room and of what is shown are pixels of the screen, a
// scale is such pixels per pixel of the picture.
class PictureZoom
{
public:
    enum class Mode {
        fit,   // all of it
        width, // its whole width, but not enlarged
        fixed
    };

    PictureZoom() = default; // fit

    // All of an ordinary picture; the width of one that is much taller, such as a scrolling capture: nobody could read it
    // otherwise.
    static PictureZoom openingFor(QSize picture);
    static bool isTall(QSize picture);

    PictureZoom(Mode mode)
        : m_mode(mode)
    {
    }
    static PictureZoom actualSize() { return fixedAt(1); }

    Mode mode() const { return m_mode; }
    bool isActualSize() const { return m_mode == Mode::fixed && m_scale == 1; }

    double scale(QSize picture, QSize room) const;
    QSize shown(QSize picture, QSize room) const;

    // Larger or smaller by a factor, at most eight times the picture and at least all of it; passing its own size, it
    // stops there.
    PictureZoom zoomedBy(double factor, QSize picture, QSize room) const;

    bool operator==(const PictureZoom &) const = default;

private:
    static PictureZoom fixedAt(double scale);

    Mode m_mode = Mode::fit;
    double m_scale = 1; // when fixed
};

} // namespace qm
