#include "library/ImageLoader.h"

namespace qm {

ImageLoader::ImageLoader(ThumbnailCache &cache, QObject *parent)
    : QObject(parent)
    , m_cache(cache)
{
}

void ImageLoader::load(const QString &path, double maxEdge)
{
    if (m_currentPath == path)
        return;
    m_currentPath = path;
    m_image = {};
    m_failed = false;
    m_request.drop();
    m_load = std::make_shared<bool>();
    m_request = m_cache.image(path, maxEdge, [this, mine = std::weak_ptr(m_load)](const QImage &image) {
        if (mine.expired())
            return;
        m_image = image;
        m_failed = image.isNull();
        Q_EMIT changed();
    });
    if (m_image.isNull())
        Q_EMIT changed(); // now loading
}

void ImageLoader::drop()
{
    m_currentPath.reset();
    m_request.drop();
    m_load.reset();
    m_image = {};
}

} // namespace qm
