// The application's cost while idle, and the time it adds between the key and qmcapture's overlay, and between the file
// of a capture and its card.

#include "tests/support/Desktop.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QHash>

#include <chrono>
#include <cstdio>
#include <functional>
#include <limits>
#include <thread>

using namespace qm;
using Clock = std::chrono::steady_clock;

static constexpr QSize screen(2560, 1440);
static constexpr QPoint corner(5, 5);
static constexpr int runs = 15;
static constexpr auto idleTime = std::chrono::seconds(120);

// Voluntary context switches of each thread, by thread id.
static QHash<QString, qint64> waits(qint64 process)
{
    QHash<QString, qint64> waits;
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(process);
    for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(tasks + task + QStringLiteral("/status"));
        if (!status.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("voluntary_ctxt_switches:"))
                waits.insert(task, line.mid(24).trimmed().toLongLong());
        }
    }
    return waits;
}

// Kilobytes for the whole process, from proc(5).
static qint64 memory(qint64 process, const QByteArray &field)
{
    QFile rollup(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
    if (!rollup.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : rollup.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').first().toLongLong();
    }
    return 0;
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Desktop desktop({.size = screen});
    desktop.movePointer({1200, 700});
    const QString folder = QCoreApplication::applicationDirPath() + u'/';
    const QProcess &quillmere =
        desktop.start(folder + QStringLiteral("quillmere"), {}, {QStringLiteral("QT_QPA_PLATFORM=xcb")});

    const QColor before = desktop.pixel(corner);
    const auto drawn = [&] { return desktop.pixel(corner) != before; };
    // Milliseconds until the overlay appears; it is then cancelled.
    const auto untilDrawn = [&](const std::function<void()> &begin) {
        const Clock::time_point start = Clock::now();
        begin();
        while (!drawn() && Clock::now() - start < std::chrono::seconds(5))
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        const double time = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        desktop.tap(Key::escape);
        Desktop::wait([&] { return !drawn() && desktop.selectionOwner("_QUILLMERE_CAPTURE") == 0; });
        return time;
    };
    const auto tap = [&] { desktop.tap(Key::rightShift); };
    while (untilDrawn(tap) > 4000) { // wait until the listener runs
    }
    double alone = std::numeric_limits<double>::max(), byKey = alone;
    for (int i = 0; i < runs; ++i) {
        alone = std::min(alone, untilDrawn([&] {
                             desktop.start(folder + QStringLiteral("qmcapture"),
                                           {QStringLiteral("-i"), desktop.home().file(QStringLiteral("a.png"))});
                         }));
        byKey = std::min(byKey, untilDrawn(tap));
    }
    std::printf("key released to overlay drawn %6.1f ms  %.2f x qmcapture alone (%.1f ms)\n", byKey, byKey / alone,
                alone);

    // Milliseconds from the end of a drag to the file and to the card; the card is gone before the next drag.
    const QPoint inCard(screen.width() - 130, screen.height() - 130);
    const QDir captures(desktop.home().file(QStringLiteral(".quillmere/captures")));
    double file = std::numeric_limits<double>::max(), card = file;
    for (int i = 0; i < runs; ++i) {
        const auto count = [&] { return captures.entryList({QStringLiteral("*.png")}, QDir::Files).size(); };
        const QColor ground = desktop.pixel(inCard);
        const qsizetype files = count();
        tap();
        Desktop::wait(drawn);
        desktop.movePointer({100, 100});
        desktop.buttonDown();
        desktop.movePointer({1500, 600});
        desktop.movePointer({1899, 1099});
        Desktop::wait([&] { return desktop.pixel({1000, 1000}) == before; }); // what is selected is no longer dim
        const Clock::time_point start = Clock::now();
        desktop.buttonUp();
        const auto since = [&] { return std::chrono::duration<double, std::milli>(Clock::now() - start).count(); };
        while (count() == files && since() < 5000)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        const double toFile = since();
        while (desktop.pixel(inCard) == ground && since() < 5000)
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        file = std::min(file, toFile);
        card = std::min(card, since() - toFile);
        Desktop::wait([&] { return desktop.pixel(inCard) == ground; });
    }
    std::printf("selection released to file %6.1f ms, to card %.1f ms more (at most 60)\n", file, card);

    const qint64 process = quillmere.processId();
    std::this_thread::sleep_for(std::chrono::seconds(10)); // let work left over from the captures finish
    const QHash<QString, qint64> earlier = waits(process);
    std::this_thread::sleep_for(idleTime);
    qint64 wakeUps = 0; // of threads that lived throughout
    const QHash<QString, qint64> after = waits(process);
    for (auto task = after.begin(); task != after.end(); ++task)
        wakeUps += earlier.contains(task.key()) ? task.value() - earlier.value(task.key()) : 0;
    std::printf("idle: %lld wake-ups in %lld s; private %.1f MB (at most 40), PSS %.1f MB, RSS %.1f MB\n",
                static_cast<long long>(wakeUps), static_cast<long long>(idleTime.count()),
                double(memory(process, "Private_Clean") + memory(process, "Private_Dirty")) / 1024,
                double(memory(process, "Pss")) / 1024, double(memory(process, "Rss")) / 1024);
    return 0;
}
