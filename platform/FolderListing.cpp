#include "platform/FolderListing.h"

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace qm {

using FolderListing::Kind;

static Kind kindOf(unsigned char type)
{
    switch (type) {
    case DT_REG: return Kind::regular;
    case DT_LNK: return Kind::link;
    case DT_UNKNOWN: return Kind::unknown;
    default: return Kind::other;
    }
}

bool FolderListing::forEach(const QByteArray &folder, const std::function<void(std::string_view, Kind)> &entry)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> listing(opendir(folder.constData()), &closedir);
    if (!listing)
        return false;
    while (const dirent *found = readdir(listing.get())) {
        const std::string_view name(found->d_name);
        if (name != "." && name != "..")
            entry(name, kindOf(found->d_type));
    }
    return true;
}

static qint64 milliseconds(const timespec &time)
{
    // Integers: a double would sometimes turn 0.123 s into 122 ms. Before 1970 the nanoseconds still count up.
    const qint64 nanoseconds = qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    return nanoseconds / 1'000'000;
}

std::optional<FolderListing::Attributes> FolderListing::attributes(const QByteArray &path)
{
    struct stat status;
    if (lstat(path.constData(), &status) != 0)
        return std::nullopt;
#ifdef Q_OS_MACOS
    const timespec modified = status.st_mtimespec;
#else
    const timespec modified = status.st_mtim;
#endif
    return Attributes{S_ISREG(status.st_mode), qint64(status.st_size), milliseconds(modified)};
}

FolderListing::Existence FolderListing::existence(const QByteArray &path)
{
    struct stat status;
    if (stat(path.constData(), &status) == 0)
        return Existence::exists;
    return errno == ENOENT ? Existence::gone : Existence::unclear;
}

} // namespace qm
