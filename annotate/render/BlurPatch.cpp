#include "annotate/render/BlurPatch.h"

#include "annotate/document/CanvasGeometry.h"
#include "annotate/render/Pixellate.h"
#include "imaging/AreaResample.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qm {

static constexpr auto premultiplied = QImage::Format_ARGB32_Premultiplied;

static QRect outward(const QRectF &rect)
{
    // Clip huge boxes before they overflow an int; no picture reaches that far.
    constexpr double far = 1 << 28;
    const QRectF within = rect & QRectF(-far, -far, 2 * far, 2 * far);
    const int left = int(std::floor(within.left()));
    const int top = int(std::floor(within.top()));
    return {left, top, int(std::ceil(within.right())) - left, int(std::ceil(within.bottom())) - top};
}

// Like outward, but a corner within a millionth of a pixel of an edge (invisible) counts as on it.
static QRect covering(const QRectF &rect)
{
    return outward(rect.adjusted(1e-6, 1e-6, -1e-6, -1e-6));
}

static bool onPixelEdges(const QRectF &rect)
{
    const auto whole = [](double edge) { return std::abs(edge - std::round(edge)) < 1e-6; };
    return whole(rect.left()) && whole(rect.top()) && whole(rect.right()) && whole(rect.bottom());
}

static QImage pixellated(const QImage &source, const QRect &region, const QRect &area)
{
    QImage patch(area.size(), premultiplied);
    if (!patch.isNull())
        Pixellate::pixellate(source, Pixellate::cellsFor(region), area.topLeft(), patch);
    return patch;
}

static QImage coverageOf(const QPainterPath &shape, const QRect &device)
{
    QImage coverage(device.size(), QImage::Format_Alpha8);
    coverage.fill(0);
    QPainter painter(&coverage);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-device.topLeft());
    painter.fillPath(shape, Qt::black);
    return coverage;
}

// The picture with its border pixels repeated outward.
static QImage widened(const QImage &image, const QMargins &by)
{
    QImage result(image.width() + by.left() + by.right(), image.height() + by.top() + by.bottom(), premultiplied);
    for (int y = 0; y < result.height(); ++y) {
        const auto *from =
            reinterpret_cast<const quint32 *>(image.constScanLine(std::clamp(y - by.top(), 0, image.height() - 1)));
        auto *to = reinterpret_cast<quint32 *>(result.scanLine(y));
        std::fill(to, to + by.left(), from[0]);
        std::copy(from, from + image.width(), to + by.left());
        std::fill(to + by.left() + image.width(), to + result.width(), from[image.width() - 1]);
    }
    return result;
}

// The patch rotated with its item.
static QImage turned(const QImage &source, const QRect &region, const QTransform &place, const QRect &device)
{
    QImage result(device.size(), premultiplied);
    result.fill(Qt::transparent);
    const QRect area = region & source.rect();
    if (area.isEmpty())
        return result;
    QImage patch = pixellated(source, region, area);
    const double scale = std::min(std::sqrt(std::abs(place.determinant())), 1.0);
    const QSize size(int(std::ceil(area.width() * scale)), int(std::ceil(area.height() * scale)));
    patch = areaResampled(patch, patch.rect(), size, premultiplied);
    if (patch.isNull())
        return result;
    // Only the shape may define the edge, so the patch must extend beyond it; where the picture ends, the patch ends
    // too.
    constexpr int margin = 2;
    const QMargins by(area.left() == region.left() ? margin : 0, area.top() == region.top() ? margin : 0,
                      area.right() == region.right() ? margin : 0, area.bottom() == region.bottom() ? margin : 0);
    QPainter painter(&result);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setTransform(place * QTransform::fromTranslate(-device.x(), -device.y()));
    painter.translate(area.topLeft());
    painter.scale(double(area.width()) / size.width(), double(area.height()) / size.height());
    painter.drawImage(QPoint(-by.left(), -by.top()), widened(patch, by));
    return result;
}

