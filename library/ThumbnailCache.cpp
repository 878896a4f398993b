#include "library/ThumbnailCache.h"

#include "imaging/Thumbnailer.h"

#include <QColorSpace>
#include <QThread>

#include <utility>

namespace qm {

ThumbnailRequest &ThumbnailRequest::operator=(ThumbnailRequest &&other) noexcept
{
    drop();
    m_wanted = std::move(other.m_wanted);
    return *this;
}

void ThumbnailRequest::drop()
{
    if (m_wanted)
        m_wanted->store(false);
    m_wanted.reset();
}

ThumbnailCache &ThumbnailCache::shared()
{
    static ThumbnailCache cache;
    return cache;
}

ThumbnailCache::ThumbnailCache(qsizetype byteLimit)
    : m_images(byteLimit)
{
    m_pool.setObjectName(QStringLiteral("org.quillmere.Quillmere.thumbs"));
}

ThumbnailCache::~ThumbnailCache()
{
    m_closing->store(true);
    m_pool.clear();
    m_pool.waitForDone();
}

// QPainter takes every colour for the screen's.
static QImage forScreen(QImage image)
{
    const QColorSpace space = image.colorSpace();
    if (space.isValid() && space != QColorSpace(QColorSpace::SRgb))
        image.convertToColorSpace(QColorSpace::SRgb);
    return image;
}

ThumbnailRequest ThumbnailCache::image(const QString &path, double maxEdge, Completion completion)
{
    Q_ASSERT(m_context.thread() == QThread::currentThread());
    const QString key = QString::number(qint64(maxEdge)) + u':' + path;
    if (const QImage *kept = m_images.object(key)) {
        const QImage image = *kept; // the completion may request others, which may evict this one
        completion(image);
        return {};
    }
    ThumbnailRequest request;
    request.m_wanted = std::make_shared<std::atomic<bool>>(true);
    m_pool.start([this, key, path, maxEdge, completion = std::move(completion), wanted = request.m_wanted]() mutable {
        const auto unwanted = [&] { return !wanted->load() || m_closing->load(); };
        const QImage image = unwanted() ? QImage() : forScreen(Thumbnailer::make(path, maxEdge, unwanted));
        QMetaObject::invokeMethod(
            &m_context,
            [this, key, image, completion = std::move(completion), wanted = std::move(wanted)] {
                if (!image.isNull())
                    m_images.insert(key, new QImage(image), image.sizeInBytes());
                completion(wanted->load() ? image : QImage());
            },
            Qt::QueuedConnection);
    });
    return request;
}

} // namespace qm
