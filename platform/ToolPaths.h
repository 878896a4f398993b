#pragma once

#include <QString>

#include <optional>

namespace qm {

// Where the helper programs are. Any thread. A name that stands for nothing on the disk is absent.
struct ToolPaths {
    std::optional<QString> capture; // the system's capture tool; here qmcapture beside this process's executable
    std::optional<QString> scroll;  // qmscroll, in the folder of this process's own executable
    std::optional<QString> ocr;     // qmocr, likewise
};
ToolPaths toolPaths();

} // namespace qm
