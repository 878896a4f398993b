#include "helpers/wayland/overlay/FrozenWaylandScreen.h"

#include "helpers/wayland/overlay/SwayTree.h"
#include "helpers/wayland/overlay/WaylandOverlay.h"

#include <cstring>

namespace qm {

static OutputLayout layoutOf(const WaylandCurtain &curtain)
{
    QList<OutputLayout::Output> outputs;
    for (size_t i = 0; i < curtain.pictures().size(); ++i)
        outputs.append({curtain.outputs().all()[i]->logical, curtain.pictures()[i].size});
    return OutputLayout(outputs);
}

FrozenWaylandScreen::FrozenWaylandScreen(WaylandCurtain &curtain)
    : m_curtain(curtain)
    , m_layout(layoutOf(curtain))
{
    QStringList names;
    for (qsizetype i = 0; i < m_layout.areas().size(); ++i) {
        const std::string &name = curtain.outputs().all()[size_t(i)]->name;
        m_monitors.append({QByteArray::fromStdString(name), m_layout.areas()[i], m_layout.scale(int(i))});
        names.append(QString::fromStdString(name));
    }
    const auto windows = swayWindows(QByteArray::fromStdString(curtain.windows()), names, m_layout);
    m_knowsWindows = windows.has_value();
    m_windows = windows.value_or(QList<ScreenWindow>());
}

std::optional<QPoint> FrozenWaylandScreen::pointer()
{
    if (!m_unseen)
        m_unseen = std::make_unique<WaylandOverlay>(m_curtain);
    return m_unseen->start().pointer;
}

const QImage &FrozenWaylandScreen::pixels()
{
    if (!m_pixels.isNull())
        return m_pixels;
    const std::vector<OutputPicture> &pictures = m_curtain.pictures();
    if (pictures.size() == 1) {
        const OutputPicture &only = pictures.front();
        m_pixels = QImage(reinterpret_cast<uchar *>(only.pixels.get()), only.size.width(), only.size.height(),
                          only.stride * 4, QImage::Format_RGB32);
        return m_pixels;
    }
    m_pixels = QImage(area().size(), QImage::Format_RGB32);
    if (m_pixels.isNull())
        return m_pixels;
    m_pixels.fill(Qt::black);
    for (size_t i = 0; i < pictures.size(); ++i) {
        const QRect &place = m_layout.areas()[qsizetype(i)];
        for (int y = 0; y < place.height(); ++y) {
            std::memcpy(m_pixels.scanLine(place.top() + y) + place.left() * 4, pictures[i].row(y),
                        size_t(place.width()) * 4);
        }
    }
    return m_pixels;
}

} // namespace qm
