// The way of a screenshot, from the key to the copy with an arrow in it that is found again: the real application on a real
// desktop. Only the text recognition is a stand-in.

#include "tests/support/Desktop.h"
#include "tests/support/PatternWindow.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QTest>

#include <sys/stat.h>

using namespace qm;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

static QImage rgb(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGB32);
}

constexpr QFile::Permissions ownerOnly = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;

// The slots are the stations of one road; the order matters.
class tst_Road : public QObject
{
    Q_OBJECT

public:
    explicit tst_Road(Desktop &desktop)
        : m_desktop(desktop)
        , m_home(desktop.home())
    {
    }

private:
    Desktop &m_desktop;
    const TempHome &m_home;
    QProcess *m_application = nullptr;

    QProcess &run(const QString &program, const QStringList &words)
    {
        return m_desktop.start(m_home.file(u"bin/"_s + program), words, {u"QT_QPA_PLATFORM=xcb"_s, u"LANGUAGE=en"_s});
    }
    QString folder() const { return m_home.file(u"cloud/captures"_s); }
    QStringList captures() const { return QDir(folder()).entryList({u"Quillmere*.png"_s}, QDir::Files); }
    bool overlayIsGone() const { return m_desktop.selectionOwner("_QUILLMERE_CAPTURE") == 0; }
    bool waitForWindow(const QString &title) const
    {
        return Desktop::wait([&] { return m_desktop.windowTitled(title).has_value(); });
    }
    bool isFound(const QString &word, const QString &name)
    {
        return Desktop::wait(
            [&] {
                QProcess &search = run(u"qms"_s, {u"search"_s, word});
                return search.waitForFinished() && search.readAllStandardOutput().count(name.toUtf8()) == 1;
            },
            60s);
    }
    QImage clipboard() { return rgb(QImage::fromData(m_desktop.clipboard(u"image/png"_s))); }
    // By a tap of the trigger key: another one if it was too early, as a press belongs to the capture before until the
    // application has its picture.
    bool overlayOpens()
    {
        return Desktop::wait([&] {
            m_desktop.tap(Key::rightShift);
            return Desktop::wait([&] { return !overlayIsGone(); }, 2s) && m_desktop.overlayIsUp();
        });
    }
    void tap(std::initializer_list<Key> keys)
    {
        for (const Key key : keys)
            m_desktop.tap(key);
    }

private Q_SLOTS:
    void initTestCase()
    {
        umask(077);
        // Reads the first word of a file's name, and whether it is annotated.
        m_home.script(u"bin/qmocr"_s, "while read -r p; do\n"
                                      "n=${p##*/}; t=${n%%[ .]*}; case $n in *-annotated*) t=marked;; esac\n"
                                      "printf '{\"path\": \"%s\", \"text\": \"%s\"}\\n' \"$p\" \"$t\"; done");
        m_home.script(u"bin/qmcapture"_s, "for word; do case $word in -i*) echo $word >>$HOME/asked; esac; done\n"
                                          "exec " QM_PROGRAMS "/qmcapture \"$@\"");
        m_home.script(u"bin/qmdecode"_s, "echo \"$*\" >>$HOME/decoded; exec " QM_PROGRAMS "/qmdecode \"$@\"");
        for (const QString &name : {u"quillmere"_s, u"qms"_s})
            QVERIFY(QFile::copy(QStringLiteral(QM_PROGRAMS "/") + name, m_home.file(u"bin/"_s + name)));
        m_home.write(u".quillmere/config.json"_s, "{\"cloud\": \"~/cloud\"}");
        m_home.write(u"cloud/config.json"_s, "{\"hotkey\": {\"modifier\": \"rightControl\"}}");
        QImage oat(480, 360, QImage::Format_RGB32);
        oat.fill(0xff2040c0);
        QVERIFY(QDir().mkpath(folder()) && oat.save(folder() + u"/oat.png"_s));
        umask(0);
        m_application = &run(u"quillmere"_s, {u"settings"_s});
    }
    void cleanupTestCase()
    {
        m_desktop.releaseInput();
        run(u"quillmere"_s, {u"quit"_s});
        QVERIFY(Desktop::wait([&] { return m_application->state() == QProcess::NotRunning; }));
        QCOMPARE(m_application->exitCode(), 0);
    }

