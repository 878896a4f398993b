#pragma once

#include "helpers/overlay/ScreenWindows.h"
#include "helpers/wayland/overlay/OutputLayout.h"

#include <QByteArray>

#include <optional>

namespace qm {

// The windows in sway's answer to GET_TREE (sway-ipc(7)), bottom first, with their borders and title bars. std::nullopt
// if it makes no sense, or describes other monitors than these: the variable that leads to sway also reaches compositors that
// run within it.
std::optional<QList<ScreenWindow>> swayWindows(const QByteArray &tree, const QStringList &outputNames,
                                               const OutputLayout &layout);

} // namespace qm
