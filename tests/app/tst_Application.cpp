#include "app/SingleInstance.h"
#include "app/StatusMenu.h"
#include "config/UserDefaults.h"
#include "platform/LoginItem.h"
#include "platform/LoginItemService.h"
#include "tests/support/OrdinaryUser.h"
#include "tests/support/TempHome.h"
#include "ui/AppLocale.h"
#include "ui/Symbol.h"

#include <QCoreApplication>
#include <QDir>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <memory>

using namespace qm;

using Verb = Command::Verb;

class tst_Application : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TempHome> m_home;

    QString autostart() const { return QStringLiteral(".config/autostart/quillmere.desktop"); }

private Q_SLOTS:
    void init() { m_home = std::make_unique<TempHome>(); }

    void commands_data()
    {
        QTest::addColumn<QStringList>("words");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<QByteArray>("message");
        const auto row = [](const char *words, bool valid, const QByteArray &message = {}) {
            QTest::newRow(words) << QString::fromUtf8(words).split(u' ', Qt::SkipEmptyParts) << valid << message;
        };
        row("", true, "[]\n");
        row("capture-region", true, "[\"capture-region\"]\n");
        row("capture-window", true, "[\"capture-window\"]\n");
        row("capture-scroll", true, "[\"capture-scroll\"]\n");
        row("library", true, "[\"library\"]\n");
        row("settings", true, "[\"settings\"]\n");
        row("quit", true, "[\"quit\"]\n");
        row("annotate /a/日本.png", true, "[\"annotate\",\"/a/日本.png\"]\n");
        row("annotate", false);
        row("annotate a b", false);
        row("library now", false);
        row("nonsense", false);
        row("--quit", false);
    }
    void commands()
    {
        QFETCH(QStringList, words);
        QFETCH(bool, valid);
        const std::optional<Command> command = Command::fromWords(words);
        QCOMPARE(command.has_value(), valid);
        if (!valid)
            return;
        QTEST(command->toMessage(), "message");
        QCOMPARE(Command::fromMessage(command->toMessage()), command);
    }

    void aFileIsNamedFromWhereTheCommandWasGiven()
    {
        QCOMPARE(Command::fromWords({QStringLiteral("annotate"), QStringLiteral("a.png")})->file,
                 QDir::current().absoluteFilePath(QStringLiteral("a.png")));
    }

    void aSecondStartHandsItsCommandToTheFirst()
    {
        const Command annotate{Verb::annotate, QStringLiteral("/a b.png")};
        QVERIFY(!SingleInstance::handOver(annotate)); // nobody listens yet
        QList<Command> received;
        {
            SingleInstance first;
            QVERIFY(first.listen([&](const Command &command) { received << command; }));
            const QString socket = m_home->file(QStringLiteral(".run/quillmere.sock"));
            QVERIFY(!(QFile::permissions(socket) &
                      (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther)));
            SingleInstance second;
            QVERIFY(!second.listen([](const Command &) {}));
            QVERIFY(SingleInstance::handOver(annotate));
            QVERIFY(SingleInstance::handOver(Command()));
            QTRY_COMPARE(received, QList<Command>({annotate, Command()}));
        }
        QVERIFY(!SingleInstance::handOver(annotate)); // the first has ended
    }

    void theSocketOfACrashedInstanceIsTakenOver()
    {
        m_home->write(QStringLiteral(".run/quillmere.sock"), "nobody answers here");
        SingleInstance instance;
        QList<Command> received;
        QVERIFY(instance.listen([&](const Command &command) { received << command; }));
        QVERIFY(SingleInstance::handOver({Verb::library, {}}));
        QTRY_COMPARE(received.size(), 1);
    }

    void withoutARuntimeFolderTheSocketIsInOurOwn()
    {
        qunsetenv("XDG_RUNTIME_DIR");
        SingleInstance instance;
        QVERIFY(instance.listen([](const Command &) {}));
        QVERIFY(QFile::exists(m_home->file(QStringLiteral(".quillmere/socket"))));
    }

    void messagesThatAreNoCommandsAreDropped_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("nonsense") << QByteArray("hello\n");
        QTest::newRow("unknown") << QByteArray("[\"delete-everything\"]\n");
        QTest::newRow("no list") << QByteArray("{\"library\": 1}\n");
        QTest::newRow("no text") << QByteArray("[1]\n");
        QTest::newRow("without an end") << QByteArray("[\"library\"]");
        QTest::newRow("too long") << QByteArray(100'000, '[');
        QTest::newRow("too long, then a command") << QByteArray(100'000, ' ') + "[\"library\"]\n";
    }
    void messagesThatAreNoCommandsAreDropped()
    {
        QFETCH(QByteArray, message);
        SingleInstance instance;
        QList<Command> received;
        QVERIFY(instance.listen([&](const Command &command) { received << command; }));
        QLocalSocket socket;
        socket.connectToServer(m_home->file(QStringLiteral(".run/quillmere.sock")));
        QVERIFY(socket.waitForConnected(5000));
        QSignalSpy closed(&socket, &QLocalSocket::disconnected);
        socket.write(message);
        socket.flush();
        if (message.endsWith('\n') || message.size() > 1000)
            QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, 3000); // hung up on at once, not for being slow
        socket.disconnectFromServer();
        QVERIFY(SingleInstance::handOver({Verb::settings, {}}));
        QTRY_COMPARE(received, QList<Command>({Command{Verb::settings, {}}})); // and still listens
    }

    void loginItem_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("none") << QByteArray() << false;
        QTest::newRow("plain") << QByteArray("[Desktop Entry]\nExec=quillmere\n") << true;
        QTest::newRow("hidden by the desktop") << QByteArray("[Desktop Entry]\nHidden = true\n") << false;
        QTest::newRow("switched off by GNOME")
            << QByteArray("[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n") << false;
    }
    void loginItem()
    {
#ifdef Q_OS_MACOS
        QSKIP("would change what the user has started at login");
#endif
        QFETCH(QByteArray, entry);
        QFETCH(bool, enabled);
        if (!entry.isEmpty())
            m_home->write(autostart(), entry);
        QCOMPARE(LoginItem::isEnabled(), enabled);
        QVERIFY(LoginItem::setEnabled(true));
        QVERIFY(LoginItem::isEnabled());
        QCOMPARE(m_home->read(autostart()) == entry, enabled); // left alone when it was on
        QVERIFY(LoginItem::setEnabled(false));
        QVERIFY(LoginItem::setEnabled(false));
        QVERIFY(!LoginItem::isEnabled() && !QFile::exists(m_home->file(autostart())));
    }

    void loginItemNamesThisProgram()
    {
#ifdef Q_OS_MACOS
        QSKIP("would change what the user has started at login");
#endif
        QVERIFY(LoginItem::setEnabled(true));
        QVERIFY(m_home->read(autostart())
                    .contains("\nExec=\"" + QCoreApplication::applicationFilePath().toUtf8() + "\"\n"));
    }

    void loginItemSaysWhyNot()
    {
#ifdef Q_OS_MACOS
        QSKIP("would change what the user has started at login");
#endif
        m_home.reset();
        const OrdinaryUser user;
        init();
        QVERIFY(QFile::setPermissions(m_home->file(QStringLiteral(".config")), QFile::ReadOwner | QFile::ExeOwner));
        const Outcome outcome = LoginItem::setEnabled(true);
        QVERIFY(QFile::setPermissions(m_home->file(QStringLiteral(".config")),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(!outcome && !outcome.reason().isEmpty());
        m_home.reset();
    }

    void userDefaultsFollowTheHome()
    {
#ifdef Q_OS_MACOS
        QSKIP("the system keeps them for the user, wherever HOME is");
#endif
        QVERIFY(!UserDefaults::boolean(QStringLiteral("a")));
        UserDefaults::setBoolean(QStringLiteral("a"), true);
        QVERIFY(UserDefaults::boolean(QStringLiteral("a")));
        const std::unique_ptr<TempHome> first = std::move(m_home);
        init();
        QVERIFY(!UserDefaults::boolean(QStringLiteral("a")));
    }

    void language()
    {
        QVERIFY(!AppLocale::isJapanese(QStringList()));
        QVERIFY(AppLocale::isJapanese({QStringLiteral("JA-Jpan-JP"), QStringLiteral("en")}));
        QVERIFY(!AppLocale::isJapanese({QStringLiteral("en"), QStringLiteral("ja")}));
    }

    void menu()
    {
        QList<Command::Verb> chosen;
        StatusMenu menu([&](const Command &command) { chosen << command.verb; });
        QStringList titles;
        for (QAction *action : menu.actions()) {
            titles << (action->isSeparator() ? QStringLiteral("-") : action->text());
            action->trigger();
        }
        QCOMPARE(titles.join(u'|'),
                 QStringLiteral("Capture Region  (tap)|Capture Window  (hold)|Scrolling Capture  (region)|"
                                "Open Save Folder|-|Library…|Settings…|-|Quit Quillmere"));
        QCOMPARE(chosen.size(), 7);
        QVERIFY(std::is_sorted(chosen.begin(), chosen.end()));
        chosen.clear();
        menu.popup({0, 0});
        QTest::keyClick(&menu, Qt::Key_Comma, Qt::ControlModifier);
        QCOMPARE(chosen, QList<Command::Verb>({Command::Verb::settings}));
        QVERIFY(!menu.isVisible());
    }

    void theApplicationHasAnIconInEverySize()
    {
        const QIcon icon = Symbol::applicationIcon();
        for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
            QVERIFY(icon.availableSizes().contains(QSize(size, size)));
            const QImage drawn = icon.pixmap(QSize(size, size)).toImage();
            QCOMPARE(drawn.size(), QSize(size, size));
            QVERIFY(drawn.pixelColor(size / 2, size / 8).alpha() == 255 && drawn.pixelColor(0, 0).alpha() < 255);
        }
    }

    void theTrayIconIsSeenOnAnyPanel()
    {
#ifdef Q_OS_MACOS
        QSKIP("the menu bar tints it");
#endif
        // Contrast as WCAG 2 counts it; 3 is what it asks of icons.
        const auto luminance = [](const QColor &color) {
            const auto linear = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
            return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
        };
        const QIcon icon = Symbol::trayIcon(QStringLiteral("camera.viewfinder"));
        for (const int size : {16, 22, 24, 32, 48, 96}) {
            const QImage drawn = icon.pixmap(QSize(size, size)).toImage();
            QCOMPARE(drawn.size(), QSize(size, size));
            int ink = 0, ground = 0;
            for (int y = 0; y < size; ++y) {
                for (int x = 0; x < size; ++x) {
                    const QColor pixel = drawn.pixelColor(x, y);
                    const double light = luminance(pixel);
                    ink += pixel.alpha() == 255 && light > 0.7;
                    ground += pixel.alpha() == 255 && 1.05 / (light + 0.05) > 3 && (light + 0.05) / 0.05 > 3;
                }
            }
            QVERIFY2(ink > size && ground > size * size / 3,
                     qPrintable(QStringLiteral("%1: %2 %3").arg(size).arg(ink).arg(ground)));
        }
    }
};

QTEST_MAIN(tst_Application)
#include "tst_Application.moc"
