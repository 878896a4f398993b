#include "annotate/editor/Export.h"

#include "imaging/PngWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <filesystem>

namespace qm {

// Strips only the last extension; a name whose only dot is its first character has none.
static QString baseOf(const QString &sourcePath)
{
    const QString name = QFileInfo(sourcePath).fileName();
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.first(dot) : name;
}

static QString annotatedName(const QString &base, int counter)
{
    return counter == 1 ? QStringLiteral("%1-annotated.png").arg(base)
                        : QStringLiteral("%1-annotated-%2.png").arg(base).arg(counter);
}

enum class Placed { yes, taken, failed };

// A hard link is the only way to name a file without ever replacing another.
static Placed place(const QString &written, const QString &path)
{
    const auto native = [](const QString &name) {
        return std::filesystem::path(QFile::encodeName(name).toStdString());
    };
    std::error_code error;
    std::filesystem::create_hard_link(native(written), native(path), error);
    if (!error)
        return Placed::yes;
    if (error == std::errc::file_exists)
        return Placed::taken;
    // Some file systems have no hard links. There, reserve the name with an empty file first.
    QFile reserved(path);
    if (!reserved.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return QFileInfo::exists(path) ? Placed::taken : Placed::failed;
    reserved.close();
    std::filesystem::rename(native(written), native(path), error);
    if (!error)
        return Placed::yes;
    reserved.remove();
    return Placed::failed;
}

std::optional<QString> Export::save(const Image &image, const QString &sourcePath, const QString &folder)
{
    if (image.isNull())
        return std::nullopt;
    const QDir dir(folder);
    const QString written =
        dir.filePath(QStringLiteral(".quillmere-%1.part").arg(QUuid::createUuid().toString(QUuid::Id128)));
    if (!PngWriter::write(written, image))
        return std::nullopt;

    const QString base = baseOf(sourcePath);
    std::optional<QString> result;
    for (int counter = 1; !result; ++counter) {
        const QString path = dir.filePath(annotatedName(base, counter));
        if (QFileInfo::exists(path))
            continue;
        const Placed placed = place(written, path);
        if (placed == Placed::yes)
            result = path;
        else if (placed == Placed::failed)
            break;
    }
    QFile::remove(written);
    return result;
}

} // namespace qm
