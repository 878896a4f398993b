// The library window over an index of 100,000 shots, or as many as QM_BENCH_ROWS says: time to open, load on the main
// thread, and memory with 200 thumbnails. Needs no display.

#include "bench/Measure.h"
#include "bench/ScreenText.h"
#include "index/Database.h"
#include "index/ShotStore.h"
#include "library/LibraryView.h"
#include "library/ShotListModel.h"
#include "library/ShotListView.h"
#include "library/ShotRow.h"
#include "platform/QtQueue.h"
#include "tests/support/TempHome.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>

using namespace qm;
using namespace std::chrono_literals;

static const int shots = bench::rows();
static constexpr int pictures = 200;

static void writePicture(const QString &path, QRandomGenerator &random)
{
    QImage image(1920, 1080, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(int(random.bounded(360)), 20, 250));
    QPainter painter(&image);
    painter.setFont(QFont(QStringLiteral("DejaVu Sans"), 11));
    painter.drawText(image.rect().adjusted(40, 40, -40, -40), Qt::TextWordWrap,
                     bench::screenText(random, 1000) + bench::screenText(random, 1000) +
                         bench::screenText(random, 1000));
    painter.end();
    if (!image.save(path))
        qFatal("cannot write %s", qPrintable(path));
}

static void fill(const TempHome &home)
{
    QRandomGenerator random(1);
    Database database(ShotStore::databasePath(), Database::Access::write);
    database.open();
    Transaction transaction(database);
    Statement insert =
        database.prepare("INSERT INTO shots(path, filename, mtime_ms, taken_at, ocr_text, ocr_done, indexed_at)"
                         " VALUES(?, ?, ?, '2026-03-07T18:20:33', ?, 1, 'x')");
    for (int i = 0; i < shots; ++i) {
        const QString name = QStringLiteral("Screenshot %1.png").arg(i);
        insert.bind(1, home.file(name));
        insert.bind(2, name);
        insert.bind(3, qint64(1'700'000'000'000) + i * 1000);
        insert.bind(4, bench::screenText(random, 1000));
        if (!insert.run())
            qFatal("cannot fill the index");
        if (i >= shots - pictures)
            writePicture(home.file(name), random);
    }
    transaction.commit();
}

static double threadSeconds()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

// CPU time of the main thread in each turn of its event loop (waiting costs none), and by how much a 5 ms timer was
// late on the wall clock.
class Turns
{
public:
    Turns()
    {
        m_heartbeat.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_heartbeat, &QTimer::timeout, [this] {
            longestGap = std::max(longestGap, double(m_sinceBeat.nsecsElapsed()) / 1e9 - 0.005);
            m_sinceBeat.start();
        });
    }

    // User actions arrive as events of their own.
    static void post(const std::function<void()> &act) { QTimer::singleShot(0, qApp, act); }

    void runFor(std::chrono::milliseconds time)
    {
        QElapsedTimer timer;
        timer.start();
        runUntil([&] { return timer.elapsed() >= time.count(); });
    }

    // Runs the event loop until the condition holds.
    void runUntil(const std::function<bool()> &condition)
    {
        QElapsedTimer limit;
        limit.start();
        m_sinceBeat.start();
        m_heartbeat.start(5);
        while (!condition()) {
            if (limit.elapsed() > 60'000)
                qFatal("waited too long");
            const double begin = threadSeconds();
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            longestCpu = std::max(longestCpu, threadSeconds() - begin);
            ++count;
        }
        m_heartbeat.stop();
    }

    double longestCpu = 0; // seconds, as is the next
    double longestGap = 0;
    int count = 0;

private:
    QTimer m_heartbeat;
    QElapsedTimer m_sinceBeat;
};

static void report(const char *what, const Turns &turns)
{
    std::printf("%-44s longest turn %5.1f ms CPU (at most 8); longest gap %6.1f ms by the clock; %d turns\n", what,
                turns.longestCpu * 1e3, turns.longestGap * 1e3, turns.count);
}

// Private memory of this process in megabytes; shared libraries and files count only where modified.
static double privateMegabytes()
{
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    double kilobytes = 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("Private_Dirty:") || line.startsWith("Private_Clean:"))
            kilobytes += line.simplified().split(' ')[1].toDouble();
    }
    return kilobytes / 1024;
}

