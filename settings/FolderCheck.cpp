#include "settings/FolderCheck.h"

#include "config/ConfigStore.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qm {

static bool mayWrite(const QByteArray &path)
{
    // What counts is whom we act as, and what the file system allows: a folder may be mounted for reading only.
    return faccessat(AT_FDCWD, path.constData(), R_OK | W_OK | X_OK, AT_EACCESS) == 0;
}

FolderProblem folderProblem(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status {
    };
    if (stat(name.constData(), &status) == 0) {
        if (!S_ISDIR(status.st_mode))
            return FolderProblem::file;
        return mayWrite(name) ? FolderProblem::none : FolderProblem::notWritable;
    }
    if (errno == ENOTDIR)
        return FolderProblem::file;
    if (errno == EACCES)
        return FolderProblem::notWritable;
    if (errno != ENOENT || lstat(name.constData(), &status) == 0) // a link to nowhere is in the way of a new folder
        return FolderProblem::cannotBeCreated;
    const FolderProblem parent = folderProblem(QFileInfo(path).path());
    return parent == FolderProblem::notWritable ? FolderProblem::cannotBeCreated : parent;
}

static FolderProblem problemOfShared(const QString &path, bool inForce)
{
    const FolderProblem problem = folderProblem(path);
    const bool showsOurs = QFileInfo::exists(path + QStringLiteral("/config.json")) ||
                           QFileInfo::exists(path + QStringLiteral("/captures"));
    if (inForce && problem != FolderProblem::file && !showsOurs)
        return FolderProblem::away;
    return problem == FolderProblem::none && !QFileInfo::exists(path) ? FolderProblem::missing : problem;
}

FolderCheck::FolderCheck(const GeneralSettings &entered, const GeneralSettings &before)
    : files(GeneralSettings::readWithCloud(entered.cloud))
{
    GeneralSettings settings = entered;
    settings.follow(before, files);
    const bool moves = settings.cloud != files.cloud;
    const std::optional<QString> shared = folderFromText(settings.cloud);
    if (shared)
        cloud = problemOfShared(*shared, !moves);
    const QString folder = folderFromText(settings.captures).value_or(settings.captureDirWhenEmpty());
    if (cloud == FolderProblem::none || !folder.startsWith(*shared + u'/')) // otherwise said once
        captures = folderProblem(folder);
    if (const std::optional<QString> desktop = folderFromText(settings.source))
        source = folderProblem(*desktop);

    GeneralSettings untouched = settings; // what would be written to the shared file makes the difference
    untouched.cloud = files.cloud;
    untouched.launchAtLogin = files.launchAtLogin;
    refusesCaptures = captures != FolderProblem::none && folder != ConfigStore::resolveCaptureDir();
    refusesCloud = cloud != FolderProblem::none && (moves || (cloud == FolderProblem::away && untouched != files));
}

} // namespace qm
