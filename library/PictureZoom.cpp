#include "library/PictureZoom.h"

#include <algorithm>
#include <cmath>

namespace qm {

static constexpr int tall = 3; // times as high as wide
static constexpr double most = 8;

bool PictureZoom::isTall(QSize picture)
{
    return picture.height() >= qint64(tall) * picture.width();
}

PictureZoom PictureZoom::openingFor(QSize picture)
{
    return isTall(picture) ? Mode::width : Mode::fit;
}

PictureZoom PictureZoom::fixedAt(double scale)
{
    PictureZoom zoom(Mode::fixed);
    zoom.m_scale = scale;
    return zoom;
}

double PictureZoom::scale(QSize picture, QSize room) const
{
    const double across = double(room.width()) / picture.width();
    switch (m_mode) {
    case Mode::fit: return std::min(across, double(room.height()) / picture.height());
    case Mode::width: return std::min(1.0, across);
    case Mode::fixed: return m_scale;
    }
    return 1;
}

QSize PictureZoom::shown(QSize picture, QSize room) const
{
    const double scale = this->scale(picture, room);
    return QSize(int(std::lround(picture.width() * scale)), int(std::lround(picture.height() * scale)))
        .expandedTo({1, 1});
}

PictureZoom PictureZoom::zoomedBy(double factor, QSize picture, QSize room) const
{
    const double before = scale(picture, room), all = PictureZoom(Mode::fit).scale(picture, room);
    double after = before * factor;
    if ((before < 1 && after > 1) || (before > 1 && after < 1))
        after = 1;
    if (all < 1 && after <= all)
        return Mode::fit;
    return fixedAt(std::clamp(after, std::min(all, 1.0), std::max(all, most)));
}

} // namespace qm
