#include "imaging/Image.h"

#include <cmath>

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

Image imageWithDpi(const QImage &pixels, double dpi)
{
    return {pixels, QSizeF(pixels.size()) / scaleForDpi(dpi)};
}

} // namespace qm
