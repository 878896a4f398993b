#include "imaging/Image.h"

#include <QtEndian>

#include <cmath>
#include <cstring>

namespace qm {

double Image::scale() const
{
    return pixels.isNull() || size.width() <= 0 ? 1.0 : pixels.width() / size.width();
}

int scaleForDpi(double dpi)
{
    const double scale = dpi / 72.0;
    const double whole = std::round(scale);
    return whole >= 2 && whole <= 16 && std::abs(scale - whole) <= 0.01 * whole ? int(whole) : 1;
}

bool allOpaque(const uchar *pixels, int count)
{
    quint32 all = 0xffffffffu;
    for (int i = 0; i < count; ++i) {
        quint32 pixel;
        std::memcpy(&pixel, pixels + 4 * size_t(i), 4);
        all &= pixel;
    }
    return qFromLittleEndian(all) >> 24 == 0xff;
}

Image imageWithDpi(const QImage &pixels, double dpi)
{
    return {pixels, QSizeF(pixels.size()) / scaleForDpi(dpi)};
}

} // namespace qm
