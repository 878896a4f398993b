#include "imaging/Pasteboard.h"

#include "imaging/ImageFile.h"
#include "imaging/PngReader.h"
#include "imaging/PngWriter.h"

#include <QClipboard>
#include <QFile>
#include <QFileInfo>
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
    explicit PictureData(const Pasteboard::Content &content)
        : m_image(content.image)
        , m_png(content.png)
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

Pasteboard::Content Pasteboard::contentOf(const QString &path)
{
    Content content;
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return content;
    content.image = ImageFile::load(file).image;
    if (!content.image.isNull() && file.seek(0) && PngReader::isPng(file.peek(8)))
        content.png = file.readAll();
    return content;
}

void Pasteboard::setContent(const Content &content)
{
    QGuiApplication::clipboard()->setMimeData(new PictureData(content));
}

void Pasteboard::setImage(const Image &image)
{
    setContent({image, {}});
}

} // namespace qm
