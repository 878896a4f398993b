#include "helpers/grab/FrozenScreen.h"

#include <QRegion>

#include <algorithm>

namespace qm {

FrozenScreen::FrozenScreen(Curtain &curtain)
    : m_curtain(curtain)
    , m_monitors(qm::monitors(curtain.server()))
    , m_windows(screenWindows(curtain.windows(), curtain.server().area()))
    , m_grab(curtain.server(), curtain.server().area().size())
{
    applyScales(m_monitors, ScaleSettings::read(curtain.server()));
}

const QImage &FrozenScreen::pixels()
{
    if (!m_pixels.isNull())
        return m_pixels;
    m_pixels = m_grab.take(m_curtain.frozen(), m_curtain.server().depth(), area());
    QRegion unseen = area();
    for (const Monitor &monitor : std::as_const(m_monitors))
        unseen -= monitor.area;
    for (const QRect &gap : unseen) {
        for (int y = gap.top(); y <= gap.bottom() && !m_pixels.isNull(); ++y) {
            auto *row = reinterpret_cast<quint32 *>(m_pixels.scanLine(y));
            std::fill(row + gap.left(), row + gap.right() + 1, 0xff000000);
        }
    }
    return m_pixels;
}

} // namespace qm
