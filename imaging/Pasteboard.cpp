#include "imaging/Pasteboard.h"

#include "imaging/PngWriter.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace qm {

namespace {

const QString pngType = QStringLiteral("image/png");
const QString qtImageType = QStringLiteral("application/x-qt-image"); // stands for every format Qt can write
const QString kdeType = QStringLiteral("x-kde-force-image-copy");     // or KDE's clipboard manager ignores pictures

class PictureData : public QMimeData
{
public:
    explicit PictureData(const Image &image)
        : m_image(image)
    {
    }

    QStringList formats() const override { return {pngType, qtImageType, kdeType}; }
    bool hasFormat(const QString &type) const override { return formats().contains(type); }

protected:
    QVariant retrieveData(const QString &type, QMetaType wanted) const override
    {
        if (type == qtImageType)
            return m_image.pixels;
        if (type == kdeType)
            return QByteArray("1");
        if (type != pngType)
            return QMimeData::retrieveData(type, wanted);
        if (m_png.isEmpty())
            m_png = PngWriter::encode(m_image);
        return m_png;
    }

private:
    const Image m_image;
    mutable QByteArray m_png;
};

} // namespace

QMimeData *Pasteboard::mimeData(const Image &image)
{
    return new PictureData(image);
}

void Pasteboard::setImage(const Image &image)
{
    QGuiApplication::clipboard()->setMimeData(mimeData(image));
}

} // namespace qm
