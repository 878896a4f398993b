#include "bench/Measure.h"
#include "bench/Rendered.h"
#include "helpers/qmscroll/Placement.h"

#include <QGuiApplication>
#include <QPainter>

#include <cstdio>
#include <numeric>

using namespace qm;

namespace {

constexpr QSize frameSize(1600, 1000);
constexpr int runs = 15;

// Windows of a long page, framed by what a browser has around it.
class Page
{
public:
    explicit Page(const QImage &drawn)
        : m_drawn(drawn)
    {
    }

    QImage frame(int offset, int header, int scrollBar) const
    {
        QImage image = m_drawn.copy(0, offset, frameSize.width(), frameSize.height());
        QPainter painter(&image);
        painter.fillRect(0, 0, image.width(), header, QColor(30, 40, 90));
        const int left = image.width() - scrollBar;
        painter.fillRect(left, 0, scrollBar, image.height(), QColor(235, 235, 238));
        painter.fillRect(left + 3, offset / 4, scrollBar - 6, 250, QColor(140, 140, 150));
        return image;
    }

private:
    const QImage m_drawn;
};

quint32 passOver(const QImage &image)
{
    const auto *pixels = reinterpret_cast<const quint32 *>(image.constBits());
    return std::accumulate(pixels, pixels + image.sizeInBytes() / 4, quint32(0));
}

void measure(const char *name, const QImage &before, const QImage &now)
{
    [[maybe_unused]] static volatile quint32 kept; // keeps the pass from being optimised away
    const double pass = bench::bestOf(runs, [&] { kept = passOver(before) + passOver(now); });
    const Frame last(before);
    HeldRows held(before.width());
    held.take(last, 0, 0, last.height());
    Placement place;
    const double seconds =
        bench::bestOf(runs, [&] { place = Placement::find(held, last, 0, Frame(now), {.bottom = now.height()}); });
    static const char *const kinds[] = {"found", "doubtful", "ambiguous", "lost"};
    std::printf("%-34s %-9s %5d px  %6.2f ms, a memory pass over both %5.2f ms; ratio %5.2f%s\n", name,
                kinds[int(place.kind)], place.at, seconds * 1e3, pass * 1e3, seconds / pass,
                place.kind == Placement::Kind::found ? " (at most 5)" : "");
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const Page page(bench::renderedDesktop({frameSize.width(), 4000}).convertToFormat(QImage::Format_RGB32));
    const Page photo(bench::renderedPhoto({frameSize.width(), 2400}));
    measure("page, a wheel's step", page.frame(1100, 0, 0), page.frame(1220, 0, 0));
    measure("page, half the region", page.frame(1100, 0, 0), page.frame(1600, 0, 0));
    measure("page with header and scroll bar", page.frame(1100, 64, 15), page.frame(1220, 64, 15));
    measure("photograph", photo.frame(100, 0, 0), photo.frame(220, 0, 0));
    measure("page that stands", page.frame(1100, 64, 15), page.frame(1100, 64, 15));
    measure("another page", page.frame(1100, 0, 0), photo.frame(100, 0, 0));
    return 0;
}
