#pragma once

#include "helpers/overlay/FrozenScreen.h"
#include "helpers/overlay/OverlayFrame.h"
#include "helpers/overlay/Picker.h"

#include <chrono>
#include <optional>

namespace qm {

// What the overlay needs from a desktop, covering all differences between display servers: the frozen screen, dimmed,
// on top of everything; user input; and drawing. One thread. Pixels of the whole desktop, y down.
class OverlayDesktop
{
public:
    struct Input {
        enum class Kind {
            move, // up to keyUp: from the user
            press,
            release,
            keyDown, // also for auto-repeat
            keyUp,
            damaged, // area must be repainted
            resized, // the desktop has changed since it was frozen
            gone,    // display server lost; no more input follows
        } kind;
        QPoint at = {}; // for move, press and release
        Picker::Button button = Picker::Button::other;
        Picker::Key key = Picker::Key::other;
        bool isTrigger = false; // the key that starts captures
        QRect area = {};        // for damaged
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
    virtual bool isDimmed() const = 0; // if false, the whole screen must be painted first

    // Grabs keyboard and pointer. Fails while another program (such as an open menu) has a grab; may be retried.
    virtual bool holdInput() = 0;
    virtual std::optional<Input> next() = 0; // pending input in order; std::nullopt if there is none
    virtual void wait(std::optional<std::chrono::milliseconds> limit) = 0; // for input, at most until the limit

    virtual void paint(const OverlayFrame &frame, const QRegion &region) = 0;
    virtual void setPointer(Pointer shape, double scale) = 0;
    virtual void movePointer(QPoint by) = 0;
    virtual void flush() = 0; // sends everything to the server

    // Removes the overlay. Other programs get keyboard and pointer back once nothing is held down, at the latest when
    // this object is destroyed.
    virtual void lift() = 0;
};

} // namespace qm
