#pragma once

#include <QByteArray>

#include <functional>
#include <optional>
#include <string_view>

namespace qm {

// The file system as the index needs it: names as bytes, one call to the system per answer. A hundred thousand files are
// listed on every pass, and QDir's or QFileInfo's own strings would cost several times the listing. Any thread.
namespace FolderListing {

enum class Kind { regular, link, other, unknown }; // as the listing itself tells it, without a look at the file

// Calls entry for every name in the folder, the folder and its parent left out. False when it cannot be listed.
bool forEach(const QByteArray &folder, const std::function<void(std::string_view name, Kind kind)> &entry);

struct Attributes {
    bool regular = false; // a link is not, whatever it points to
    qint64 bytes = 0;
    qint64 modifiedMs = 0; // since 1970-01-01 UTC, truncated toward zero
};
std::optional<Attributes> attributes(const QByteArray &path);

enum class Existence { exists, gone, unclear }; // unclear: no permission, an unreachable server, ...
Existence existence(const QByteArray &path);    // follows links

} // namespace FolderListing
} // namespace qm
