#pragma once

#include "helpers/wayland/WaylandCurtain.h"

#include <QRect>

namespace qm {

class Curtain;
class WaylandClaim;

// What qmcapture has been asked for on its command line. Rectangles are pixels of the whole desktop.
struct CaptureRequest {
    enum class Way { region, window, monitor, desktop, area } way = Way::region;
    QRect area;       // for Way::area
    QRect lastRegion; // may be taken again; null if there is none
    QRect rest;       // must come to rest before the screen is frozen; null: nothing has to
    bool isPatient = false;
    bool isForClipboard = false;   // where only the overlay can fill it, it does
    const char *trigger = "";      // name of the modifier key that starts captures
    const char *unsaved = nullptr; // where the picture goes if path cannot be written; null: nowhere
    const char *path = nullptr;
};

// The curtain of the display server in use; the other is null. On Wayland it is up, unless a dialog takes its place.
struct RaisedCurtain {
    Curtain *x11 = nullptr;
    WaylandCurtain *wayland = nullptr;
    WaylandClaim *claim = nullptr; // on Wayland
};

// The rest of qmcapture after its curtain is up: lets the user choose and writes the picture. Returns the exit status
// and says on standard output what became of the capture. It lives in qmcapture.so and is looked up by name, because
// everything that needs Qt is loaded only after the curtain is up.
using ChooseFunction = int (*)(const RaisedCurtain &curtain, const CaptureRequest &request);
constexpr char chooseFunctionName[] = "quillmereChoose";

// Freezes the screen where a Wayland compositor does not let programs read it themselves.
using FreezeFunction = void (*)(const WaylandOutputs &outputs, const CaptureRequest &request,
                                WaylandCurtain::Frozen &frozen);
constexpr char freezeFunctionName[] = "quillmereFreeze";

constexpr char choiceLibraryName[] = "qmcapture.so"; // next to the program

} // namespace qm
