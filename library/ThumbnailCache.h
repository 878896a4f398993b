#pragma once

#include <QCache>
#include <QImage>
#include <QObject>
#include <QString>
#include <QThreadPool>

#include <atomic>
#include <functional>
#include <memory>

namespace qm {

// Somebody's wish for a thumbnail. When it goes, so does the wish: the work ends early, and the completion gets nothing.
class ThumbnailRequest
{
public:
    ThumbnailRequest() = default;
    ThumbnailRequest(ThumbnailRequest &&) noexcept = default;
    ThumbnailRequest &operator=(ThumbnailRequest &&other) noexcept;
    ~ThumbnailRequest() { drop(); }

    void drop();

private:
    friend class ThumbnailCache;
    std::shared_ptr<std::atomic<bool>> m_wanted;
};

// Screenshots made small: read and shrunk on a thread pool, several at a time, and kept in memory. Main thread only.
class ThumbnailCache
{
public:
    using Completion = std::function<void(const QImage &image)>; // null: unreadable, or no longer wanted

    static constexpr qsizetype defaultByteLimit = 256 * 1024 * 1024;

    static ThumbnailCache &shared();

    // Above the limit the images that were used least recently go first.
    explicit ThumbnailCache(qsizetype byteLimit = defaultByteLimit);
    ~ThumbnailCache();
    Q_DISABLE_COPY_MOVE(ThumbnailCache)

    // The picture with its longer edge at most maxEdge pixels; on a scaled screen the caller multiplies. What is in memory
    // completes before this returns; anything else later, exactly once. Failures are not kept: the next request tries again.
    [[nodiscard]] ThumbnailRequest image(const QString &path, double maxEdge, Completion completion);

private:
    QCache<QString, QImage> m_images; // by "edge:path"; the cost is bytes
    QThreadPool m_pool;
    QObject m_context; // receives what the pool has done
    std::shared_ptr<std::atomic<bool>> m_closing = std::make_shared<std::atomic<bool>>(false);
};

} // namespace qm
