#include "helpers/qmscroll/wayland/CastWay.h"

#include "helpers/qmscroll/wayland/CastFrames.h"
#include "helpers/wayland/desktop/ScreenCast.h"

namespace qm {

const ScrollWay castWay = {
    [](const WaylandServer &) { return ScreenCast::isOffered(); },
    [](WaylandServer &, const WaylandOutputs &, const RegionPart &part, QString *failure) {
        return openCastFrames(part, failure);
    },
    [](WaylandServer &, const WaylandOutputs &) { return std::unique_ptr<WheelDevice>(); },
};

} // namespace qm
