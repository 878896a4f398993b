#include "annotate/editor/Export.h"
#include "config/SettingsFile.h"
#include "helpers/qmscroll/TallPicture.h"
#include "imaging/PngWriter.h"
#include "tests/support/TempHome.h"

#include <QFile>
#include <QTest>

#include <map>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace qm;
using namespace Qt::StringLiterals;

namespace {

struct Synced {
    QByteArray name; // at that time; of a file without one, the kernel's word for it
    off_t bytes = 0;
    timespec changed = {};
};

std::map<ino_t, Synced> synced; // by inode, the last time

int record(int descriptor, long call)
{
    struct stat file = {};
    char name[4096] = {};
    fstat(descriptor, &file);
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(descriptor);
    [[maybe_unused]] const ssize_t length = readlink(link.constData(), name, sizeof name - 1);
    synced[file.st_ino] = {name, file.st_size, file.st_mtim};
    return int(syscall(call, descriptor));
}

} // namespace

// In place of the C library's: what a power cut leaves is what went through these.
extern "C" int fsync(int descriptor)
{
    return record(descriptor, SYS_fsync);
}

extern "C" int fdatasync(int descriptor)
{
    return record(descriptor, SYS_fdatasync);
}

// What is reported as saved is on the disk, under its name, and was there before it got the name of what it replaces.
class tst_PowerCut : public QObject
{
    Q_OBJECT

private:
    static bool isSame(const timespec &a, const timespec &b) { return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec; }

private Q_SLOTS:
    void whatIsReportedAsSavedIsWhole_data()
    {
        QTest::addColumn<std::function<bool(const QString &path)>>("save");
        QTest::addColumn<QString>("name");
        using Save = std::function<bool(const QString &)>;
        QImage image(300, 200, QImage::Format_RGB32);
        image.fill(Qt::red);
        const Image picture{image, image.size()};
        QTest::newRow("a capture") << Save([=](const QString &path) {
            return bool(PngWriter::writeNew(path, picture));
        }) << u"new.png"_s;
        QTest::newRow("a picture over another") << Save([=](const QString &path) {
            return PngWriter::write(path, picture) && PngWriter::write(path, picture);
        }) << u"old.png"_s;
        QTest::newRow("an annotated copy") << Save([=](const QString &path) {
            return Export::save(picture, u"copy.png"_s, QFileInfo(path).path()).path == path;
        }) << u"copy-annotated.png"_s;
        QTest::newRow("a scrolling capture") << Save([=](const QString &path) {
            TallPicture tall(path, image.width());
            return tall.append(image) && tall.finish();
        }) << u"tall.png"_s;
        QTest::newRow("settings") << Save([](const QString &path) {
            return SettingsFile(path).set({{u"hotkey"_s, u"a"_s}}) && SettingsFile(path).set({{u"hotkey"_s, u"b"_s}});
        }) << u"config.json"_s;
    }

    void whatIsReportedAsSavedIsWhole()
    {
        QFETCH(std::function<bool(const QString &)>, save);
        QFETCH(QString, name);
        const TempHome home;
        const QByteArray path = home.file(name).toUtf8();
        synced.clear();
        QVERIFY(save(QString::fromUtf8(path)));
        struct stat file = {}, folder = {};
        QVERIFY(stat(path.constData(), &file) == 0);
        QVERIFY(stat(path.left(path.lastIndexOf('/')).constData(), &folder) == 0);
        const Synced &content = synced[file.st_ino];
        QVERIFY(file.st_size > 0 && content.bytes == file.st_size && isSame(content.changed, file.st_mtim));
        QVERIFY2(content.name != path, "it had its name before it was whole");
        QVERIFY(isSame(synced[folder.st_ino].changed, folder.st_mtim));
    }
};

QTEST_GUILESS_MAIN(tst_PowerCut)
#include "tst_PowerCut.moc"
