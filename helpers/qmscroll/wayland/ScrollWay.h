#pragma once

#include "helpers/qmscroll/wayland/RegionFrames.h"
#include "helpers/qmscroll/wayland/WheelDevice.h"
#include "helpers/wayland/WaylandOutputs.h"

#include <QString>

namespace qm {

// How a kind of compositor lets a region be looked at while it is scrolled. One thread; the server and the outputs outlive what
// is made.
struct ScrollWay {
    bool (*isOffered)(const WaylandServer &server);
    // Null if it turns out not to work, with a reason; without one if the user does not want it.
    std::unique_ptr<RegionFrames> (*frames)(WaylandServer &server, const WaylandOutputs &outputs,
                                            const RegionPart &part, QString *failure);
    std::unique_ptr<WheelDevice> (*wheel)(WaylandServer &server,
                                          const WaylandOutputs &outputs); // null: the user scrolls
};

} // namespace qm
