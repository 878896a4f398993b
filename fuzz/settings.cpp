// A libFuzzer target: whatever the settings' files say, every value that follows from them is usable, and what is saved is
// what is read. The input is the local file and the shared one, parted by its first zero byte.

#include "config/ConfigStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>

using namespace qm;

// Stands for the C library's: a disk takes longer than all the rest.
extern "C" int fsync(int)
{
    return 0;
}

static void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const QTemporaryDir home;
    static const bool prepared =
        qputenv("HOME", home.path().toUtf8()) && ConfigStore::createFolder(ConfigStore::homeFolder());
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype parted = bytes.indexOf('\0');
    QDir(ConfigStore::homeFolder()).removeRecursively();
    if (!prepared || !ConfigStore::createFolder(ConfigStore::homeFolder()))
        std::abort();
    write(ConfigStore::localFile(), bytes.left(parted));
    // Elsewhere it would be somebody's file.
    const QString shared = ConfigStore::homeFolder() + QStringLiteral("/shared");
    if (!ConfigStore::sharedFolder().isEmpty()) {
        QDir().mkpath(shared);
        if (parted >= 0)
            write(shared + QStringLiteral("/config.json"), bytes.mid(parted + 1));
        if (!ConfigStore::setCloud(shared))
            std::abort();
    }

    const Hotkey hotkey = ConfigStore::resolveHotkey();
    const bool isUsable = hotkey.holdThreshold >= Hotkey::minHoldThreshold &&
                          hotkey.holdThreshold <= Hotkey::maxHoldThreshold &&
                          QDir::isAbsolutePath(ConfigStore::resolveCaptureDir());
    const bool wanted = !ConfigStore::autoOcr();
    const QJsonObject all = ConfigStore::effective();
    QJsonObject changed = all;
    changed.insert(QStringLiteral("autoOcr"), wanted);
    for (const char16_t *key : {u"captures", u"source", u"hotkey", u"autoOcr"})
        ConfigStore::originOf(QString::fromUtf16(key));
    if (!isUsable ||
        !ConfigStore::save({.cloud = {}, .shared = {{QStringLiteral("autoOcr"), wanted}}},
                           [] { return Outcome::success(); }) ||
        ConfigStore::autoOcr() != wanted || ConfigStore::effective() != changed)
        std::abort();
    return 0;
}
