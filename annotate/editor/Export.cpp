#include "annotate/editor/Export.h"

#include "imaging/PngWriter.h"
#include "platform/DiskSync.h"
#include "ui/AppLocale.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QTextBoundaryFinder>
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

static QString annotatedName(QString base, int counter)
{
    constexpr qsizetype longest = 255; // bytes, of a name in nearly every file system
    const QString ending =
        QStringLiteral("-annotated%1.png").arg(counter == 1 ? QString() : u'-' + QString::number(counter));
    if (base.toUtf8().size() + ending.size() > longest) {
        QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, base);
        characters.toEnd();
        qsizetype end = base.size();
        while (end > 0 && QStringView(base).first(end).toUtf8().size() + ending.size() > longest)
            end = qMax(characters.toPreviousBoundary(), qsizetype(0));
        base.truncate(end);
    }
    return base + ending;
}

// In our own words, where they are known. The system's are in its language and about a temporary file.
static QString reasonFor(const QString &folder, const QString &system)
{
    constexpr qint64 hardlyAny = 1 << 20; // bytes
    if (!QFileInfo(folder).isDir())
        return AppLocale::text(u"the folder %1 cannot be created", u"フォルダー %1 を作成できません").arg(folder);
    if (!QFileInfo(folder).isWritable())
        return AppLocale::text(u"the folder %1 cannot be written to", u"フォルダー %1 に書き込めません").arg(folder);
    const QStorageInfo disk(folder);
    if (disk.isValid() && disk.bytesAvailable() < hardlyAny)
        return AppLocale::text(u"the disk is full", u"ディスクに空きがありません");
    return system;
}

namespace {

struct Placed {
    enum class How { yes, taken, failed } how;
    QString reason = {}; // the system's, if it failed
};

} // namespace

// A hard link is the only way to name a file without ever replacing another.
static Placed place(const QString &written, const QString &path)
{
    const auto native = [](const QString &name) {
        return std::filesystem::path(QFile::encodeName(name).toStdString());
    };
    std::error_code error;
    std::filesystem::create_hard_link(native(written), native(path), error);
    if (!error)
        return {Placed::How::yes};
    if (error == std::errc::file_exists)
        return {Placed::How::taken};
    // Some file systems have no hard links. There, reserve the name with an empty file first.
    QFile reserved(path);
    if (!reserved.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return {QFileInfo::exists(path) ? Placed::How::taken : Placed::How::failed, reserved.errorString()};
    reserved.close();
    std::filesystem::rename(native(written), native(path), error);
    if (!error)
        return {Placed::How::yes};
    reserved.remove();
    return {Placed::How::failed, QString::fromLocal8Bit(error.message())};
}

Export::Saved Export::save(const Image &image, const QString &sourcePath, const QString &folder)
{
    if (image.isNull())
        return {{}, AppLocale::text(u"the picture is too large for the memory", u"画像が大きすぎてメモリが足りません")};
    const QDir dir(folder);
    const QString written =
        dir.filePath(QStringLiteral(".quillmere-%1.part").arg(QUuid::createUuid().toString(QUuid::Id128)));
    if (const Outcome outcome = PngWriter::write(written, image); !outcome)
        return {{}, reasonFor(folder, outcome.reason())};

    const QString base = baseOf(sourcePath);
    QString path;
    Placed placed{Placed::How::taken};
    for (int counter = 1; placed.how == Placed::How::taken; ++counter) {
        path = dir.filePath(annotatedName(base, counter));
        if (!QFileInfo::exists(path))
            placed = place(written, path);
    }
    QFile::remove(written);
    if (placed.how == Placed::How::failed)
        return {{}, reasonFor(folder, placed.reason)};
    DiskSync::names(path);
    return {path, {}};
}

} // namespace qm
