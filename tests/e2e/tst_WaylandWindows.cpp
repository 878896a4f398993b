// The application's own windows on sway: which one the user is asked to look at, and what else may not be disturbed.

#include "tests/support/SwayDesktop.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

class tst_WaylandWindows : public QObject
{
    Q_OBJECT

    const QString m_program = QStringLiteral(QM_PROGRAMS "/quillmere");
    const QStringList m_environment = {u"LANGUAGE=en"_s, u"DBUS_SESSION_BUS_ADDRESS=unix:path=/nowhere"_s};
    SwayDesktop m_desktop{{{}}};
    const QString m_folder = m_desktop.home().file(u".quillmere/captures"_s);

    void quillmere(const QStringList &words, const QStringList &more = {})
    {
        QVERIFY(Desktop::ended(m_desktop.start(m_program, words, m_environment + more)));
    }
    // The title of the window with the focus, if it is as good as its own program says.
    QString focused()
    {
        std::function<QString(const QJsonObject &)> look = [&look](const QJsonObject &node) {
            const QString name = node[u"name"_s].toString();
            if (node[u"type"_s].toString().endsWith(u"con"_s) && node[u"focused"_s].toBool())
                return name.startsWith(u"other"_s) || node[u"app_id"_s] == u"org.quillmere.Quillmere"_s ? name
                                                                                                        : QString();
            for (const QString &kind : {u"nodes"_s, u"floating_nodes"_s}) {
                for (const QJsonValue &child : node[kind].toArray()) {
                    if (const QString found = look(child.toObject()); !found.isEmpty())
                        return found;
                }
            }
            return QString();
        };
        return look(QJsonDocument::fromJson(m_desktop.run(u"swaymsg"_s, {u"-t"_s, u"get_tree"_s})).object());
    }
    bool focuses(const QString &title)
    {
        return Desktop::wait([&] { return focused().startsWith(title); });
    }
    bool isCardThere() // in its place: its left edge is
    {
        return m_desktop.picture().pixel(1031, 700) != m_desktop.picture().pixel(1000, 700);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_desktop.home().write(u".quillmere/config.json"_s, R"({"autoOcr": false})");
        m_desktop.command(u"focus_on_window_activation focus"_s);
        QImage picture(200, 200, QImage::Format_RGB32);
        picture.fill(Qt::white);
        m_desktop.showWindow(u"other"_s, picture, {100, 100});
        m_desktop.start(m_program, {}, m_environment);
        QVERIFY(Desktop::wait([&] { return QDir(m_folder).exists(); }));
    }

    void card_data()
    {
        QTest::addColumn<QPoint>("click");
        QTest::addColumn<bool>("isKept");
        QTest::addColumn<QString>("focus");
        QTest::newRow("closed") << QPoint(1245, 766) << true << u"other"_s;
        QTest::newRow("to the trash") << QPoint(1141, 766) << false << u"other"_s;
        QTest::newRow("picture clicked") << QPoint(1140, 680) << true << u"Annotate"_s;
    }
    void card()
    {
        QFETCH(QPoint, click);
        QFETCH(bool, isKept);
        QFETCH(QString, focus);
        m_desktop.movePointer({600, 20});
        quillmere({u"capture-screen"_s});
        QVERIFY(Desktop::wait([&] { return isCardThere(); }));
        QCOMPARE(focused(), u"other"_s);
        m_desktop.drag(click, click);
        QVERIFY(Desktop::wait([&] { return !isCardThere(); }));
        QVERIFY(focuses(focus));
        QCOMPARE(QDir(m_folder).isEmpty(), !isKept);
        QVERIFY(QDir(m_folder).removeRecursively() && QDir().mkpath(m_folder));
        m_desktop.command(u"[title=\"^Annotate\"] kill"_s);
    }

    void aSecondStartBringsTheWindowToTheFront()
    {
        quillmere({u"library"_s});
        QVERIFY(focuses(u"Quillmere Library"_s));
        m_desktop.command(u"[title=\"other\"] focus"_s);
        QVERIFY(focuses(u"other"_s));
        m_desktop.movePointer({200, 200});
        quillmere({u"library"_s}, {u"XDG_ACTIVATION_TOKEN="_s + m_desktop.activationToken()});
        QVERIFY(focuses(u"Quillmere Library"_s));
    }

    // By itself it would go too late for this test.
    void cleanupTestCase() { quillmere({u"quit"_s}); }
};

QTEST_MAIN(tst_WaylandWindows)
#include "tst_WaylandWindows.moc"
