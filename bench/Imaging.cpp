// Reading, scaling and writing PNG compared with QImage and libvips: CPU time (user and system, all threads, best of
// several) and peak memory, each measured in its own process. Read the ratios; absolute figures depend on the machine.

#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "imaging/Thumbnailer.h"
#include "tests/support/RenderedScreen.h"

#include <QBuffer>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>
#include <vips/vips.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

using namespace qm;

static constexpr int thumbnailEdge = 192;
static constexpr double measuredFor = 300; // milliseconds of work per side of a comparison and round
static constexpr int rounds = 4;
static constexpr int fewestRuns = 2;

namespace {

struct Measured {
    double milliseconds = 0;
    double megabytes = 0; // at the peak, above the process's baseline
    qint64 bytes = 0;     // written; or a checksum that keeps the work from being optimised away
};

} // namespace

static double cpuMilliseconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto of = [](const timeval &time) { return double(time.tv_sec) * 1e3 + double(time.tv_usec) / 1e3; };
    return of(usage.ru_utime) + of(usage.ru_stime);
}

// Peak resident memory since the last reset (proc(5): VmHWM, clear_refs). getrusage would not do: a child inherits its
// parent's peak.
static double peakMegabytes(bool reset = false)
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    if (reset && (!clear.open(QIODevice::WriteOnly) || clear.write("5") != 1))
        qFatal("cannot reset the memory's high-water mark");
    clear.close();
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        qFatal("no /proc/self/status");
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').at(1).toDouble() / 1024;
    }
    return 0;
}

static qint64 vipsThumbnail(const QString &path)
{
    VipsImage *image = nullptr;
    if (vips_thumbnail(path.toUtf8().constData(), &image, thumbnailEdge, "height", thumbnailEdge, "size",
                       VIPS_SIZE_DOWN, nullptr))
        return 0;
    size_t size = 0;
    void *pixels = vips_image_write_to_memory(image, &size);
    g_free(pixels);
    g_object_unref(image);
    return qint64(size);
}

static qint64 savedByQt(const QImage &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.size();
}

// One implementation of one task, run in the child process.
static std::function<qint64()> work(const QString &what, const QString &path)
{
    if (what == QLatin1String("thumbnail ours"))
        return [=] { return Thumbnailer::make(path, thumbnailEdge).sizeInBytes(); };
    if (what == QLatin1String("thumbnail qt"))
        return [=] {
            QImageReader reader(path);
            return reader.read()
                .scaled(thumbnailEdge, thumbnailEdge, Qt::KeepAspectRatio, Qt::SmoothTransformation)
                .sizeInBytes();
        };
    if (what == QLatin1String("thumbnail vips"))
        return [=] { return vipsThumbnail(path); };
    if (what == QLatin1String("open ours"))
        return [=] { return ImageFile::load(path).image.pixels.sizeInBytes(); };
    if (what == QLatin1String("open qt"))
        return [=] { return QImage(path).sizeInBytes(); };
    const QImage image(path);
    if (what == QLatin1String("save ours"))
        return [=] { return qint64(PngWriter::encode({image, image.size()}).size()); };
    if (what == QLatin1String("save qt"))
        return [=] { return savedByQt(image); };
    return [] { return qint64(0); };
}

static int child(const QString &what, const QString &path)
{
    QImageReader::setAllocationLimit(0);
    if (what.endsWith(QLatin1String("vips"))) {
        VIPS_INIT("bench");
        vips_cache_set_max(0);
    }
    const std::function<qint64()> run = work(what, path);
    const double heldBefore = peakMegabytes(true);
    Measured best{1e9, 0, 0};
    const double begun = cpuMilliseconds();
    for (int i = 0; i < fewestRuns || cpuMilliseconds() - begun < measuredFor; ++i) {
        const double start = cpuMilliseconds();
        best.bytes = run();
        best.milliseconds = qMin(best.milliseconds, cpuMilliseconds() - start);
        if (i == 0)
            best.megabytes = peakMegabytes() - heldBefore;
    }
    std::printf("%f %f %lld\n", best.milliseconds, best.megabytes, qlonglong(best.bytes));
    return 0;
}

static Measured measureOnce(const char *what, const QString &path)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--child"), QString::fromLatin1(what), path});
    process.waitForFinished(-1);
    const QList<QByteArray> fields = process.readAllStandardOutput().simplified().split(' ');
    if (process.exitCode() != 0 || fields.size() != 3)
        qFatal("%s failed: %s", what, process.readAllStandardError().constData());
    return {fields[0].toDouble(), fields[1].toDouble(), fields[2].toLongLong()};
}

// Each implementation runs once per round, so that a temporary slowdown of the machine affects all of them.
static std::vector<Measured> measure(const std::vector<const char *> &ways, const QString &path)
{
    std::vector<Measured> best(ways.size(), Measured{1e9, 1e9, 0});
    for (int round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < ways.size(); ++i) {
            const Measured measured = measureOnce(ways[i], path);
            best[i] = {qMin(best[i].milliseconds, measured.milliseconds), qMin(best[i].megabytes, measured.megabytes),
                       measured.bytes};
        }
    }
    return best;
}

