#include "library/ShotActions.h"

#include "imaging/ImageFile.h"
#include "imaging/Pasteboard.h"
#include "imaging/PngWriter.h"
#include "platform/QtQueue.h"
#include "platform/Workspace.h"
#include "ui/AppLocale.h"

#include <QCoreApplication>
#include <QFile>
#include <QMimeData>
#include <QThreadPool>
#include <QUrl>

namespace qm {

QString ShotActions::title(ShotAction action)
{
    switch (action) {
    case ShotAction::copy: return AppLocale::text(u"Copy", u"コピー");
    case ShotAction::annotate: return AppLocale::annotateTitle();
    case ShotAction::showInFolder: return AppLocale::showInFolderTitle();
    case ShotAction::open: return AppLocale::text(u"Open", u"開く");
    case ShotAction::moveToTrash: return AppLocale::trashTitle();
    }
    return {};
}

QString ShotActions::symbol(ShotAction action)
{
    switch (action) {
    case ShotAction::copy: return QStringLiteral("doc.on.doc");
    case ShotAction::annotate: return QStringLiteral("pencil.and.outline");
    case ShotAction::showInFolder: return QStringLiteral("folder");
    case ShotAction::open: return QStringLiteral("arrow.up.forward.square");
    case ShotAction::moveToTrash: return QStringLiteral("trash");
    }
    return {};
}

void ShotActions::copyToClipboard(const Shot &shot, std::function<void(bool)> done)
{
    // A single thread keeps the order. Anything still being read when the application quits is dropped.
    static QThreadPool &pool = *[] {
        static QThreadPool copies;
        copies.setMaxThreadCount(1);
        qAddPostRoutine([] { copies.waitForDone(); });
        return &copies;
    }();
    pool.start([path = shot.path, done = std::move(done)] {
        QtQueue::main().post([picture = Pasteboard::contentOf(path), done] {
            const bool readable = !picture.image.isNull();
            if (readable)
                Pasteboard::setContent(picture);
            if (done)
                done(readable);
        });
    });
}

void ShotActions::showInFolder(const Shot &shot)
{
    Workspace::reveal(shot.path);
}

void ShotActions::open(const Shot &shot)
{
    Workspace::openFile(shot.path);
}

namespace {

const QString pngType = QStringLiteral("image/png");
const QString uriType = QStringLiteral("text/uri-list");
const QString qtImageType = QStringLiteral("application/x-qt-image"); // stands for every format Qt can write

class ShotData : public QMimeData
{
public:
    explicit ShotData(const QString &path)
        : m_path(path)
    {
        setUrls({QUrl::fromLocalFile(path)});
    }

    QStringList formats() const override { return {uriType, pngType, qtImageType}; }
    bool hasFormat(const QString &type) const override { return formats().contains(type); }

protected:
    QVariant retrieveData(const QString &type, QMetaType wanted) const override
    {
        if (type == pngType)
            return png();
        if (type == qtImageType)
            return image().pixels;
        return QMimeData::retrieveData(type, wanted);
    }

private:
    QByteArray png() const
    {
        QFile file(m_path);
        if (!m_path.endsWith(QStringLiteral(".png"), Qt::CaseInsensitive))
            return image().isNull() ? QByteArray() : PngWriter::encode(image());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    const Image &image() const
    {
        if (m_image.isNull())
            m_image = ImageFile::load(m_path).image;
        return m_image;
    }

    const QString m_path;
    mutable Image m_image;
};

} // namespace

QMimeData *ShotActions::mimeData(const Shot &shot)
{
    return new ShotData(shot.path);
}

} // namespace qm
