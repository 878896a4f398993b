#pragma once

#include "library/ThumbnailCache.h"
#include "ui/LatestJob.h"

#include <optional>

namespace qm {

// One image for one view that changes its mind: a result for a path that is no longer asked for is dropped. Main thread.
class ImageLoader : public QObject
{
    Q_OBJECT

public:
    explicit ImageLoader(ThumbnailCache &cache, QObject *parent = nullptr);

    // The same path again does nothing, whatever the edge (pixels) and however the last load ended.
    void load(const QString &path, double maxEdge);

    const QImage &image() const { return m_image; } // null while loading and after a failure
    bool failed() const { return m_failed; }

Q_SIGNALS:
    void changed();

private:
    ThumbnailCache &m_cache;
    QImage m_image;
    bool m_failed = false;
    std::optional<QString> m_currentPath;
    LatestJob m_load; // a path that comes back must not take the dropped result of its first time for its own
    ThumbnailRequest m_request;
};

} // namespace qm
