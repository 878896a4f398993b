// The editor window: cost of a drag on the event loop, cost of saving compared with writing the file, and memory.
#include "annotate/editor/AnnotationCanvasView.h"
#include "annotate/editor/AnnotationView.h"
#include "annotate/render/AnnotationRenderer.h"
#include "bench/Measure.h"
#include "bench/Scene.h"
#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "tests/annotate/CanvasEvents.h"
#include "tests/support/TempHome.h"

#include <QApplication>
#include <QFile>
#include <QTest>
#include <QThreadPool>

#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

using namespace qm;

namespace {

void row(const char *what, double milliseconds)
{
    std::printf("  %-58s %9.3f ms\n", what, milliseconds);
}

void ratio(const char *what, double value, const char *promise)
{
    std::printf("  %-58s %9.2f     %s\n", what, value, promise);
}

double residentBytes()
{
    malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE));
}

double copyTime(const QImage &image)
{
    std::vector<uchar> to(size_t(image.sizeInBytes()));
    return bench::bestOf(30, [&] { std::memcpy(to.data(), image.constBits(), to.size()); });
}

std::unique_ptr<AnnotationView> editor(const AnnotationDoc &doc, QSize canvas)
{
    auto view = std::make_unique<AnnotationView>(doc, QStringLiteral("/bench.png"));
    view->resize(canvas);
    view->show();
    view->activateWindow();
    (void)QTest::qWaitForWindowActive(view.get());
    view->resize(canvas + QSize(0, view->height() - view->canvas()->height())); // the bars add to the height
    QCoreApplication::processEvents();
    return view;
}

// Milliseconds for an event and everything that follows from it, including painting.
template<class Step>
double eventTime(Step step)
{
    constexpr int events = 40;
    int i = 0;
    return bench::bestOf(8,
                         [&] {
                             for (int n = 0; n < events; ++n) {
                                 step(i++);
                                 QCoreApplication::processEvents();
                             }
                         }) *
           1000 / events;
}

void drags(const AnnotationDoc &doc, QSize canvasSize)
{
    const std::unique_ptr<AnnotationView> view = editor(doc, canvasSize);
    AnnotationCanvasView &canvas = *view->canvas();
    CanvasEvents events(canvas);
    const QRectF inView = canvas.mapping().display & QRectF(canvas.rect());
    QImage seen(inView.size().toSize(), QImage::Format_RGB32);
    seen.fill(Qt::white);
    const double copy = copyTime(seen) * 1000;
    std::printf("Dragging, canvas %d x %d, of which the picture takes %d x %d\n", canvas.width(), canvas.height(),
                seen.width(), seen.height());
    row("memcpy of what is seen", copy);
    // A copy of a small picture never leaves the processor's cache; next to it everything looks slow.
    const char *promise = seen.width() >= 3000 ? "promised: at most 5" : "";
    const auto drag = [&](const char *what, Annotation::Kind kind) {
        const auto item = std::find_if(doc.items.begin(), doc.items.end(), [&](const Annotation &one) {
            return one.kind == kind && inView.contains(canvas.mapping().toView(one.rect.center()));
        });
        const QPointF from = canvas.mapping().toView(item->rect.center());
        events.press(from);
        const double time = eventTime([&](int i) { events.moveTo(from + QPointF(i % 40, i % 23)); });
        events.release(from);
        ratio(what, time / copy, promise);
    };
    QTest::keyClick(&canvas, Qt::Key_V);
    drag("event of a moved arrow / memcpy", Annotation::Kind::arrow);
    drag("event of a moved text / memcpy", Annotation::Kind::text);
    drag("event of a moved blur / memcpy", Annotation::Kind::blur);
    const QPointF corner(20, 20);
    for (const auto &[key, what] : {std::pair(Qt::Key_M, "event of a drawn rectangle / memcpy"),
                                    {Qt::Key_H, "event of a drawn highlighter / memcpy"},
                                    {Qt::Key_P, "event of the pen / memcpy"}}) {
        QTest::keyClick(&canvas, key);
        events.press(corner);
        const double drawing = eventTime([&](int i) { events.moveTo(corner + QPointF(200 + i % 40, 200 + i % 23)); });
        events.release(corner);
        ratio(what, drawing / copy, promise);
    }
    ratio("event of a pan / memcpy", eventTime([&](int i) {
                                         events.wheel(corner, {}, {0, i % 2 ? 120 : -120});
                                     }) / copy,
          "");
    events.modifiers = Qt::ControlModifier;
    ratio("event of a zoom / memcpy", eventTime([&](int i) {
                                          events.wheel(corner, {}, {0, i % 8 < 4 ? 120 : -120});
                                      }) / copy,
          "");
}

