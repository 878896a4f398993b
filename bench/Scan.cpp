// One scan of a hundred thousand files, compared with the bare system calls it cannot do without.

#include "bench/Measure.h"
#include "index/Database.h"
#include "index/FolderScan.h"
#include "index/IndexSql.h"
#include "tests/support/TempHome.h"

#include <QDir>
#include <QFile>

#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace qm;

static constexpr int files = 100'000;

static void makeFiles(const QString &folder)
{
    QDir().mkpath(folder);
    const int directory = ::open(QFile::encodeName(folder).constData(), O_DIRECTORY);
    for (int i = 0; i < files; ++i) {
        char name[96];
        // Not in order of time; real folders are not either.
        const unsigned shuffled = unsigned(i) * 7919u % files;
        std::snprintf(name, sizeof name, "Quillmere 2024-%02u-%02u-%02u-%02u-%02u-%d.png", shuffled % 12 + 1,
                      shuffled / 12 % 28 + 1, shuffled / 336 % 24, shuffled / 8064 % 60, unsigned(i) % 60, i);
        ::close(openat(directory, name, O_CREAT | O_WRONLY, 0600));
        const timespec time{1'700'000'000 + long(shuffled) * 100, 0};
        const timespec times[] = {time, time};
        utimensat(directory, name, times, 0);
    }
    ::close(directory);
}

template<class Entry>
static void list(const QString &folder, Entry entry)
{
    DIR *listing = opendir(QFile::encodeName(folder).constData());
    while (const dirent *found = readdir(listing)) {
        if (found->d_name[0] != '.')
            entry(dirfd(listing), found->d_name);
    }
    closedir(listing);
}

// The minimum for indexing new files: list them, stat each, run the same prepared statement for each.
static void insertRaw(const QString &folder, const QString &databasePath)
{
    sqlite3 *database = nullptr;
    sqlite3_open(databasePath.toUtf8().constData(), &database);
    sqlite3_stmt *insert = nullptr;
    sqlite3_exec(database, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(database, IndexSql::insertShot, -1, &insert, nullptr);
    const std::string prefix = folder.toStdString() + '/';
    list(folder, [&](int directory, const char *name) {
        struct stat status;
        fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW);
        const std::string path = prefix + name;
        sqlite3_bind_text(insert, 1, path.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 2, name, -1, SQLITE_TRANSIENT);
        sqlite3_bind_int64(insert, 3, status.st_size);
        sqlite3_bind_int64(insert, 4, status.st_mtim.tv_sec * 1000);
        sqlite3_bind_text(insert, 5, "2024-05-01T09:30:15", -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 6, "2024-05-01T09:30:15Z", -1, SQLITE_TRANSIENT);
        sqlite3_step(insert);
        sqlite3_reset(insert);
    });
    sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_finalize(insert);
    sqlite3_close(database);
}

static long peakKiB()
{
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

int main()
{
    TempHome home;
    const QString folder = home.file(QStringLiteral("shots"));
    const QString path = home.file(QStringLiteral(".quillmere/db.sqlite"));
    makeFiles(folder);
    std::optional<Database> database; // opened before the scan, as in the application
    const auto empty = [&] {
        database.reset();
        QFile::remove(path);
        database.emplace(path, Database::Access::write);
        database->open();
    };
    const auto scan = [&] { FolderScan::scan(*database, {.folders = {folder}, .share = 60}); };

    const double raw = bench::bestOf(
        5, [&] { insertRaw(folder, path); }, empty);
    const double fresh = bench::bestOf(
        5, [&] { scan(); }, empty);
    std::printf("%d new files:   %.0f ms; readdir, fstatat and inserts raw %.0f ms; ratio %.2f (at most 2)\n", files,
                fresh * 1e3, raw * 1e3, fresh / raw);

    int seen = 0;
    const double bare = bench::bestOf(15, [&] { list(folder, [&](int, const char *) { ++seen; }); });
    const long before = peakKiB();
    const double known = bench::bestOf(15, [&] { scan(); });
    std::printf("%d known files: %.1f ms; bare readdir %.1f ms; ratio %.2f (at most 2.5)\n", files, known * 1e3,
                bare * 1e3, known / bare);
    std::printf("peak memory before and after these passes: %ld and %ld KiB\n", before, peakKiB());
    return 0;
}
