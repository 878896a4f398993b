#include "helpers/x11/overlay/FrozenX11Screen.h"

#include "helpers/x11/overlay/SurveyedWindows.h"
#include "helpers/x11/overlay/X11Monitors.h"

#include <QRegion>

#include <algorithm>

namespace qm {

FrozenX11Screen::FrozenX11Screen(Curtain &curtain)
    : m_curtain(curtain)
    , m_monitors(x11Monitors(curtain.server()))
    , m_windows(screenWindows(curtain.windows(), curtain.server().area()))
    , m_grab(curtain.server(), curtain.server().area().size())
{
}

const QImage &FrozenX11Screen::pixels()
{
    if (!m_pixels.isNull())
        return m_pixels;
    m_pixels = m_grab.take(m_curtain.frozen(), m_curtain.server().depth(), area());
    QRegion unseen = area();
    for (const Monitor &monitor : m_monitors)
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
