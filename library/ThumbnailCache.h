#pragma once

#include <QCache>
#include <QDateTime>
#include <QImage>
#include <QObject>
#include <QString>
#include <QThreadPool>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

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

    static constexpr qsizetype defaultByteLimit = 160 * 1024 * 1024;

    static ThumbnailCache &shared();

    // Above the limit, least recently used images are evicted first.
    explicit ThumbnailCache(qsizetype byteLimit = defaultByteLimit);
    ~ThumbnailCache();
    Q_DISABLE_COPY_MOVE(ThumbnailCache)

    // The picture with its longer edge at most maxEdge pixels; on a scaled screen the caller multiplies. A cached
    // picture completes before this returns, any other later, once. If the file of a cached one turns out to have changed
    // (by size or modification time), the request, while it lives, completes a second time with what it shows now, which
    // is null if that cannot be read. Failures are not cached: the next request tries again.
    [[nodiscard]] ThumbnailRequest image(const QString &path, double maxEdge, Completion completion);

    void clear() { m_images.clear(); }

private:
    struct Stamp {
        qint64 bytes = -1;
        QDateTime modified;

        bool operator==(const Stamp &) const = default;
    };
    struct Kept {
        QImage image;
        Stamp stamp; // of the file it was made from
    };

    static Stamp stampOf(const QString &path);
    void load(const QString &path, double maxEdge, Completion completion, const ThumbnailRequest &request,
              const std::optional<Stamp> &known);

    QCache<QString, Kept> m_images; // by "edge:path"; the cost is bytes
    QThreadPool m_pool;
    QObject m_context; // receives the pool's results
    std::shared_ptr<std::atomic<bool>> m_closing = std::make_shared<std::atomic<bool>>(false);
};

} // namespace qm
