#include "library/ImageLoader.h"

#include <QPointer>

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
    const quint64 load = ++m_load;
    m_request = m_cache.image(path, maxEdge, [self = QPointer(this), load](const QImage &image) {
        if (!self || self->m_load != load)
            return;
        self->m_image = image;
        self->m_failed = image.isNull();
        Q_EMIT self->changed();
    });
    if (m_image.isNull())
        Q_EMIT changed(); // loading
}

} // namespace qm
