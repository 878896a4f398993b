// Writes the sample document as pictures into a folder, to be looked at: render_sample FOLDER
#include "annotate/render/AnnotationRenderer.h"
#include "imaging/PngWriter.h"
#include "tests/annotate/SampleDocument.h"

#include <QDir>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    const QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: render_sample FOLDER\n");
        return 2;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    const auto write = [&](const char *name, const qm::Image &image) {
        const qm::Outcome written = qm::PngWriter::write(folder.filePath(QLatin1String(name)), image);
        std::printf("%s: %d x %d pixels, %g x %g points\n", name, image.pixels.width(), image.pixels.height(),
                    image.size.width(), image.size.height());
        return bool(written);
    };
    qm::AnnotationDoc small = qm::sampleDocument(1), large = qm::sampleDocument(2);
    bool written = write("scale1.png", qm::AnnotationRenderer::render(small)) &&
                   write("scale2.png", qm::AnnotationRenderer::render(large)) &&
                   write("limited.png", qm::AnnotationRenderer::render(large, 500));
    large.crop = QRectF(280.3, 150.2, 300.5, 230);
    written = written && write("cropped.png", qm::AnnotationRenderer::render(large));
    return written ? 0 : 1;
}
