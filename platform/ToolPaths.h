#pragma once

#include <QString>

#include <optional>

namespace qm {

// Paths of the helper programs. Any thread. std::nullopt if the file does not exist.
struct ToolPaths {
    std::optional<QString> capture; // the system's capture tool; here qmcapture next to this process's executable
    std::optional<QString> scroll;  // qmscroll, next to this process's executable
    std::optional<QString> keys;    // qmkeys, likewise; not on macOS
    std::optional<QString> ocr;     // qmocr, likewise
    std::optional<QString> decode;  // qmdecode, likewise
};
ToolPaths toolPaths();

} // namespace qm
