#include "platform/NativeLook.h"
#include "platform/x11/X11Server.h"

namespace qm {

std::optional<QColor> NativeLook::accent()
{
    return std::nullopt;
}

QImage NativeLook::symbol(const QString &, QSize)
{
    return {};
}

// A compositing manager owns a selection (Extended Window Manager Hints). Without an X server it is always there.
bool NativeLook::blendsWindows()
{
    const X11Server server = X11Server::connect();
    return !server.connection || server.isOwned(server.screenAtom("_NET_WM_CM_S"));
}

bool NativeLook::trayTintsIcons()
{
    return false;
}

} // namespace qm