// Reference: the mean over each target pixel's area by definition, in double precision, premultiplied.
static double worstError(const QImage &source, const QImage &thumbnail)
{
    const QImage pixels = source.convertToFormat(QImage::Format_ARGB32);
    const double across = double(pixels.width()) / thumbnail.width();
    const double down = double(pixels.height()) / thumbnail.height();
    double worst = 0;
    for (int y = 0; y < thumbnail.height(); ++y) {
        for (int x = 0; x < thumbnail.width(); ++x) {
            const double left = x * across, right = (x + 1) * across, top = y * down, bottom = (y + 1) * down;
            double sum[4] = {};
            for (int row = int(top); row < pixels.height() && row < bottom; ++row) {
                const double high = qMin(bottom, row + 1.0) - qMax(top, double(row));
                const auto *line = reinterpret_cast<const QRgb *>(pixels.constScanLine(row));
                for (int column = int(left); column < pixels.width() && column < right; ++column) {
                    const double weight = high * (qMin(right, column + 1.0) - qMax(left, double(column)));
                    const double alpha = qAlpha(line[column]) / 255.0;
                    sum[0] += weight * alpha * qRed(line[column]);
                    sum[1] += weight * alpha * qGreen(line[column]);
                    sum[2] += weight * alpha * qBlue(line[column]);
                    sum[3] += weight * alpha * 255;
                }
            }
            const QRgb got = reinterpret_cast<const QRgb *>(thumbnail.constScanLine(y))[x];
            const int levels[] = {qRed(got), qGreen(got), qBlue(got), qAlpha(got)};
            for (int channel = 0; channel < 4; ++channel)
                worst = qMax(worst, std::abs(levels[channel] - sum[channel] / (across * down)));
        }
    }
    return worst;
}

static void report(const QString &name, const QString &path, bool jpeg)
{
    const QImage image(path);
    const double decoded = double(image.sizeInBytes()) / (1 << 20);
    const auto thumbnails = measure({"thumbnail ours", "thumbnail qt", "thumbnail vips"}, path);
    const Measured &ours = thumbnails[0], &qt = thumbnails[1], &vips = thumbnails[2];
    std::printf(
        "%-22s thumbnail %7.1f ms %5.1f MB (%4.1f %% of the decoded)  | Qt %5.1fx %6.1f MB | libvips %5.1fx %6.1f MB"
        " | off the exact mean by %.2f\n",
        qPrintable(name), ours.milliseconds, ours.megabytes, 100 * ours.megabytes / decoded,
        qt.milliseconds / ours.milliseconds, qt.megabytes, vips.milliseconds / ours.milliseconds, vips.megabytes,
        worstError(image, Thumbnailer::make(path, thumbnailEdge)));
    const auto opened = measure({"open ours", "open qt"}, path);
    const Measured &open = opened[0], &openQt = opened[1];
    std::printf("%-22s open      %7.1f ms  | Qt %5.1fx\n", "", open.milliseconds,
                openQt.milliseconds / open.milliseconds);
    if (jpeg)
        return;
    const auto saved = measure({"save ours", "save qt"}, path);
    const Measured &save = saved[0], &saveQt = saved[1];
    std::printf("%-22s save      %7.1f ms %6.2f MB | Qt %5.1fx, size %.2f of Qt's\n", "", save.milliseconds,
                double(save.bytes) / (1 << 20), saveQt.milliseconds / save.milliseconds,
                double(save.bytes) / double(saveQt.bytes));
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QImageReader::setAllocationLimit(0);
    const QStringList arguments = application.arguments();
    if (arguments.value(1) == QLatin1String("--child"))
        return child(arguments.value(2), arguments.value(3));

    struct Picture {
        const char *name;
        QSize size;
        bool transparent;
    };
    const Picture screens[] = {{"1920x1080 RGB", {1920, 1080}, false},
                               {"2880x1800 RGBA", {2880, 1800}, true},
                               {"5120x2880 RGB", {5120, 2880}, false},
                               {"5120x2880 RGBA", {5120, 2880}, true}};
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("picture"));
    for (const Picture &screen : screens) {
        const QImage image = RenderedScreen::desktop(screen.size, screen.transparent);
        image.save(path, "PNG");
        report(QString::fromLatin1(screen.name), path, false);
        std::fflush(stdout);
    }
    RenderedScreen::desktop({2880, 1800}).save(path, "PNG");
    if (PngWriter::write(path, {QImage(path), QSizeF(1440, 900)}))
        report(QStringLiteral("2880x1800, by us"), path, false);
    const QImage photo = RenderedScreen::photo({4000, 3000});
    photo.save(path, "PNG");
    report(QStringLiteral("photo 4000x3000 PNG"), path, false);
    photo.save(path, "JPEG", 90);
    report(QStringLiteral("photo 4000x3000 JPEG"), path, true);
    return 0;
}