    void aKeyIsTriedAndAnotherChosen()
    {
        const QString title = u"Quillmere Settings"_s;
        QVERIFY(waitForWindow(title));
        (void)m_desktop.stillPicture();
        m_desktop.click(m_desktop.windowTitled(title)->content.bottomLeft() + QPoint(4, -4)); // to have the keyboard
        // The tabs, three folders with their choosers, the preview, the trigger key, the threshold, the button for the test.
        const Key tab = Key::tab;
        tap({tab, tab, tab, tab, tab, tab, tab, tab, tab, tab});
        // The button goes down; a lamp lights up, and no picture is taken; the button goes up.
        for (const Key key : {Key::space, Key::rightControl, Key::space}) {
            const QImage before = m_desktop.stillPicture();
            m_desktop.tap(key);
            QVERIFY(Desktop::wait([&] { return m_desktop.picture() != before; }));
        }
        m_desktop.keyDown(Key::leftShift);
        tap({tab, tab});
        m_desktop.keyUp(Key::leftShift);
        tap({Key::up, Key::up, Key::up, Key::enter});
        QVERIFY(Desktop::wait([&] { return m_home.read(u"cloud/config.json"_s).contains("rightShift"); }));
        m_desktop.tap(Key::escape);
        QVERIFY(Desktop::wait([&] { return !m_desktop.windowTitled(title); }));
    }

    void theKeyTakesARegion()
    {
        const PatternWindow ground(m_desktop, u"ground"_s, {0, 0, 1000, 700}, 1, PatternWindow::Kind::unmanaged);
        QVERIFY(isFound(u"oat"_s, u"oat.png"_s));
        const QStringList before = m_desktop.clipboardTypes();
        m_desktop.tap(Key::rightControl); // means nothing any more
        QVERIFY(overlayOpens());
        m_desktop.tap(Key::escape);
        QVERIFY(Desktop::wait([&] { return overlayIsGone(); }));
        QVERIFY(captures().isEmpty() && m_desktop.clipboardTypes() == before);

        QVERIFY(overlayOpens());
        m_desktop.drag({100, 120}, {399, 319});
        QVERIFY(Desktop::wait([&] { return captures().size() == 1 && overlayIsGone(); }));
        const QString name = captures().first();
        QVERIFY2(name.startsWith(u"Quillmere 20"_s), qPrintable(name));
        const QImage expected = ground.pattern().copy(100, 120, 300, 200);
        QCOMPARE(rgb(QImage(folder() + u'/' + name)), expected);
        QVERIFY(Desktop::wait([&] { return clipboard() == expected; }));
        QVERIFY(isFound(u"quill%"_s, name));
        QCOMPARE(m_home.read(u"asked"_s), QByteArray("-i\n-i\n"));
    }

    // A card is in sight when the next capture begins, and not in its picture.
    void theCardIsInNoPicture()
    {
        const PatternWindow ground(m_desktop, u"ground"_s, {0, 0, 1280, 800}, 1, PatternWindow::Kind::unmanaged);
        const QRect corner(880, 500, 400, 300);
        run(u"quillmere"_s, {u"capture-last"_s});
        QVERIFY(Desktop::wait([&] { return captures().size() == 2; }));
        QVERIFY(Desktop::wait([&] { return m_desktop.picture(corner) != ground.pattern().copy(corner); }));
        QVERIFY(overlayOpens());
        m_desktop.drag(corner.topLeft(), corner.bottomRight());
        QVERIFY(Desktop::wait([&] { return captures().size() == 3; }));
        QCOMPARE(rgb(QImage(folder() + u'/' + captures().last())), ground.pattern().copy(corner));
        for (const QString &name : captures().sliced(1))
            QVERIFY(QFile::remove(folder() + u'/' + name));
    }

    void theTextOfARegionIsCopied()
    {
        const QStringList before = captures();
        run(u"quillmere"_s, {u"capture-text"_s});
        QVERIFY(m_desktop.overlayIsUp());
        m_desktop.drag({100, 120}, {399, 319});
        QVERIFY(Desktop::wait([&] { return m_desktop.clipboard(u"text/plain"_s) == "picture"; })); // the file's name
        QVERIFY(
            Desktop::wait([&] { return QDir(m_home.file(u".run"_s)).entryList({u"quillmere-text*"_s}).isEmpty(); }));
        QCOMPARE(captures(), before);
    }

    void theLibraryFindsIt()
    {
        run(u"quillmere"_s, {u"library"_s});
        QVERIFY(waitForWindow(u"Quillmere Library"_s));
        QVERIFY(Desktop::wait(
            [&] { // typed too early, it is typed again
                m_desktop.keyDown(Key::leftControl);
                tap({Key(41)}); // F
                m_desktop.keyUp(Key::leftControl);
                tap({Key(32), Key(38), Key(28)}); // o a t
                (void)m_desktop.stillPicture();
                tap({Key::down, Key::enter});
                return Desktop::wait([&] { return clipboard().size() == QSize(480, 360); }, 3s);
            },
            60s));
        QCOMPARE(clipboard().pixel(240, 180), 0xff2040c0);
    }

