#pragma once

#include <QByteArray>

#include <optional>

namespace qm {

// The folder in which the system's own screenshot tool saves: raw UTF-8, perhaps with a tilde or a line end.
// std::nullopt if the system could not be asked, empty if no folder is set. Any thread except the main one: may wait
// for another program.
std::optional<QByteArray> systemScreenshotLocation();

} // namespace qm
