#include "imaging/Thumbnailer.h"

#include "imaging/AreaAverage.h"
#include "imaging/PictureReader.h"

#include <QFile>
#include <QFileInfo>

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

namespace {

class ShrunkPicture : public RowSink
{
public:
    ShrunkPicture(double maxEdge, const std::function<bool()> &unwanted)
        : m_maxEdge(maxEdge)
        , m_unwanted(unwanted)
    {
    }

    bool begin(const PictureHeader &header) override
    {
        m_header = header;
        if (pixelsIn(header.size) > Thumbnailer::maxPixels || (m_unwanted && m_unwanted()))
            return false;
        if (header.format != QImage::Format_Invalid) // that is delivered whole
            start(header.rows, header.format);
        return true;
    }

    bool add(const uchar *row) override
    {
        if (m_unwanted && m_unwanted())
            return false;
        if (m_header.format == QImage::Format_Grayscale8)
            row = coloured(row);
        m_average->add(row);
        return true;
    }

    bool addWhole(const QImage &image) override
    {
        const QImage::Format format = image.hasAlphaChannel() ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
        m_header.colorSpace = image.colorSpace();
        start(image.size(), format);
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

    QImage image() const
    {
        QImage result = PictureReader::oriented(m_average->result(), m_header.orientation);
        result.setColorSpace(m_header.colorSpace);
        return result;
    }

private:
    void start(QSize rows, QImage::Format format)
    {
        m_average.emplace(rows, shrunk(m_header.size, m_maxEdge).boundedTo(rows),
                          format == QImage::Format_RGBA8888 ? 4 : 3);
    }

    const uchar *coloured(const uchar *grey)
    {
        m_coloured.resize(size_t(m_header.rows.width()) * 3);
        for (size_t i = 0; i < m_coloured.size(); ++i)
            m_coloured[i] = grey[i / 3];
        return m_coloured.data();
    }

    const double m_maxEdge;
    const std::function<bool()> &m_unwanted;
    PictureHeader m_header;
    std::optional<AreaAverage> m_average;
    std::vector<uchar> m_coloured;
};

} // namespace

QImage Thumbnailer::make(const QString &path, double maxEdge, const std::function<bool()> &unwanted)
{
    QFile file(path);
    if (!(maxEdge > 0) || !QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    ShrunkPicture picture(maxEdge, unwanted);
    const Decoded decoded = PictureReader::read(file, {PngReader::Depth::eight, maxEdge * leftToAverage}, picture);
    return decoded == Decoded::whole || decoded == Decoded::cut ? picture.image() : QImage();
}

} // namespace qm
