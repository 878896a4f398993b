#include "library/ThumbnailCache.h"

#include "imaging/Thumbnailer.h"

#include <QFileInfo>
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

ThumbnailCache::Stamp ThumbnailCache::stampOf(const QString &path)
{
    const QFileInfo file(path);
    return file.exists() ? Stamp{file.size(), file.lastModified()} : Stamp();
}

static QString keyOf(const QString &path, double maxEdge)
{
    return QString::number(qint64(maxEdge)) + u':' + path;
}

ThumbnailRequest ThumbnailCache::image(const QString &path, double maxEdge, Completion completion)
{
    Q_ASSERT(m_context.thread() == QThread::currentThread());
    ThumbnailRequest request;
    request.m_wanted = std::make_shared<std::atomic<bool>>(true);
    if (const Kept *found = m_images.object(keyOf(path, maxEdge))) {
        const Kept kept = *found; // the completion may request others, which may evict this one
        completion(kept.image);
        load(path, maxEdge, std::move(completion), request, kept.stamp);
    } else {
        load(path, maxEdge, std::move(completion), request, std::nullopt);
    }
    return request;
}

// known: what has been delivered already; without a change since then nothing more is.
void ThumbnailCache::load(const QString &path, double maxEdge, Completion completion, const ThumbnailRequest &request,
                          const std::optional<Stamp> &known)
{
    m_pool.start([this, path, maxEdge, completion = std::move(completion), wanted = request.m_wanted, known]() mutable {
        const auto unwanted = [&] { return !wanted->load() || m_closing->load(); };
        if (known && unwanted())
            return;
        const Stamp stamp = stampOf(path); // before it is read: what is written meanwhile is another change
        if (stamp == known)
            return;
        const QImage image = unwanted() ? QImage() : Thumbnailer::forScreen(Thumbnailer::make(path, maxEdge, unwanted));
        QMetaObject::invokeMethod(
            &m_context,
            [this, key = keyOf(path, maxEdge), kept = Kept{image, stamp}, completion = std::move(completion),
             wanted = std::move(wanted), again = known.has_value()] {
                if (!kept.image.isNull())
                    m_images.insert(key, new Kept(kept), kept.image.sizeInBytes());
                else if (again && wanted->load()) // otherwise it need not have been looked at
                    m_images.remove(key);
                if (wanted->load() || !again)
                    completion(wanted->load() ? kept.image : QImage());
            },
            Qt::QueuedConnection);
    });
}

} // namespace qm
