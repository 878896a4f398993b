// The application used over and over on a real desktop: what it holds afterwards is what it held before.

#include "tests/support/Desktop.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class tst_LongUse : public QObject
{
    Q_OBJECT

public:
    explicit tst_LongUse(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private:
    struct Held {
        qsizetype files, threads, children, windows;
        qint64 memory; // kB, shared pages in proportion
    };

    Desktop &m_desktop;
    QProcess *m_application = nullptr;

    QProcess &quillmere(const QStringList &words)
    {
        return m_desktop.start(
            QStringLiteral(QM_PROGRAMS "/quillmere"), words,
            {u"QT_QPA_PLATFORM=xcb"_s, u"LANGUAGE=en"_s,
             QString::fromLocal8Bit(qgetenv("ASAN_OPTIONS")).prepend(u"ASAN_OPTIONS="_s) + u":quarantine_size_mb=1"_s});
    }
    Held held() const
    {
        const QString process = u"/proc/%1/"_s.arg(m_application->processId());
        const auto content = [](const QString &path) {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        };
        const auto entries = [&](const QString &folder) {
            return QDir(process + folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
        };
        Held held{entries(u"fd"_s), entries(u"task"_s), 0, m_desktop.windows().size(), 0};
        for (const QString &thread : QDir(process + u"task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            held.children += content(process + u"task/"_s + thread + u"/children"_s).count(' ');
        const QByteArray memory = content(process + u"smaps_rollup"_s);
        held.memory = memory.sliced(memory.indexOf("\nPss:") + 5).trimmed().split(' ').first().toLongLong();
        return held;
    }
    // A window is opened by a command and closed by a key.
    void openAndClose(const QStringList &command, const QString &title)
    {
        quillmere(command);
        QVERIFY2(Desktop::wait([&] { return m_desktop.windowTitled(title).has_value(); }), qPrintable(title));
        QVERIFY2(Desktop::wait([&] { // typed too early, it is typed again
                     (void)m_desktop.stillPicture();
                     m_desktop.keyDown(Key::leftControl);
                     m_desktop.tap(Key(25)); // W
                     m_desktop.keyUp(Key::leftControl);
                     return Desktop::wait([&] { return !m_desktop.windowTitled(title); }, 2s);
                 }),
                 qPrintable(title));
    }
    void useEverything()
    {
        const QString folder = m_desktop.home().file(u".quillmere/captures"_s);
        const qsizetype before = QDir(folder).entryList({u"*.png"_s}).size();
        QVERIFY(Desktop::wait([&] {
            m_desktop.tap(Key::rightShift);
            return m_desktop.overlayIsUp();
        }));
        m_desktop.drag({100, 120}, {899, 619});
        QVERIFY(Desktop::wait([&] { return QDir(folder).entryList({u"*.png"_s}).size() == before + 1; }));
        QVERIFY(m_desktop.overlayIsGone());
        openAndClose({u"library"_s}, u"Quillmere Library"_s);
        openAndClose({u"settings"_s}, u"Quillmere Settings"_s);
        openAndClose({u"annotate"_s, m_desktop.home().file(u"page.png"_s)}, u"Annotate — page.png"_s);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QImage page(2000, 1500, QImage::Format_RGB32);
        page.fill(0xff2040c0);
        QVERIFY(page.save(m_desktop.home().file(u"page.png"_s)));
        m_application = &quillmere({u"settings"_s});
        QVERIFY(Desktop::wait([&] { return m_desktop.windowTitled(u"Quillmere Settings"_s).has_value(); }));
    }

    void nothingGrows()
    {
        constexpr int rounds = 60, warm = 20;
        std::optional<Held> first;
        for (int i = 0; i < rounds; ++i) {
            if (i == warm)
                first = held();
            useEverything();
            if (QTest::currentTestFailed())
                return;
        }
        // Helpers, cards and drafts of the last round are still about to go.
        QVERIFY(Desktop::wait([&] { return held().children <= first->children; }));
        const Held last = held();
        qInfo("files %lld to %lld, threads %lld to %lld, %lld to %lld kB", qint64(first->files), qint64(last.files),
              qint64(first->threads), qint64(last.threads), first->memory, last.memory);
        QVERIFY(last.files <= first->files + 2);
        QVERIFY(last.threads <= first->threads + 2);
        QVERIFY(last.windows <= first->windows);
        QVERIFY(last.memory < first->memory * 11 / 10);
    }

    void cleanupTestCase()
    {
        m_desktop.releaseInput();
        quillmere({u"quit"_s});
        QVERIFY(Desktop::ended(*m_application));
        QCOMPARE(m_application->exitCode(), 0);
    }
};

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.panel = false});
    tst_LongUse test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_LongUse.moc"
