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

// A pending thumbnail request. Destroying it cancels the request: work ends early, and the completion receives a null
// image.
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

// Reads and shrinks screenshots on a thread pool, several at a time, and keeps the results in memory. Main thread only.
class ThumbnailCache
{
public:
    using Completion = std::function<void(const QImage &image)>; // null: unreadable, or no longer wanted

    static constexpr qsizetype defaultByteLimit = 256 * 1024 * 1024;

    static ThumbnailCache &shared();

    // Above the limit, least recently used images are evicted first.
    explicit ThumbnailCache(qsizetype byteLimit = defaultByteLimit);
    ~ThumbnailCache();
    Q_DISABLE_COPY_MOVE(ThumbnailCache)

    // The picture with its longer edge at most maxEdge pixels; on a scaled screen the caller multiplies. A cached
    // picture completes before this returns, any other later, exactly once. Failures are not cached: the next request
    // tries again.
    [[nodiscard]] ThumbnailRequest image(const QString &path, double maxEdge, Completion completion);

private:
    QCache<QString, QImage> m_images; // by "edge:path"; the cost is bytes
    QThreadPool m_pool;
    QObject m_context; // receives the pool's results
    std::shared_ptr<std::atomic<bool>> m_closing = std::make_shared<std::atomic<bool>>(false);
};

} // namespace qm
