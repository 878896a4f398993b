#pragma once

#include <QByteArray>

#include <functional>
#include <optional>
#include <string_view>

namespace qm {

// File system access for the index: names are bytes, and each answer costs one system call. A hundred thousand files
// are listed in every pass; QDir's or QFileInfo's strings would cost several times the listing itself. Any thread.
namespace FolderListing {

enum class Kind { regular, link, other, unknown }; // as reported by the listing, without a stat

// Calls entry for every name in the folder except "." and "..". False if it cannot be listed.
bool forEach(const QByteArray &folder, const std::function<void(std::string_view name, Kind kind)> &entry);

struct Attributes {
    bool regular = false; // false for a link, whatever it points to
    qint64 bytes = 0;
    qint64 modifiedMs = 0; // since 1970-01-01 UTC, truncated toward zero
};
std::optional<Attributes> attributes(const QByteArray &path);

enum class Existence { exists, gone, unclear }; // unclear: no permission, an unreachable server, ...
Existence existence(const QByteArray &path);    // follows links

} // namespace FolderListing
} // namespace qm
