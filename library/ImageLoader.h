#pragma once

#include "library/ThumbnailCache.h"

#include <optional>

namespace qm {

// Loads one image for a view whose path may change: results for a path no longer requested are dropped. Main thread.
class ImageLoader : public QObject
{
    Q_OBJECT

public:
    explicit ImageLoader(ThumbnailCache &cache, QObject *parent = nullptr);

    // Loading the same path again does nothing, whatever the edge (pixels) and however the last load ended.
    void load(const QString &path, double maxEdge);
    void forget() { m_currentPath.reset(); } // its file may have changed: the next load is one
    void drop();                             // the image goes as well

    const QImage &image() const { return m_image; } // null while loading and after a failure
    bool failed() const { return m_failed; }

Q_SIGNALS:
    void changed();

private:
    ThumbnailCache &m_cache;
    QImage m_image;
    bool m_failed = false;
    std::optional<QString> m_currentPath;
    std::shared_ptr<bool> m_load; // a path that comes back must not accept the dropped result of its first request
    ThumbnailRequest m_request;
};

} // namespace qm
