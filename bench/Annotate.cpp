// Rendering in the editor: a frame with and without the cache of the last one, and pixellation, against memcpy.
#include "annotate/render/AnnotationRenderer.h"
#include "annotate/render/Pixellate.h"
#include "annotate/render/RenderCache.h"
#include "bench/Measure.h"
#include "bench/Scene.h"
#include "imaging/AreaResample.h"

#include <QGuiApplication>

#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

using namespace qm;

namespace {

double best(int runs, const std::function<void()> &work)
{
    return bench::bestOf(runs, work) * 1000;
}

// Milliseconds per call, for work too short to be measured singly.
double bestOfMany(int runs, int times, const std::function<void()> &work)
{
    const auto all = [&] {
        for (int i = 0; i < times; ++i)
            work();
    };
    return best(runs, all) / times;
}

void row(const char *what, double ms, const char *promise = "")
{
    std::printf("  %-58s %9.3f ms  %s\n", what, ms, promise);
}

void ratio(const char *what, double value, const char *promise)
{
    std::printf("  %-58s %9.2f     %s\n", what, value, promise);
}

double copyTime(const QImage &image)
{
    std::vector<uchar> to(size_t(image.sizeInBytes()));
    return best(30, [&] { std::memcpy(to.data(), image.constBits(), to.size()); });
}

void frames(const char *title, AnnotationDoc doc, int moving)
{
    constexpr double limit = 3000;
    const Image output = AnnotationRenderer::render(doc, limit);
    const double copy = copyTime(output.pixels);
    const auto move = [&] { doc.items[moving].rect.translate(doc.items[moving].rect.x() < 2000 ? 3.3 : -900, 1.7); };
    RenderCache cache;
    AnnotationRenderer::render(doc, limit, &cache);

    const double fresh = best(8, [&] {
        move();
        AnnotationRenderer::render(doc, limit);
    });
    const double kept = bestOfMany(10, 20, [&] {
        move();
        AnnotationRenderer::render(doc, limit, &cache);
    });
    const double held = bestOfMany(5, 4, [&] {
        static Image last;
        move();
        last = AnnotationRenderer::render(doc, limit, &cache);
    });
    std::printf("%s\n", title);
    row("memcpy of the output", copy);
    row("frame from the source", fresh);
    row("frame with the cache", kept);
    ratio("from the source / with the cache", fresh / kept, "promised: at least 4");
    ratio("with the cache / memcpy of the output", kept / copy, "promised: at most 5");
    ratio("the same, the last frame still held by the caller", held / copy, "");
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication app(argc, argv);
    const Image source = bench::screen({5120, 2880});
    const AnnotationDoc doc = bench::document(source);

    std::printf("5120 x 2880 source, 20 items, 3 of them blurred, output 3000 pixels; CPU time\n");
    frames("An arrow moves", doc, 1);
    frames("A text moves", doc, 4);
    frames("A blurred region moves", doc, 17);

    std::printf("The source on 3000 pixels\n");
    const QSize size(3000, 1688);
    QImage out;
    const double area =
        best(8, [&] { out = areaResampled(source.pixels, source.pixels.rect(), size, QImage::Format_RGB32); });
    const double smooth =
        best(8, [&] { out = source.pixels.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation); });
    row("area average", area);
    row("QImage::scaled, smooth", smooth);
    ratio("area average / memcpy of the source", area / copyTime(source.pixels), "");

    std::printf("Export: every source pixel, all items\n");
    row("render without a limit", best(5, [&] { AnnotationRenderer::render(doc); }));

    std::printf("Pixellation\n");
    for (const QSize &region : {QSize(640, 480), QSize(2000, 1500), QSize(5120, 2880)}) {
        const QRect rect({0, 0}, region);
        const int times = 5120 * 2880 / (region.width() * region.height());
        std::vector<uchar> to(size_t(rect.width()) * size_t(rect.height()) * 4);
        const double copy =
            bestOfMany(20, times, [&] { std::memcpy(to.data(), source.pixels.constBits(), to.size()); });
        QImage patch(region, QImage::Format_ARGB32_Premultiplied); // memory already touched, like memcpy's
        patch.fill(0);
        const auto cells = Pixellate::cellsFor(rect);
        const double pixellated = bestOfMany(20, times, [&] { Pixellate::pixellate(source.pixels, cells, {}, patch); });
        char name[64];
        std::snprintf(name, sizeof name, "%d x %d / memcpy of the region", region.width(), region.height());
        ratio(name, pixellated / copy, "promised: at most 3");
    }
}
