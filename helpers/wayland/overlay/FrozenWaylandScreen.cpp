#include "helpers/wayland/overlay/FrozenWaylandScreen.h"

#include "helpers/wayland/desktop/KWinScreenShot.h"
#include "helpers/wayland/desktop/UserBus.h"
#include "helpers/wayland/desktop/WindowFrame.h"
#include "helpers/wayland/overlay/KWinList.h"
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
        const WaylandOutput &output = *curtain.outputs().all()[size_t(i)];
        m_monitors.append({QByteArray::fromStdString(output.name), m_layout.areas()[i], output.pointScale()});
        names.append(QString::fromStdString(output.name));
    }
    const WaylandCurtain::Windows &known = curtain.windows();
    const QByteArray text = QByteArray::fromStdString(known.text);
    if (known.source == WaylandCurtain::Windows::Source::kwin) {
        KWinList list = kwinWindows(text, m_layout, known.havePictures);
        m_knowsWindows = true;
        m_windows = std::move(list.windows);
        m_windowIds = std::move(list.ids);
    } else if (auto windows = swayWindows(text, names, m_layout)) {
        m_knowsWindows = true;
        m_windows = std::move(*windows);
    }
}

std::optional<QPoint> FrozenWaylandScreen::pointer()
{
    if (!m_unseen)
        m_unseen = std::make_unique<WaylandOverlay>(m_curtain);
    return m_unseen->start().pointer;
}

// Programs draw a window another way once the overlay has its keyboard, and much may happen while the user chooses: where the
// frozen screen shows the window alone, it is right.
QImage FrozenWaylandScreen::windowPixels(int index)
{
    if (!isComposited())
        return {};
    const QRect frame = m_windows[index].frame;
    QImage picture =
        withoutShadow(KWinScreenShot::takeWindow(UserBus(), m_windowIds[index].toStdString()), frame.size());
    if (picture.size() != frame.size() || !isWhollyVisible(m_windows, index, area()))
        return picture;
    for (int y = 0; y < frame.height(); ++y) {
        const auto *frozen = reinterpret_cast<const QRgb *>(pixels().constScanLine(frame.top() + y)) + frame.left();
        auto *row = reinterpret_cast<QRgb *>(picture.scanLine(y));
        for (int x = 0; x < frame.width(); ++x) {
            if (qAlpha(row[x]) == 255)
                row[x] = frozen[x];
        }
    }
    return picture;
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
