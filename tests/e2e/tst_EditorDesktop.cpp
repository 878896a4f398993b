// The editor as a person uses it: the real application on a real desktop, pointer, keyboard, file and clipboard.

#include "tests/support/Desktop.h"

#include <QDir>
#include <QGuiApplication>
#include <QTest>

using namespace qm;

static constexpr QRgb red = 0xffff3b30;

class tst_EditorDesktop : public QObject
{
    Q_OBJECT

public:
    explicit tst_EditorDesktop(Desktop &desktop)
        : m_desktop(desktop)
    {
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const char *name : {"one", "two"}) {
            QImage picture(600, 400, QImage::Format_RGB32);
            picture.fill(Qt::white);
            QVERIFY(picture.save(file(name)));
        }
    }
    void cleanupTestCase()
    {
        command({QStringLiteral("quit")});
        QVERIFY(Desktop::wait([&] { return m_application->state() == QProcess::NotRunning; }));
    }

    void drawSaveCopyClose()
    {
        m_application = &command({QStringLiteral("annotate"), file("one")});
        QVERIFY(shown("one"));
        const QRect window = content("one");
        QCOMPARE(window.size(), QSize(940, 640)); // of a screen of 1280 x 800
        m_desktop.stillPicture();

        const QPoint center = window.center(), by(150, 75);
        m_desktop.drag(center - by, center + by);
        QVERIFY(Desktop::wait([&] { return m_desktop.pixel(center).rgb() == red; }));
        m_desktop.tap(letterB);
        m_desktop.stillPicture(); // the window manager may hold a button back longer than a key
        m_desktop.drag(center - QPoint(30, 30), center + QPoint(30, 30));
        QVERIFY(
            Desktop::wait([&] { return m_desktop.pixel(center).rgb() != red; })); // the source's white above the arrow

        clickBelow(window, saveFromRight);
        QVERIFY(Desktop::wait([&] { return captures() == QStringList(QStringLiteral("one-annotated.png")); }));
        const QImage saved = rgb(QImage(captureFolder() + QStringLiteral("/one-annotated.png")));
        QCOMPARE(saved.size(), QSize(600, 400));
        QCOMPARE(saved.pixel(300, 200), 0xffffffff);
        QCOMPARE(saved.pixel(300 + 60, 200 + 30), red);

        m_desktop.tap(Key::enter);
        QVERIFY(Desktop::wait([&] { return m_desktop.clipboardTypes().contains(QStringLiteral("image/png")); }));
        QCOMPARE(rgb(QImage::fromData(m_desktop.clipboard(QStringLiteral("image/png")))), saved);

        command({QStringLiteral("annotate"), file("two")});
        QVERIFY(shown("two"));
        m_desktop.stillPicture();
        clickBelow(content("two"), closeFromRight);
        QVERIFY(Desktop::wait([&] { return !m_desktop.windowTitled(title("two")); }));
        QVERIFY(m_desktop.windowTitled(title("one"))); // still there, with what was drawn
        m_desktop.stillPicture();
        QCOMPARE(QColor(m_desktop.pixel(center + QPoint(90, 45))), QColor(red));
    }

    void noPicture()
    {
        m_desktop.home().write(QStringLiteral("words.png"), "no picture");
        const qsizetype before = m_desktop.windows().size();
        QProcess &process = command({QStringLiteral("annotate"), m_desktop.home().file(QStringLiteral("words.png"))});
        QVERIFY(Desktop::wait([&] { return process.state() == QProcess::NotRunning; }));
        QCOMPARE(process.exitCode(), 0);
        command({QStringLiteral("annotate"), file("two")}); // answered after it
        QVERIFY(shown("two"));
        QCOMPARE(m_desktop.windows().size(), before + 1);
        QVERIFY(!m_desktop.windowTitled(title("words")));
    }

private:
    static constexpr Key letterB = Key(56);
    static constexpr int saveFromRight = 260,
                         closeFromRight = 52; // middles of the buttons, with the fonts of ./dev setup

    static QImage rgb(const QImage &image) { return image.convertToFormat(QImage::Format_RGB32); }
    static QString title(const char *name) { return QStringLiteral("Annotate — %1.png").arg(QLatin1String(name)); }
    QString file(const char *name) const { return m_desktop.home().file(QLatin1String(name) + QStringLiteral(".png")); }
    QString captureFolder() const { return m_desktop.home().file(QStringLiteral(".quillmere/captures")); }
    QStringList captures() const { return QDir(captureFolder()).entryList(QDir::Files | QDir::Hidden); }
    QRect content(const char *name) const { return m_desktop.windowTitled(title(name))->content; }
    bool shown(const char *name) const
    {
        return Desktop::wait([&] { return m_desktop.windowTitled(title(name)).has_value(); });
    }
    QProcess &command(const QStringList &words)
    {
        return m_desktop.start(QStringLiteral(QM_PROGRAMS "/quillmere"), words,
                               {QStringLiteral("QT_QPA_PLATFORM=xcb"), QStringLiteral("LANGUAGE=en")});
    }
    void clickBelow(const QRect &window, int fromRight)
    {
        m_desktop.click({window.right() - fromRight, window.bottom() - 20});
    }

    Desktop &m_desktop;
    QProcess *m_application = nullptr;
};

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.panel = false});
    tst_EditorDesktop test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_EditorDesktop.moc"
