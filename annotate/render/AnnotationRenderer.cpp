#include "annotate/render/AnnotationRenderer.h"

#include "annotate/document/TextLine.h"
#include "annotate/render/RenderCache.h"
#include "imaging/AreaResample.h"

#include <QColorSpace>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qm {

static QRectF sourceWindow(const AnnotationDoc &doc, const PixelGrid &grid)
{
    return PixelGrid::ofSource(doc.source).toPixels().mapRect(grid.region);
}

// Opaque formats are the fastest to paint on, to show and to write.
static QImage::Format outputFormat(const AnnotationDoc &doc, const PixelGrid &grid)
{
    constexpr auto withAlpha = QImage::Format_ARGB32_Premultiplied;
    const QImage &pixels = doc.source.pixels;
    const QRectF inside = QRectF(pixels.rect()).adjusted(-1e-6, -1e-6, 1e-6, 1e-6);
    if (pixels.isNull() || pixels.hasAlphaChannel() || grid.region.isEmpty() ||
        !inside.contains(sourceWindow(doc, grid)))
        return withAlpha;
    // A rotated patch can bring in what lies beyond the picture.
    const bool turnedIn = std::any_of(doc.items.begin(), doc.items.end(), [&](const Annotation &item) {
        return item.kind == Annotation::Kind::blur && item.rotates() &&
               !pixels.rect().contains(blurRegion(doc.source, item));
    });
    return turnedIn ? withAlpha : QImage::Format_RGB32;
}

static QImage makeBase(const AnnotationDoc &doc, const PixelGrid &grid, QImage::Format format)
{
    if (!doc.source.isNull() && !grid.region.isEmpty())
        return areaResampled(doc.source.pixels, sourceWindow(doc, grid), grid.pixels, format);
    QImage empty(grid.pixels, format);
    empty.fill(Qt::transparent);
    return empty;
}

// The profile defines the pixel values. One for grey or CMYK does not apply to RGB output.
static QColorSpace outputColorSpace(const QImage &source)
{
    constexpr qsizetype modelOffset = 16; // data colour space in the profile's header, ICC.1:2022, 7.2
    const QColorSpace space = source.colorSpace();
    return space.iccProfile().mid(modelOffset, 4) == "RGB " ? space : QColorSpace();
}

static QColorTransform itemColors(const QImage &source)
{
    const QColorSpace space = outputColorSpace(source);
    return space.isValid() && space != QColorSpace(QColorSpace::SRgb)
               ? QColorSpace(QColorSpace::SRgb).transformationToColorSpace(space)
               : QColorTransform();
}

// The items prepared for this output, reusing unchanged ones from the last frame.
static QList<PreparedItem> prepared(const AnnotationDoc &doc, const PixelGrid &grid, const QList<PreparedItem> &last)
{
    QList<PreparedItem> items;
    items.reserve(doc.items.size());
    for (qsizetype i = 0; i < doc.items.size(); ++i) {
        const Annotation &item = doc.items[i];
        const auto same = [&](const PreparedItem &other) { return other.item == item; };
        if (i < last.size() && same(last[i])) {
            items << last[i];
        } else {
            const auto found = std::find_if(last.begin(), last.end(), same);
            items << (found != last.end() ? *found : prepareItem(item, doc.source, grid));
        }
    }
    return items;
}

// The pixels in which two lists may differ. Common items at both ends are skipped; of the rest, items are compared one
// by one if both lists have equally many, otherwise all of them count.
static QRegion changed(const QList<PreparedItem> &before, const QList<PreparedItem> &after)
{
    const auto same = [](const PreparedItem &a, const PreparedItem &b) { return a.item == b.item; };
    const auto [firstBefore, firstAfter] =
        std::mismatch(before.begin(), before.end(), after.begin(), after.end(), same);
    const auto [lastBefore, lastAfter] = std::mismatch(before.rbegin(), std::make_reverse_iterator(firstBefore),
                                                       after.rbegin(), std::make_reverse_iterator(firstAfter), same);
    QRegion region;
    const bool pairs = lastBefore.base() - firstBefore == lastAfter.base() - firstAfter;
    for (auto old = firstBefore; old != lastBefore.base(); ++old) {
        if (!pairs || !same(*old, *(firstAfter + (old - firstBefore))))
            region |= old->bounds;
    }
    for (auto next = firstAfter; next != lastAfter.base(); ++next) {
        if (!pairs || !same(*next, *(firstBefore + (next - firstAfter))))
            region |= next->bounds;
    }
    return region;
}

static void copyPixels(const QImage &from, QImage &to, const QRect &rect)
{
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        std::memcpy(to.scanLine(y) + qsizetype(rect.left()) * 4, from.constScanLine(y) + qsizetype(rect.left()) * 4,
                    size_t(rect.width()) * 4);
}

static void paintItems(const RenderCache &kept, QImage &frame, const QRect &rect)
{
    QPainter painter(&frame);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(rect);
    for (const PreparedItem &item : kept.items) {
        if (!item.bounds.intersects(rect))
            continue;
        item.patch.drawOn(frame, rect);
        paint(item, painter, kept.colors);
    }
}

Image AnnotationRenderer::render(const AnnotationDoc &doc, std::optional<double> maxDimension, RenderCache *cache)
{
    return renderPart(doc, PixelGrid::ofOutput(doc, maxDimension), cache);
}

Image AnnotationRenderer::renderPart(const AnnotationDoc &doc, const PixelGrid &grid, RenderCache *cache)
{
    const QImage::Format format = outputFormat(doc, grid);
    RenderCache once;
    RenderCache &kept = cache ? *cache : once;
    const qint64 source = doc.source.pixels.cacheKey();
    if (kept.base.isNull() || kept.source != source || kept.format != format || kept.grid.region != grid.region ||
        kept.grid.pixels != grid.pixels) {
        kept = {source, grid, format, makeBase(doc, grid, format), itemColors(doc.source.pixels), {}, {}, {}};
        if (kept.base.isNull())
            return {{}, grid.size};
    }

    QList<PreparedItem> items = prepared(doc, grid, kept.items);
    QRegion dirty;
    if (kept.frame.isNull()) {
        kept.frame = cache ? kept.base : std::move(kept.base);
        kept.frame.setColorSpace(outputColorSpace(doc.source.pixels));
        for (const PreparedItem &item : items)
            dirty |= item.bounds;
        kept.changed = kept.frame.rect();
    } else {
        dirty = changed(kept.items, items);
        kept.changed = dirty;
        for (const QRect &rect : dirty)
            copyPixels(kept.base, kept.frame, rect);
    }
    kept.items = std::move(items);
    for (const QRect &rect : dirty)
        paintItems(kept, kept.frame, rect);
    return {kept.frame, grid.size};
}

} // namespace qm
