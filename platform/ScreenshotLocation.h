#pragma once

#include <QByteArray>

#include <optional>

namespace qm {

// The folder in which the system's own screenshot tool saves, as the system tells it: UTF-8 as it came, perhaps with a
// tilde or a line end. Nothing when the system could not be asked, empty when no folder is set.
// Any thread but the main one: may wait for another program.
std::optional<QByteArray> systemScreenshotLocation();

} // namespace qm
