#pragma once

#include <QString>

#include <optional>

namespace qm {

// What the running program's bundle says about it; where programs have no bundle, the build does. Any thread.
// Nothing for what is not said.
namespace BundleInfo {

std::optional<QString> shortVersion(); // "1.4", as people call it (CFBundleShortVersionString)
std::optional<QString> version();      // "27", which build of it (CFBundleVersion)

} // namespace BundleInfo
} // namespace qm
