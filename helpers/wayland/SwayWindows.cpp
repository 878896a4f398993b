#include "helpers/wayland/SwayWindows.h"

#include "platform/wayland/SwayIpc.h"

namespace qm {

std::string swayTree()
{
    const std::unique_ptr<SwayIpc> sway = SwayIpc::connect();
    return sway ? sway->ask(SwayIpc::getTree).value_or(std::string()) : std::string();
}

} // namespace qm
