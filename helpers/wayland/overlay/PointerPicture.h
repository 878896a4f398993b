#pragma once

#include "helpers/overlay/OverlayDesktop.h"
#include "helpers/wayland/OutputSurface.h"

#include <QHash>

struct wl_pointer;
struct wp_viewport;

namespace qm {

// The picture that the compositor draws at the pointer. One thread.
class PointerPicture
{
public:
    explicit PointerPicture(const SurfaceGlobals &globals);
    ~PointerPicture();
    Q_DISABLE_COPY_MOVE(PointerPicture)

    // offset: pixels from the pointer to the middle of the picture. serial: of the pointer's coming.
    void set(wl_pointer *pointer, quint32 serial, OverlayDesktop::Pointer shape, double scale, QPoint offset);

private:
    ShmBuffer *drawn(OverlayDesktop::Pointer shape, double scale);

    const SurfaceGlobals &m_globals;
    wl_surface *m_surface;
    wp_viewport *m_viewport = nullptr;
    QHash<QString, std::shared_ptr<ShmBuffer>> m_drawn;
};

} // namespace qm
