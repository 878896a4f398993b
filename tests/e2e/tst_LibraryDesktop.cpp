// Found by a word, copied, annotated: the library of the real application on a real desktop.

#include "tests/support/Desktop.h"
#include "tests/support/TrayIcon.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTest>

#include <utility>

using namespace qm;
using namespace std::chrono_literals;

class tst_LibraryDesktop : public QObject
{
    Q_OBJECT

public:
    explicit tst_LibraryDesktop(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private Q_SLOTS:
    void initTestCase();
    void fromTheTrayToAnAnnotatedShot();
    void cleanupTestCase();

private:
    QString program(const char *name) const
    {
        return m_desktop.home().file(QStringLiteral("bin/") + QLatin1String(name));
    }
    QString captureFolder() const { return m_desktop.home().file(QStringLiteral(".quillmere/captures")); }
    void picture(const QString &name, QRgb color) const;
    bool isFound(const QString &word, const QString &fileName);
    bool waitForColor(QPoint at, QRgb color) const;

    Desktop &m_desktop;
    QProcess *m_application = nullptr;
};

void tst_LibraryDesktop::picture(const QString &name, QRgb color) const
{
    QImage image(480, 360, QImage::Format_RGB32);
    image.fill(color);
    QVERIFY(QDir().mkpath(captureFolder()));
    QVERIFY(image.save(captureFolder() + u'/' + name));
}

bool tst_LibraryDesktop::isFound(const QString &word, const QString &fileName)
{
    QProcess &search = m_desktop.start(program("qms"), {QStringLiteral("search"), word});
    search.waitForFinished();
    return QString::fromUtf8(search.readAllStandardOutput()).contains(fileName);
}

bool tst_LibraryDesktop::waitForColor(QPoint at, QRgb color) const
{
    return Desktop::wait([&] { return m_desktop.pixel(at).rgb() == color; });
}

void tst_LibraryDesktop::initTestCase()
{
    QVERIFY(QDir().mkpath(m_desktop.home().file(QStringLiteral("bin"))));
    for (const char *name : {"quillmere", "qms"})
        QVERIFY(QFile::copy(QStringLiteral(QM_PROGRAMS "/") + QLatin1String(name), program(name)));
    // Reads the first word of a file's name, and whether it is annotated.
    m_desktop.home().script(QStringLiteral("bin/qmocr"),
                            "while read -r p; do\n"
                            "n=${p##*/}; t=${n%% *}; case $n in *-annotated*) t=marked;; esac\n"
                            "printf '{\"path\": \"%s\", \"text\": \"%s\"}\\n' \"$p\" \"$t\"\n"
                            "done");
    picture(QStringLiteral("oat 1.png"), 0xff2040c0);
    picture(QStringLiteral("apple 2.png"), 0xffc04020);
    m_application = &m_desktop.start(program("quillmere"), {},
                                     {QStringLiteral("QT_QPA_PLATFORM=xcb"), QStringLiteral("LANGUAGE=en")});
    QVERIFY(Desktop::wait(
        [&] {
            return trayIcon(m_desktop) && isFound(QStringLiteral("oat"), QStringLiteral("oat 1.png")) &&
                   isFound(QStringLiteral("apple"), QStringLiteral("apple 2.png"));
        },
        60s));
}

void tst_LibraryDesktop::fromTheTrayToAnAnnotatedShot()
{
    const QImage before = m_desktop.stillPicture();
    m_desktop.click(trayIcon(m_desktop)->center());
    QVERIFY(Desktop::wait([&] { return m_desktop.picture() != before; }));
    m_desktop.stillPicture();
    for (int item = 0; item < 5; ++item) // "Library…" is the fifth
        m_desktop.tap(Key::down);
    m_desktop.tap(Key::enter);
    const QString title = QStringLiteral("Quillmere Library");
    QVERIFY(Desktop::wait([&] { return m_desktop.windowTitled(title).has_value(); }));
    const QRect window = m_desktop.windowTitled(title)->content;
    QCOMPARE(window.size(), QSize(820, 560));
    QVERIFY(window.top() >= 48);

    // Both are listed; "oat" leaves one.
    const QPoint firstRow = window.topLeft() + QPoint(58, 95), secondRow = firstRow + QPoint(0, 88);
    QVERIFY(Desktop::wait([&] {
        const QRgb first = m_desktop.pixel(firstRow).rgb(), second = m_desktop.pixel(secondRow).rgb();
        return first != second && (first == 0xff2040c0 || first == 0xffc04020) &&
               (second == 0xff2040c0 || second == 0xffc04020);
    }));
    for (const int code : {32, 38, 28}) // o a t
        m_desktop.tap(Key(code));
    QVERIFY(waitForColor(firstRow, 0xff2040c0));
    QVERIFY(Desktop::wait([&] { return m_desktop.pixel(secondRow).rgb() != 0xffc04020; }));

    m_desktop.tap(Key::down);
    QVERIFY(waitForColor(window.topLeft() + QPoint(600, 220), 0xff2040c0)); // the preview
    m_desktop.tap(Key::enter);
    QVERIFY(Desktop::wait([&] { return m_desktop.clipboardTypes().contains(QStringLiteral("image/png")); }));
    const QImage copied = QImage::fromData(m_desktop.clipboard(QStringLiteral("image/png")));
    QCOMPARE(copied.size(), QSize(480, 360));
    QCOMPARE(copied.pixel(10, 10), 0xff2040c0);

    const QImage library = m_desktop.stillPicture();
    m_desktop.click(firstRow, Button::right);
    QVERIFY(Desktop::wait([&] { return m_desktop.picture() != library; }));
    m_desktop.stillPicture();
    m_desktop.tap(Key::down);
    m_desktop.tap(Key::down);
    m_desktop.tap(Key::enter); // "Annotate…"
    std::optional<Desktop::Window> editor;
    QVERIFY(Desktop::wait([&] {
        for (const Desktop::Window &open : m_desktop.windows()) {
            if (open.title.contains(QStringLiteral("oat 1.png")))
                editor = open;
        }
        return editor.has_value();
    }));
    const QPoint middle = editor->content.center();
    QImage unmarked = m_desktop.stillPicture();
    QVERIFY(Desktop::wait([&] { // the window is known before it takes input
        m_desktop.drag(middle - QPoint(60, 40), middle + QPoint(60, 40));
        m_desktop.movePointer(editor->content.topLeft() + QPoint(3, 3));
        const QImage now = m_desktop.stillPicture();
        return std::exchange(unmarked, now).copy(QRect(middle - QPoint(50, 35), QSize(100, 70))) !=
               now.copy(QRect(middle - QPoint(50, 35), QSize(100, 70)));
    }));
    m_desktop.tap(Key::tab); // from the picture to "Save"
    m_desktop.tap(Key::space);
    const QString annotated = QStringLiteral("oat 1-annotated.png");
    QVERIFY(Desktop::wait([&] { return QFile::exists(captureFolder() + u'/' + annotated); }));
    QVERIFY(Desktop::wait([&] { return isFound(QStringLiteral("marked"), annotated); }, 60s));
    QVERIFY(QImage(captureFolder() + u'/' + annotated) != QImage(captureFolder() + QStringLiteral("/oat 1.png")));
}

void tst_LibraryDesktop::cleanupTestCase()
{
    m_desktop.start(program("quillmere"), {QStringLiteral("quit")});
    QVERIFY(Desktop::wait([&] { return m_application->state() == QProcess::NotRunning; }));
    QCOMPARE(m_application->exitCode(), 0);
}

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop;
    tst_LibraryDesktop test(desktop);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_LibraryDesktop.moc"
