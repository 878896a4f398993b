#include "library/SharpPart.h"

#include "imaging/AreaResample.h"
#include "imaging/ImageFile.h"
#include "imaging/Thumbnailer.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace qm {

void SharpPart::open(const QImage &image, const QString &path)
{
    drop();
    if (image.isNull())
        return;
    m_image = image;
    m_path = path;
    m_sizing.start(
        [path] {
            QFile file(path);
            const bool isOpen = QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly);
            return isOpen ? ImageFile::probe(file).value_or(QSize()) : QSize();
        },
        [this](QSize size) {
            m_size = size;
            if (onChange)
                onChange();
        });
}

void SharpPart::drop()
{
    m_sizing.drop();
    m_making.drop();
    if (m_wanted)
        m_wanted->store(false);
    m_image = {};
    m_size = {};
    m_part = m_asked = {};
}

QRect SharpPart::around(QSize whole, const QRect &seen, qint64 pixels)
{
    const double shape = double(seen.width()) / seen.height();
    int width = std::clamp(int(std::sqrt(double(pixels) * shape)), seen.width(), whole.width());
    const int height = std::clamp(int(std::min<qint64>(pixels / width, whole.height())), seen.height(), whole.height());
    width = std::clamp(int(std::min<qint64>(pixels / height, whole.width())), seen.width(), whole.width());
    const auto start = [](int middle, int length, int all) { return std::clamp(middle - length / 2, 0, all - length); };
    return QRect(start(seen.center().x(), width, whole.width()), start(seen.center().y(), height, whole.height()),
                 width, height);
}

static QImage make(const QImage &image, const QString &path, QSize whole, const QRect &part,
                   const std::function<bool()> &unwanted)
{
    if (whole.boundedTo(image.size()) != whole)
        return Thumbnailer::forScreen(Thumbnailer::makePart(path, whole, part, unwanted));
    const double across = double(image.width()) / whole.width(), down = double(image.height()) / whole.height();
    return areaResampled(image, QRectF(part.x() * across, part.y() * down, part.width() * across, part.height() * down),
                         part.size(),
                         image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
}

void SharpPart::ask(QSize whole, const QRect &seen)
{
    const QRect part = around(whole, seen);
    // Some of what is likely to be seen next, so that another part is ready by then.
    const int across = (part.width() - seen.width()) / 8, down = (part.height() - seen.height()) / 8;
    const QRect soon = seen.adjusted(-across, -down, across, down) & part;
    if (m_image.isNull() || m_asked.covers(whole, soon))
        return;
    if (m_wanted)
        m_wanted->store(false);
    if (m_part.covers(whole, soon)) { // back from where another is being made for
        m_making.drop();
        m_asked = {{}, m_part.whole, m_part.rect};
        return;
    }
    m_asked = {{}, whole, part};
    m_wanted = std::make_shared<std::atomic<bool>>(true);
    m_making.start([image = m_image, path = m_path, whole, part,
                    wanted = m_wanted] { return make(image, path, whole, part, [&] { return !wanted->load(); }); },
                   [this, whole, part, soon](const QImage &made) {
                       if (made.isNull())
                           m_asked = {{}, whole, soon}; // the file has changed or is gone: what there is stays
                       else
                           m_part = {made, whole, part};
                       if (onChange)
                           onChange();
                   });
}

} // namespace qm
