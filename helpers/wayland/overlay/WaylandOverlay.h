#pragma once

#include "helpers/overlay/OverlayDesktop.h"
#include "helpers/wayland/WaylandCurtain.h"
#include "helpers/wayland/overlay/FrozenWaylandScreen.h"
#include "helpers/wayland/overlay/Keymap.h"
#include "helpers/wayland/overlay/PointerPicture.h"

#include <QDeadlineTimer>
#include <QHash>
#include <QList>

namespace qm {

// The overlay on a Wayland compositor, using the curtain's surfaces.
class WaylandOverlay : public OverlayDesktop
{
public:
    // trigger: the modifier key that starts captures, named as in the settings; empty if it has no meaning here.
    explicit WaylandOverlay(WaylandCurtain &curtain, const QByteArray &trigger = {});

    quint32 latestSerial() const { return m_inputSerial; } // of a button or a key

    FrozenWaylandScreen &screen() override { return m_screen; }
    Start start() override;
    bool isDimmed() const override { return true; }
    bool holdInput() override;
    std::optional<Input> next() override;
    void wait(std::optional<std::chrono::milliseconds> limit) override;
    void paint(const OverlayFrame &frame, const QRegion &region) override;
    void setPointer(Pointer shape, double scale) override;
    void movePointer(QPoint by) override;
    void flush() override;
    void lift() override;

private:
    struct Listeners;

    // One monitor's part of the overlay. Its buffers each lack something of what has been painted since they were shown.
    struct Part {
        OutputSurface *surface;
        QRect area;      // pixels of the whole desktop
        QRegion changed; // since it was shown last
        QHash<const ShmBuffer *, QRegion> missing;
    };

    void entered(const wl_surface *surface, quint32 serial, QPointF at);
    void moved(QPointF at);
    QPoint placed(QPoint pointer);
    void key(quint32 code, bool isDown);
    void add(const Input &input) { m_inputs.append(input); }
    Input keyInput(Input::Kind kind, quint32 code) const;
    void nudgePointer();
    void present();
    void showPointer();

    WaylandCurtain &m_curtain;
    WaylandServer &m_server;
    const QByteArray m_trigger;
    FrozenWaylandScreen m_screen;
    QList<Part> m_parts;
    OverlayFrame m_frame;

    Keymap m_keymap;
    QList<Input> m_inputs;
    bool m_hasKeyboard = false;
    bool m_saidResized = false;
    struct {
        std::chrono::milliseconds delay{500}, interval{33};
        std::optional<quint32> code;
        QDeadlineTimer due;
    } m_repeat;

    int m_output = -1;    // where the pointer is
    QPoint m_pointer;     // pixels; the newest that is known
    QPoint m_at;          // where the user is, as far as input has been taken; arrow keys move it
    QPoint m_offset;      // from the pointer, which no client can move, to there
    quint32 m_serial = 0; // of the pointer's coming
    quint32 m_inputSerial = 0;
    PointerPicture m_picture;
    std::optional<std::pair<Pointer, double>> m_shape;
};

} // namespace qm
