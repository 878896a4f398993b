#include "imaging/Thumbnailer.h"

#include "imaging/AreaAverage.h"
#include "imaging/PictureReader.h"

#include <QColorSpace>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace qm {

// A decoder's own scaling is coarser than area averaging, so it only goes down to twice the wanted size.
static constexpr double leftToAverage = 2;

static qint64 pixelsIn(QSize size)
{
    return qint64(size.width()) * size.height();
}

static QSize shrunk(QSize size, double maxEdge)
{
    const double scale = qMin(1.0, maxEdge / qMax(size.width(), size.height()));
    return QSize(int(std::lround(size.width() * scale)), int(std::lround(size.height() * scale))).expandedTo({1, 1});
}

// Where a part of the upright picture is in the one that is stored.
static QRect stored(QRect part, QSize whole, int orientation)
{
    const auto isOneOf = [orientation](std::initializer_list<int> values) {
        return std::find(values.begin(), values.end(), orientation) != values.end();
    };
    if (isOneOf({2, 3, 6, 7}))
        part.moveLeft(whole.width() - part.width() - part.x());
    if (isOneOf({3, 4, 7, 8}))
        part.moveTop(whole.height() - part.height() - part.y());
    return orientation > 4 ? QRect(part.topLeft().transposed(), part.size().transposed()) : part;
}

namespace {

// What is made of a picture of this size, upright.
struct Target {
    QSize whole;
    QRect part; // of it
};
using TargetFor = std::function<Target(QSize size)>;

class ShrunkPicture : public RowSink
{
public:
    ShrunkPicture(TargetFor target, const std::function<bool()> &unwanted)
        : m_target(std::move(target))
        , m_unwanted(unwanted)
    {
    }

    bool begin(const PictureHeader &header) override
    {
        m_header = header;
        if (pixelsIn(header.size) > Thumbnailer::maxPixels || (m_unwanted && m_unwanted()))
            return false;
        return header.format == QImage::Format_Invalid || start(header.rows, header.format); // that is delivered whole
    }

    bool add(const uchar *row) override
    {
        if (m_unwanted && m_unwanted())
            return false;
        if (m_header.format == QImage::Format_Grayscale8)
            row = coloured(row);
        m_average->add(row);
        return !m_average->isComplete();
    }

    bool addWhole(const QImage &image) override
    {
        const QImage::Format format = image.hasAlphaChannel() ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
        m_header.colorSpace = image.colorSpace();
        if (!start(image.size(), format))
            return false;
        constexpr int band = 32; // rows converted at a time
        for (int y = 0; y < image.height(); y += band) {
            const QImage rows = image.copy(0, y, image.width(), qMin(band, image.height() - y)).convertToFormat(format);
            for (int i = 0; i < rows.height(); ++i) {
                if (m_unwanted && m_unwanted())
                    return false;
                m_average->add(rows.constScanLine(i));
            }
        }
        return true;
    }

    bool isComplete() const { return m_average && m_average->isComplete(); }

    QImage image() const
    {
        QImage result = PictureReader::oriented(m_average->result(), m_header.orientation);
        result.setColorSpace(m_header.colorSpace);
        return result;
    }

private:
    bool start(QSize rows, QImage::Format format)
    {
        const auto turned = [&](QSize size) { return m_header.orientation > 4 ? size.transposed() : size; };
        const Target target = m_target(turned(m_header.size));
        const QSize whole = turned(target.whole);
        const QRect part = stored(target.part, target.whole, m_header.orientation);
        if (whole.boundedTo(rows) != whole || part.isEmpty() || !QRect(QPoint(), whole).contains(part))
            return false;
        m_average.emplace(rows, whole, part, format == QImage::Format_RGBA8888 ? 4 : 3);
        return true;
    }

    const uchar *coloured(const uchar *grey)
    {
        m_coloured.resize(size_t(m_header.rows.width()) * 3);
        for (size_t i = 0; i < m_coloured.size(); ++i)
            m_coloured[i] = grey[i / 3];
        return m_coloured.data();
    }

    const TargetFor m_target;
    const std::function<bool()> &m_unwanted;
    PictureHeader m_header;
    std::optional<AreaAverage> m_average;
    std::vector<uchar> m_coloured;
};

} // namespace

static QImage read(const QString &path, double smallestLongEdge, const TargetFor &target,
                   const std::function<bool()> &unwanted)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    ShrunkPicture picture(target, unwanted);
    const Decoded decoded = PictureReader::read(file, {PngReader::Depth::eight, smallestLongEdge}, picture);
    const bool isRead = decoded == Decoded::whole || decoded == Decoded::cut || picture.isComplete();
    return isRead ? picture.image() : QImage();
}

QImage Thumbnailer::make(const QString &path, double maxEdge, const std::function<bool()> &unwanted)
{
    if (!(maxEdge > 0))
        return {};
    const auto all = [maxEdge](QSize size) {
        const QSize whole = shrunk(size, maxEdge);
        return Target{whole, QRect(QPoint(), whole)};
    };
    return read(path, maxEdge * leftToAverage, all, unwanted);
}

QImage Thumbnailer::makePart(const QString &path, QSize whole, const QRect &part, const std::function<bool()> &unwanted)
{
    const double edge = std::max(whole.width(), whole.height());
    return read(
        path, edge * leftToAverage,
        [&](QSize) {
            return Target{whole, part};
        },
        unwanted);
}

QImage Thumbnailer::forScreen(QImage image)
{
    const QColorSpace space = image.colorSpace();
    if (space.isValid() && space != QColorSpace(QColorSpace::SRgb))
        image.convertToColorSpace(QColorSpace::SRgb);
    return image;
}

} // namespace qm
