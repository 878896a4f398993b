#include "app/SingleInstance.h"
#include "app/StatusMenu.h"
#include "app/TextCapture.h"
#include "platform/LoginItem.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/Pixels.h"
#include "tests/support/TempHome.h"
#include "ui/AppLocale.h"
#include "ui/HelperReason.h"
#include "ui/Symbol.h"
#include "ui/WindowPlacement.h"

#include <QCoreApplication>
#include <QDir>
#include <QLocalSocket>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace qm;
using namespace Qt::StringLiterals;
using Verb = Command::Verb;

class tst_Application : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;
    QList<Command> m_received;

    bool listen(SingleInstance &instance)
    {
        return instance.listen([this](const Command &command) { m_received << command; });
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<TempHome>();
        m_received.clear();
    }

    void commands()
    {
        for (const char16_t *words : {u"", u"capture-region", u"capture-window", u"capture-scroll", u"library",
                                      u"settings", u"quit", u"annotate /a/日本.png", u"capture-text --delay 3",
                                      u"capture-screen --all", u"capture-last --delay 3600 --from-menu"}) {
            const auto command = Command::fromWords(QString::fromUtf16(words).split(u' ', Qt::SkipEmptyParts));
            QVERIFY2(command, qPrintable(QString::fromUtf16(words)));
            Command activating = *command;
            activating.activation = u"a \"token\""_s;
            for (const Command &each : {*command, activating})
                QCOMPARE(Command::fromMessage(each.toMessage()), each);
        }
        for (const char16_t *words :
             {u"annotate", u"annotate a b", u"library now", u"nonsense", u"--quit", u"capture-region --all",
              u"capture-last --delay", u"capture-last --delay -1", u"capture-last --delay 3s", u"library --delay 3"})
            QVERIFY2(!Command::fromWords(QString::fromUtf16(words).split(u' ')), qPrintable(QString::fromUtf16(words)));
        QCOMPARE(Command::fromWords({u"annotate"_s, u"a.png"_s})->file, QDir::current().absoluteFilePath(u"a.png"_s));
    }

    void aSecondStartHandsItsCommandToTheFirst()
    {
        const Command annotate{Verb::annotate, u"/a b.png"_s};
        for (const QString &socket : {u".run/quillmere.sock"_s, u".quillmere/socket"_s}) {
            m_received.clear();
            m_home->write(socket, "left by one that crashed: nobody answers here");
            QVERIFY(!SingleInstance::handOver(annotate));
            {
                SingleInstance first, second;
                QVERIFY(listen(first));
                QVERIFY(!(QFile::permissions(m_home->file(socket)) &
                          (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther)));
                QVERIFY(!listen(second));
                QVERIFY(SingleInstance::handOver(annotate));
                QVERIFY(SingleInstance::handOver(Command()));
                QTRY_COMPARE(m_received, QList<Command>({annotate, Command()}));
            }
            QVERIFY(!SingleInstance::handOver(annotate)); // the first has ended
            qputenv("XDG_RUNTIME_DIR", "/nowhere");       // the next time in our own folder
        }
    }

    void messagesThatAreNoCommandsAreDropped()
    {
        for (const QByteArray &message :
             {QByteArray("[\"delete-everything\"]\n"), QByteArray("{\"library\": 1}\n"), QByteArray("[1]\n"),
              QByteArray("[\"library\"]"), QByteArray(100'000, ' ') + "[\"library\"]\n"}) { // without an end; too long
            init();
            SingleInstance instance;
            QVERIFY(listen(instance));
            QLocalSocket socket;
            socket.connectToServer(m_home->file(u".run/quillmere.sock"_s));
            QVERIFY(socket.waitForConnected(5000));
            QSignalSpy closed(&socket, &QLocalSocket::disconnected);
            socket.write(message);
            socket.flush();
            if (message.endsWith('\n'))
                QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, 3000); // hung up on at once, not for being slow
            socket.disconnectFromServer();
            QVERIFY(SingleInstance::handOver({Verb::settings, {}}));
            QTRY_COMPARE(m_received, QList<Command>({Command{Verb::settings, {}}})); // and still listens
        }
    }

#ifndef Q_OS_MACOS // would change what the user has started at login
    void loginItem()
    {
        const QString autostart = u".config/autostart/quillmere.desktop"_s;
        const struct {
            QByteArray entry;
            bool enabled, broken;
        } rows[] = {
            {"", false, false},
            {"[Desktop Entry]\nExec=sh -c quillmere\nX-GNOME-Autostart-Delay=5\n", true, false},
            {"[Desktop Entry]\nExec=sh\n[Desktop Action library]\nExec=/gone/quillmere library\n", true, false},
            {"[Desktop Entry]\nExec=\"HOME/a 100%%\\\\\\\\\" %u\n", true, false},
            {"[Desktop Entry]\nExec=\"HOME/gone\" library\n", false, true},
            {"[Desktop Entry]\nExec=HOME/a\\s100%%\n", false, true}, // the blank ends its name
            {"[Desktop Entry]\nHidden = true\nExec=/gone/quillmere\n", false, false},
            {"X-GNOME-Autostart-enabled=false\n", false, false},
        };
        m_home.reset();
        const OrdinaryUser user;
        init();
        m_home->script(u"a 100%\\"_s, {});
        const QByteArray own = "\nExec=\"" + QCoreApplication::applicationFilePath().toUtf8() + "\"\n";
        for (auto [entry, enabled, broken] : rows) {
            entry.replace("HOME", m_home->path().toUtf8());
            if (!entry.isEmpty())
                m_home->write(autostart, entry);
            QCOMPARE(LoginItem::isEnabled(), enabled);
            QVERIFY(LoginItem::repair());
            QCOMPARE(m_home->read(autostart).contains(own), broken);
            QCOMPARE(LoginItem::isEnabled(), enabled || broken);
            QVERIFY(LoginItem::setEnabled(true) && LoginItem::isEnabled());
            QVERIFY(m_home->read(autostart).contains(enabled ? entry : own)); // an entry in force is left alone
            if (broken)
                m_home->write(autostart, entry); // gone again, and no longer wanted
            QVERIFY(LoginItem::setEnabled(false) && LoginItem::setEnabled(false));
            QVERIFY(!QFile::exists(m_home->file(autostart)));
        }
        const QString folder = m_home->file(u".config/autostart"_s);
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        const Outcome outcome = LoginItem::setEnabled(true);
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(!outcome && !outcome.reason().isEmpty());
        m_home.reset();
    }
#endif

    void language()
    {
        QVERIFY(!AppLocale::isJapanese(QStringList()));
        QVERIFY(AppLocale::isJapanese({u"JA-Jpan-JP"_s, u"en"_s}));
        QVERIFY(!AppLocale::isJapanese({u"en"_s, u"ja"_s}));
    }

    // A reason added to a helper is found here, and fails.
    void reasonsOfTheHelpersAreTranslated()
    {
        static const QRegularExpression reason(
            u"(?:Error, \"|(?:error|failure|cut) = (?:QStringLiteral\\()?\"|\"qmocr: |"
            u"(?:fail|giveUp|std::string)\\((?:QStringLiteral\\()?\")(\\w[^\"\\\\]+)"_s);
        QStringList untranslated;
        int found = 0;
        for (const QString &name :
             {u"helpers/qmocr/Worker"_s, u"helpers/qmocr/WorkerLink"_s, u"helpers/qmocr/main"_s,
              u"helpers/qmcapture/main"_s, u"helpers/wayland/WaylandCurtain"_s, u"helpers/qmscroll/CaptureRun"_s,
              u"helpers/qmscroll/main"_s, u"capture/CaptureRunner"_s}) {
            QFile source(QStringLiteral(QM_TEST_DATA "/../../%1.cpp").arg(name));
            QVERIFY(source.open(QIODevice::ReadOnly));
            for (auto it = reason.globalMatch(QString::fromUtf8(source.readAll())); it.hasNext(); ++found) {
                const QString english = it.next().captured(1), subject = english.endsWith(u' ') ? u"x"_s : QString();
                const bool isOfDevelopers = english.contains(u"arguments") || english.startsWith(u"usage");
                if (!isOfDevelopers && HelperReason::japanese(english + subject).isEmpty())
                    untranslated << english;
            }
        }
        QCOMPARE(untranslated, QStringList());
        QVERIFY(found > 22);
        QCOMPARE(HelperReason::japanese(u"cannot write /a: No space left on device"_s),
                 u"/a に書き込めません（ディスクに空きがありません）"_s);
        QCOMPARE(HelperReason::japanese(u"/a b/qmocr cannot be started"_s), u"/a b/qmocr を起動できません"_s);
        QCOMPARE(HelperReason::japanese(u"the capture tool cannot be started"_s), u"撮影プログラムを起動できません"_s);
    }

    void textOfARegion()
    {
        const QString numbers = u"one two three four five six seven eight nine ten eleven twelve thirteen"_s;
        const QString kana(70, u'あ'), faces = u'x' + u"😀"_s.repeated(40);
        const struct {
            std::optional<QString> text;
            QStringList becomes; // what is copied, and said
        } rows[] = {
            {{}, {{}, u"The text could not be read"_s, u"too large"_s}},
            {u" \n\n"_s, {{}, u"No text found"_s, {}}},
            {u" Total\n 12 EUR\n"_s, {u"Total\n 12 EUR"_s, u"Copied: Total 12 EUR"_s, {}}},
            {numbers, {numbers, u"Copied: "_s + numbers.first(numbers.indexOf(u" twelve")) + u" …"_s, {}}},
            {kana, {kana, u"Copied: "_s + kana.first(60) + u" …"_s, {}}},
            {faces, {faces, u"Copied: "_s + faces.first(59) + u" …"_s, {}}}, // no character is torn
        };
        for (const auto &[text, becomes] : rows) {
            const TextCapture made = TextCapture::of({.text = text, .textError = u"too large"_s});
            QCOMPARE(QStringList({made.copied, made.title, made.details}), becomes);
        }
    }

    void windowsStayInReach()
    {
        const struct {
            QRect frame;
            QSize window;
            QPoint corner;
        } rows[] = {
            {{0, 25, 1280, 775}, {940, 615}, {170, 73}}, // centred, below the margin
            {{1280, 0, 800, 600}, {600, 400}, {1380, 48}},
            {{0, 25, 1280, 775}, {940, 760}, {170, 40}},
            {{10, 20, 500, 400}, {560, 420}, {10, 20}}, // larger than the screen
        };
        for (const auto &row : rows)
            QCOMPARE(WindowPlacement::placed(row.frame, row.window, 48), row.corner);
    }

    void windowsStayOutOfTheWay()
    {
        const QRect screen(0, 0, 1400, 900), full = screen, left(0, 0, 900, 900), picture(60, 90, 1280, 720);
        const QSize dialog(500, 400);
        const struct {
            QList<QRect> inSight;
            QPoint corner;
        } rows[] = {
            {{{100, 100, 50, 50}, left}, {900, 0}}, // beside the window; it must not leave the screen
            {{{0, 300, 100, 100}, {0, 0, 800, 900}}, {808, 0}},
            {{full}, {900, 500}},                               // no room: anywhere
            {{{1000, 600, 200, 200}, picture, full}, {0, 500}}, // a corner, far from the item
            {{{100, 600, 200, 200}, picture, full}, {900, 500}},
            {{{100, 100, 1200, 700}, {60, 90, 1280, 720}, full}, {900, 500}}, // no place is free: the least
        };
        for (const auto &row : rows)
            QCOMPARE(WindowPlacement::clearOf(row.inSight, dialog, screen), row.corner);
    }

    void menu()
    {
        QList<Verb> chosen;
        StatusMenu menu([&](const Command &command) { chosen << command.verb; });
        menu.popup({0, 0});
        QTest::keyClick(&menu, Qt::Key_Comma, Qt::ControlModifier);
        QCOMPARE(chosen, QList<Verb>({Verb::settings}));
        QVERIFY(!menu.isVisible());
    }

    void icons()
    {
        for (const int size : {16, 24, 32, 48, 64, 128, 256})
            QCOMPARE(Symbol::applicationIcon().pixmap(size).toImage().pixelColor(size / 2, size / 8).alpha(), 255);
#ifndef Q_OS_MACOS // its menu bar gives the icon the colour that is seen
        for (const int size : {16, 22, 24, 32, 48, 96}) {
            const QImage drawn = Symbol::trayIcon(u"camera.viewfinder"_s).pixmap(QSize(size, size)).toImage();
            int ink = 0, ground = 0; // white lines, on what stands out from a white panel and from a black one
            for (int i = 0; i < size * size; ++i) {
                const QColor pixel = drawn.pixelColor(i % size, i / size);
                const double onBlack = Pixels::contrast(pixel, Qt::black), onWhite = Pixels::contrast(pixel, Qt::white);
                ink += pixel.alpha() == 255 && onBlack > 15;
                ground += pixel.alpha() == 255 && onBlack > 3 && onWhite > 3; // what WCAG asks of icons
            }
            QVERIFY2(ink > size && ground > size * size / 3, qPrintable(QString::number(size)));
        }
#endif
    }
};

QTEST_MAIN(tst_Application)
#include "tst_Application.moc"