void finishing(const AnnotationDoc &doc, const TempHome &home)
{
    const std::unique_ptr<AnnotationView> view = editor(doc, {940, 520});
    const QString path = home.file(QStringLiteral("plain.png"));
    const Image image = AnnotationRenderer::render(doc);
    const double write = bench::bestOf(5, [&] { (void)PngWriter::write(path, image); });
    const double render = bench::bestOf(5, [&] { AnnotationRenderer::render(doc); });
    std::printf("Finishing, every source pixel\n");
    row("PngWriter::write", write * 1000);
    row("rendering", render * 1000);
    ratio("Save / (rendering + PngWriter::write)", bench::bestOf(5, [&] { view->save(); }) / (write + render),
          "promised: about 1");
    ratio("Annotate & Copy / rendering", bench::bestOf(5, [&] { view->copyAnnotated(); }) / render,
          "promised: about 1");
}

void memory(const QString &path)
{
    const auto edit = [](const Image &image, QSize canvas) {
        std::unique_ptr<AnnotationView> view = editor(bench::document(image), canvas);
        AnnotationCanvasView &shown = *view->canvas();
        CanvasEvents events(shown);
        QTest::keyClick(&shown, Qt::Key_V);
        const QPointF on = shown.mapping().toView(view->state().doc.items[1].rect.center()),
                      away = on + QPointF(20, 10);
        for (int i = 0; i < 100; ++i) {
            i % 2 ? events.drag(away, on) : events.drag(on, away);
            QCoreApplication::processEvents();
        }
        return view;
    };
    edit(bench::screen({640, 360}), {940, 520}).reset(); // warms up fonts, style and symbols
    QThreadPool::globalInstance()->waitForDone();        // what was copied last is no longer being encoded
    const double before = residentBytes();
    Image image = ImageFile::load(path).image;
    const double decoded = double(image.pixels.sizeInBytes());
    for (const QSize canvas : {QSize(940, 520), QSize(3000, 1688)}) {
        const std::unique_ptr<AnnotationView> view = edit(image, canvas);
        char what[80];
        std::snprintf(what, sizeof what, "editing on %d x %d, %d undo entries / decoded size", canvas.width(),
                      canvas.height(), int(view->state().undoStack.size()));
        ratio(what, (residentBytes() - before) / decoded, "promised: at most 2.2");
    }
}

void scrollingCapture(const TempHome &home)
{
    const QString path = home.file(QStringLiteral("long.png"));
    (void)PngWriter::write(path, bench::screen({2880, 30000}));
    const ImageFile::Result loaded = ImageFile::load(path);
    std::printf("A scrolling capture of %d x %d\n", loaded.image.pixels.width(), loaded.image.pixels.height());
    if (loaded.image.isNull())
        return;
    const double copy = copyTime(loaded.image.pixels);
    std::unique_ptr<AnnotationView> view;
    const double opening = bench::bestOf(3, [&] { view = editor({loaded.image, {}, {}}, {940, 520}); });
    ratio("opening, decoded / memcpy of its pixels", opening / copy, "");
    CanvasEvents events(*view->canvas());
    events.modifiers = Qt::ControlModifier;
    events.wheel({400, 300}, {0, 700}, {});
    events.modifiers = Qt::NoModifier;
    row("event of scrolling at eight times", eventTime([&](int i) {
            events.wheel({400, 300}, {}, {0, i % 2 ? 120 : -120});
        }));
    ratio("Save / memcpy of its pixels", bench::bestOf(2, [&] { view->save(); }) / copy, "");
    view.reset();
    AnnotationDoc marked = bench::document(loaded.image);
    for (Annotation &item : marked.items) { // as above, and where it opens
        constexpr double scale = 2880.0 / 5120, up = 27900;
        const double size = item.kind == Annotation::Kind::blur ? 1 : scale; // which costs most, as large as above
        item.rect = {item.rect.x() * scale, item.rect.y() * scale + up, item.rect.width() * size,
                     item.rect.height() * size};
    }
    drags(marked, {3000, 1688});
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const TempHome home;
    QApplication app(argc, argv);
    const QString path = home.file(QStringLiteral("screen.png"));
    {
        const AnnotationDoc doc = bench::document(bench::screen({5120, 2880}));
        (void)PngWriter::write(path, doc.source);
        std::printf("5120 x 2880 source, 20 items, 3 of them blurred; CPU time\n");
        drags(doc, {3000, 1688});
        drags(doc, {940, 529});
        finishing(doc, home);
    }
    std::printf("Memory beyond the application\n");
    memory(path);
    scrollingCapture(home);
}
