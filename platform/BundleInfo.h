#pragma once

#include <QString>

#include <optional>

namespace qm {

// Version information from the running program's bundle or, on systems without bundles, from the build. Any thread.
// std::nullopt if it is missing.
namespace BundleInfo {

std::optional<QString> shortVersion(); // "1.4", the public version (CFBundleShortVersionString)
std::optional<QString> version();      // "27", the build number (CFBundleVersion)

} // namespace BundleInfo
} // namespace qm
