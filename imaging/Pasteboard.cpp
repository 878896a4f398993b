#include "imaging/Pasteboard.h"

#include "imaging/ImageFile.h"
#include "imaging/PngReader.h"
#include "imaging/PngWriter.h"
#include "platform/Clipboard.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QThreadPool>

#include <future>
#include <memory>

namespace qm {

namespace {

const QString pngType = QStringLiteral("image/png");
const QString qtImageType = QStringLiteral("application/x-qt-image"); // stands for every format Qt can write
const QString kdeType = QStringLiteral("x-kde-force-image-copy");     // or KDE's clipboard manager ignores pictures

// Keeps the PNG alone, a fraction of the pixels, from which every other type is made when it is asked for. Encoded in the
// background: whoever asks before it is done waits.
class PictureData : public QMimeData
{
public:
    explicit PictureData(const Pasteboard::Content &content)
    {
        const auto png = std::make_shared<std::promise<QByteArray>>();
        m_png = png->get_future().share();
        if (content.png.isEmpty())
            QThreadPool::globalInstance()->start(
                [png, image = content.image] { png->set_value(PngWriter::encode(image)); });
        else
            png->set_value(content.png);
    }

    QStringList formats() const override { return {pngType, qtImageType, kdeType}; }
    bool hasFormat(const QString &type) const override { return formats().contains(type); }

protected:
    QVariant retrieveData(const QString &type, QMetaType wanted) const override
    {
        if (type == qtImageType)
            return decoded();
        if (type == kdeType)
            return QByteArray("1");
        return type == pngType ? QVariant(m_png.get()) : QMimeData::retrieveData(type, wanted);
    }

private:
    QImage decoded() const
    {
        QByteArray bytes = m_png.get();
        QBuffer file(&bytes);
        file.open(QIODevice::ReadOnly);
        QImage pixels = ImageFile::load(file).image.pixels;
        return pixels.hasAlphaChannel() ? pixels : std::move(pixels).convertToFormat(QImage::Format_RGB32);
    }

    std::shared_future<QByteArray> m_png;
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

const QMimeData *Pasteboard::setContent(const Content &content)
{
    auto *data = new PictureData(content);
    Clipboard::set(data);
    return data;
}

void Pasteboard::setImage(const Image &image)
{
    setContent({image, {}});
}

} // namespace qm