static double megabytes(const char *field)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith(field))
            return line.simplified().split(' ')[1].toDouble() / 1024;
    }
    return 0;
}

static double milliseconds(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

static void measure(int argc, char **argv)
{
    QApplication application(argc, argv);
    double query = 1e9;
    for (int i = 0; i < 9; ++i)
        query = std::min(query, milliseconds([] { ShotStore::recent(LibraryView::resultLimit); }));

    ThumbnailCache thumbnails;
    const LibraryView::Environment real{
        QtQueue::main(), {&LibraryView::findInIndex, &ShotStore::version}, {}, thumbnails};
    LibraryView::Environment none = real;
    none.index = {[](const QString &) { return SearchResult(); }};

    const auto open = [&](const LibraryView::Environment &environment, bool rows) {
        LibraryView view(environment);
        view.resize(820, 560);
        auto *model = view.findChild<ShotListModel *>();
        return milliseconds([&] {
            view.show();
            while (view.isLoading() || (rows && model->rowCount() == 0))
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            QCoreApplication::processEvents(); // paints
        });
    };
    open(none, false); // warms up fonts, styles and libraries, a cost paid once per process
    double bare = 1e9, opening = 1e9;
    for (int i = 0; i < 9; ++i) {
        bare = std::min(bare, open(none, false));
        opening = std::min(opening, open(real, true));
    }
    std::printf("open with %d rows of %d                  %6.1f ms; the bare window %.1f, the bare query %.1f;"
                " ratio to both together %.2f\n",
                LibraryView::resultLimit, shots, opening, bare, query, opening / (bare + query));

    LibraryView view(real);
    view.resize(820, 560);
    view.show();
    QCoreApplication::processEvents();
    auto *model = view.findChild<ShotListModel *>();
    auto *list = view.findChild<ShotListView *>();
    auto *field = view.findChild<QLineEdit *>();
    const auto visibleAreThere = [&] {
        const int first = list->verticalScrollBar()->value() / ShotRow::height;
        return !model->thumbnail(first).isNull() && !model->thumbnail(first + 4).isNull();
    };
    {
        Turns turns;
        turns.runUntil([&] { return !view.isLoading() && visibleAreThere(); });
        report("results and the first thumbnails arrive", turns);
    }
    {
        Turns turns;
        for (const QString &text :
             {QStringLiteral("請求書"), QStringLiteral("meeting"), QStringLiteral("zqxjk"), QString()}) {
            QString typed;
            for (const QChar c : text) {
                typed += c;
                Turns::post([=] { field->setText(typed); });
                turns.runFor(30ms);
            }
            if (text.isEmpty())
                Turns::post([=] { field->clear(); });
            turns.runFor(250ms);
            turns.runUntil([&] { return !view.isLoading(); });
            turns.runFor(100ms); // thumbnails
        }
        report("typing four searches", turns);
    }
    {
        Turns turns;
        for (int row = 0; row < 20; ++row) {
            Turns::post([=] { list->setCurrentIndex(model->index(row)); });
            turns.runFor(80ms);
        }
        report("the preview of twenty shots", turns);
    }
    {
        Turns turns;
        QScrollBar *bar = list->verticalScrollBar();
        for (int value = 0; value <= bar->maximum(); value += ShotRow::height * 2) {
            Turns::post([=] { bar->setValue(value); });
            turns.runUntil([&] { return bar->value() == value; });
            turns.runUntil([&] { return visibleAreThere(); });
        }
        report("200 rows scrolled through, all decoded", turns);
    }
    std::printf("memory with the window and 200 thumbnails     %5.1f MB resident (at most 120), %.1f MB of our own;"
                " at its peak %.1f MB\n",
                megabytes("VmRSS:"), privateMegabytes(), megabytes("VmHWM:"));
}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // A separate process fills the index, so that its memory does not count for the window.
    if (argc == 2) {
        measure(argc, argv);
        return 0;
    }
    const TempHome home;
    {
        QGuiApplication painting(argc, argv);
        fill(home);
    }
    return QProcess::execute(QString::fromLocal8Bit(argv[0]), {QStringLiteral("measure")});
}
