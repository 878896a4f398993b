#pragma once

#include <QString>

#include <optional>

namespace qm {

// Where the helper programs are. Any thread. A name that stands for nothing on the disk is absent.
struct ToolPaths {
    std::optional<QString> ocr; // qmocr, in the folder of this process's own executable
};
ToolPaths toolPaths();

} // namespace qm
