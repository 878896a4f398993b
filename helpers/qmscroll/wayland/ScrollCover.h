#pragma once

#include "helpers/qmscroll/ScrollDesktop.h"
#include "helpers/qmscroll/wayland/SideSurface.h"
#include "helpers/wayland/WaylandSeat.h"
#include "helpers/wayland/overlay/Keymap.h"
#include "helpers/wayland/overlay/OutputLayout.h"
#include "platform/wayland/ThemedCursor.h"

#include <QList>
#include <QSet>

#include <functional>

namespace qm {

// What lies over the monitors while a region is scrolled: the frame, the panel, and otherwise nothing that is seen. It has the
// keyboard, but not while the pointer is elsewhere: who types there is heard there. One thread. Pixels of the whole desktop.
//
// Nobody tells where the pointer is while it is over another program's window, and where the pointer is drawn into the picture of
// the screen, it would be in every frame. So the cover takes the pointer in the region, and hides it.
class ScrollCover
{
public:
    // Where the cover takes the pointer, but for the panel, where it always does. Around the region: everywhere else. What is
    // turned then turns what lies in the region, and nothing else even if the pointer leaves.
    enum class Reach { nowhere, region, aroundRegion };

    ScrollCover(WaylandServer &server, const WaylandOutputs &outputs, const OutputLayout &layout, const QRect &region,
                int regionOutput, const QList<int> &covered); // the two latter: indices of monitors

    bool isClosed() const; // by the compositor, all or a part

    // Finds out where it lies, which not all compositors tell; before anything is shown. False if that is not to be seen: then
    // nothing belongs at a certain place.
    bool findPlace(const std::function<QImage()> &grabMonitor);
    QRect area(int output) const; // what it covers of one of its monitors

    void setFrame(const QList<SideSurface::Fill> &fills);
    void setPanel(const QImage &picture, QPoint at, int output); // premultiplied; null: none
    void present(); // what has changed, as soon as the compositor is ready for it

    // Over the region, where the pointer is about to come, the keyboard stays as it is; see followKeyboard().
    void setReach(Reach reach);
    void followKeyboard(); // takes it or leaves it to others, as reach and pointer have it
    // If the cover has taken it: another surface of this program has gone, and newer sway then gives the keyboard to any that is
    // left, or to none.
    void keepKeyboard();
    bool hasPointer() const { return m_pointerOutput >= 0; }
    QPoint pointer() const { return m_pointer; } // if it has
    bool hasPointerInRegion() const { return hasPointer() && isInRegion(); }
    // A button in the region, or a key that changes what the wheel does.
    bool isHeld() const { return m_areModifiersDown || m_isButtonDown; }
    int takeClicks() { return std::exchange(m_clicks, 0); } // of the wheel, which the user has turned in the region

    std::optional<ScrollDesktop::Input> takeInput();
    bool areKeysUp() const { return m_keysDown.isEmpty(); } // those that were reported
    void leaveKeyboard();                                   // to others, from now on

private:
    struct Listeners;

    bool isInRegion() const { return m_region.contains(m_pointer) && !m_panel.contains(m_pointer); }
    void entered(const wl_surface *surface, quint32 serial, QPointF at);
    void moved(QPointF at);
    void left();
    void button(bool isDown);
    void turned(double distance);
    void key(quint32 code, bool isDown);
    void showCursor();

    WaylandServer &m_server;
    const OutputLayout m_layout;
    const QRect m_region;
    const int m_regionOutput;
    const SurfaceGlobals m_globals;
    WaylandSeat m_seat;
    ThemedCursor m_cursor;
    std::vector<std::unique_ptr<SideSurface>> m_surfaces; // by monitor; null: not covered
    Reach m_reach = Reach::nowhere;
    QRect m_panel; // null: hidden
    int m_cursorScale = 1;

    QList<ScrollDesktop::Input> m_inputs;
    int m_pointerOutput = -1;             // whose surface has the pointer; -1: none
    QPoint m_pointer;                     // where it was last
    quint32 m_serial = 0;                 // of its coming
    std::optional<bool> m_isCursorHidden; // empty: the cursor has not been set since it came
    bool m_hasPressed = false;            // on the panel
    bool m_isButtonDown = false;
    bool m_hasSteps = false; // the wheel has told how many clicks the next distance is
    double m_distance = 0;   // less than a click
    int m_clicks = 0;
    Keymap m_keymap;
    QSet<quint32> m_keysDown;
    bool m_areModifiersDown = false;
    bool m_hasKeyboard = false;
    bool m_isKeyboardLeft = false; // for good
};

} // namespace qm
