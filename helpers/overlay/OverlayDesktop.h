#pragma once

#include "helpers/overlay/FrozenScreen.h"
#include "helpers/overlay/OverlayFrame.h"
#include "helpers/overlay/Picker.h"

#include <chrono>
#include <optional>

namespace qm {

// What the overlay needs of a desktop, and all that differs between display servers: the frozen screen, dimmed, over
// everything; what the user does; and the means to draw. One thread. Pixels of the whole desktop, y down.
class OverlayDesktop
{
public:
    struct Input {
        enum class Kind {
            move,
            press,
            release,
            keyDown, // also for each repetition of a key held down
            keyUp,
            damaged, // the area has to be painted again
            resized, // the desktop is not what it was when it was frozen
            gone,    // the display server; nothing else comes any more
        } kind;
        QPoint at = {}; // of move, press and release
        Picker::Button button = Picker::Button::other;
        Picker::Key key = Picker::Key::other;
        QRect area = {}; // of damaged
    };
    enum class Pointer { cross, camera };
    struct Start {
        QPoint pointer;
        bool shift = false; // is held down
    };

    OverlayDesktop() = default;
    virtual ~OverlayDesktop() = default;
    Q_DISABLE_COPY_MOVE(OverlayDesktop)

    virtual FrozenScreen &screen() = 0;
    virtual Start start() = 0;
    virtual bool isDimmed() const = 0; // false: all of the screen has to be painted to begin with

    // Keyboard and pointer are ours. Another program's grab (an open menu) makes it fail; it may be asked again.
    virtual bool holdInput() = 0;
    virtual std::optional<Input> next() = 0; // what has happened, in its order; nothing: no more
    virtual void wait(std::optional<std::chrono::milliseconds> limit) = 0; // until something happens, or for so long

    virtual void paint(const OverlayFrame &frame, const QRegion &region) = 0;
    virtual void setPointer(Pointer shape, double scale) = 0;
    virtual void movePointer(QPoint by) = 0;
    virtual void flush() = 0; // all of that is on its way

    // Off the screen; the others have keyboard and pointer again once nothing is held down, at the latest when this ends.
    virtual void lift() = 0;
};

} // namespace qm