    void theEditorMarksIt()
    {
        tap({Key::tab, Key::tab, Key::tab, Key::tab, Key::tab, Key::tab, Key::tab,
             Key::space}); // both arrows, both sizes, the text, "Copy", "Annotate…"
        const QString title = u"Annotate — oat.png"_s;
        QVERIFY(waitForWindow(title));
        const QPoint middle = m_desktop.windowTitled(title)->content.center();
        QVERIFY(Desktop::wait([&] { // the window is known before it takes input
            (void)m_desktop.stillPicture();
            m_desktop.drag(middle - QPoint(60, 40), middle + QPoint(60, 40));
            return Desktop::wait([&] { return m_desktop.pixel(middle).rgb() == 0xffff3b30; }, 3s);
        }));
        tap({Key::tab, Key::space}); // from the picture to "Save"
        QVERIFY(isFound(u"marked"_s, u"oat-annotated.png"_s));
        const QImage saved = rgb(QImage(folder() + u"/oat-annotated.png"_s));
        QCOMPARE(saved.size(), QSize(480, 360));
        QCOMPARE(saved.pixel(240, 180), 0xffff3b30);
        QCOMPARE(saved.pixel(10, 10), 0xff2040c0);
    }

    void whatIsNoPictureOpensNothing()
    {
        m_home.write(u"words.png"_s, "no picture");
        const qsizetype before = m_desktop.windows().size();
        run(u"quillmere"_s, {u"annotate"_s, m_home.file(u"words.png"_s)}).waitForFinished();
        run(u"quillmere"_s, {u"annotate"_s, folder() + u"/oat-annotated.png"_s}); // answered after it
        QVERIFY(waitForWindow(u"Annotate — oat-annotated.png"_s));
        QCOMPARE(m_desktop.windows().size(), before + 1);
    }

    void otherFormatsAreDecodedElsewhere()
    {
        run(u"quillmere"_s, {u"annotate"_s, QStringLiteral(QM_TEST_DATA "/formats/quarters.gif")});
        QVERIFY(waitForWindow(u"Annotate — quarters.gif"_s));
        QCOMPARE(m_home.read(u"decoded"_s), QByteArray("0\n"));
        m_desktop.tap(Key::escape);
    }

    void whatWasBeingDrawnIsOfferedAgain()
    {
        (void)m_desktop.stillPicture();
        const QPoint middle = m_desktop.windowTitled(u"Annotate — oat-annotated.png"_s)->content.center();
        const QDir drafts(m_home.file(u".local/state/quillmere/drafts"_s));
        QVERIFY(Desktop::wait([&] { // the window is known before it takes input
            m_desktop.drag(middle, middle + QPoint(60, 40));
            return Desktop::wait([&] { return !drafts.isEmpty(); }, 3s);
        }));
        m_application->kill();
        QVERIFY(m_application->waitForFinished());
        m_application = &run(u"quillmere"_s, {});
        QVERIFY(waitForWindow(u"Quillmere"_s));
    }

    void aFolderThatIsGoneIsMadeAgain()
    {
        QVERIFY(QDir().rename(folder(), m_home.file(u"moved"_s)));
        QVERIFY(overlayOpens());
        m_desktop.drag({100, 120}, {399, 319});
        QVERIFY(Desktop::wait([&] { return captures().size() == 1 && overlayIsGone(); }));
        QVERIFY(!m_desktop.windowTitled(u"Quillmere Library"_s)); // the last start was a plain one
    }

    // Whatever the umask, which is 0 here. The pictures in a folder of the user's own are as it says.
    void whatIsOursIsOpenToNobodyElse()
    {
        QStringList files, open;
        for (const QString &ours : {u".quillmere"_s, u".local/state/quillmere"_s, u".run"_s}) {
            QDirIterator all(m_home.file(ours), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
            while (all.hasNext()) {
                files << all.next();
                if (all.fileInfo().permissions() & ~ownerOnly)
                    open << files.last();
            }
        }
        for (const QString &written : {u"db.sqlite"_s, u"folders.json"_s, u"reading.lock"_s, u"drafts/"_s})
            QVERIFY2(!files.filter(written).isEmpty(), qPrintable(written));
        QCOMPARE(open.join(u'\n'), QString());
    }
};

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    Desktop desktop({.panel = false});
    tst_Road test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_Road.moc"