// The patch on the output's pixels, each the mean of the source pixels it covers.
static QImage upright(const QImage &source, const QRect &region, const QTransform &place, const QRect &device)
{
    const QRectF window = place.inverted().mapRect(QRectF(device));
    const QRect area = covering(window) & region & source.rect();
    if (area.isEmpty()) {
        QImage result(device.size(), premultiplied);
        result.fill(Qt::transparent);
        return result;
    }
    const QImage patch = pixellated(source, region, area);
    return patch.isNull() ? QImage()
                          : areaResampled(patch, window.translated(-area.topLeft()), device.size(), premultiplied);
}

QRect blurRegion(const Image &source, const Annotation &item)
{
    return outward(PixelGrid::ofSource(source).toPixels().mapRect(item.rect));
}

BlurPatch makeBlurPatch(const Image &source, const Annotation &item, const PixelGrid &output)
{
    if (source.isNull() || item.rect.width() < 2 || item.rect.height() < 2)
        return {};
    const QTransform toPixels = PixelGrid::ofSource(source).toPixels();
    const QRectF box = toPixels.mapRect(item.rect);
    const QRect region = outward(box);
    const QTransform ontoOutput = rotation(item) * output.toPixels();
    // The region's whole pixels must fill the box exactly, so squeeze them by less than a pixel per side.
    const QTransform squeeze(box.width() / region.width(), 0, 0, box.height() / region.height(),
                             box.x() - region.x() * box.width() / region.width(),
                             box.y() - region.y() * box.height() / region.height());
    const QTransform place = squeeze * toPixels.inverted() * ontoOutput;

    QPainterPath shape;
    if (item.blurShape == Annotation::BlurShape::ellipse)
        shape.addEllipse(item.rect);
    else
        shape.addRect(item.rect);
    shape = ontoOutput.map(shape);

    BlurPatch patch;
    const QRectF covered = item.rotates() ? shape.boundingRect() : place.mapRect(QRectF(region));
    patch.device = covering(covered) & QRect({0, 0}, output.pixels);
    if (patch.device.isEmpty())
        return {};
    patch.pixels = item.rotates() ? turned(source.pixels, region, place, patch.device)
                                  : upright(source.pixels, region, place, patch.device);
    if (patch.pixels.isNull())
        return {};
    if (item.rotates() || item.blurShape == Annotation::BlurShape::ellipse || !onPixelEdges(covered))
        patch.coverage = coverageOf(shape, patch.device);
    return patch;
}

static quint32 mixed(quint32 below, quint32 above, uint coverage)
{
    // Two channels at a time, each weighted and divided by 255 exactly.
    const auto weigh = [&](quint32 b, quint32 a) {
        const quint32 sum = a * coverage + b * (255 - coverage) + 0x00800080u;
        return ((sum + ((sum >> 8) & 0x00ff00ffu)) >> 8) & 0x00ff00ffu;
    };
    return weigh(below & 0x00ff00ffu, above & 0x00ff00ffu) |
           weigh((below >> 8) & 0x00ff00ffu, (above >> 8) & 0x00ff00ffu) << 8;
}

void BlurPatch::drawOn(QImage &output, const QRect &clip) const
{
    const QRect drawn = device & clip;
    if (drawn.isEmpty())
        return;
    // If the output has no transparency, the patch has none inside the shape.
    const quint32 opaque = output.format() == QImage::Format_RGB32 ? 0xff000000u : 0;
    for (int y = drawn.top(); y <= drawn.bottom(); ++y) {
        auto *to = reinterpret_cast<quint32 *>(output.scanLine(y)) + drawn.left();
        const auto *from =
            reinterpret_cast<const quint32 *>(pixels.constScanLine(y - device.top())) + drawn.left() - device.left();
        if (coverage.isNull()) {
            std::memcpy(to, from, size_t(drawn.width()) * 4);
            continue;
        }
        const uchar *covered = coverage.constScanLine(y - device.top()) + drawn.left() - device.left();
        for (int x = 0; x < drawn.width(); ++x) {
            if (covered[x] == 255)
                to[x] = from[x];
            else if (covered[x] != 0)
                to[x] = mixed(to[x], from[x], covered[x]) | opaque;
        }
    }
}

} // namespace qm
