// The program itself, scrolling another program's page on sway.

#include "helpers/qmscroll/ScrollPanel.h"
#include "tests/support/PatternWindow.h"
#include "tests/support/SwayDesktop.h"

#include <QDir>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;
using Steps = std::function<void(SwayDesktop &)>;

Q_DECLARE_METATYPE(Steps)

namespace {

const QString program = QStringLiteral(QM_PROGRAMS "/qmscroll");
// A monitor of one pixel a point, a turned one of two on its right, and below one of 1.25.
const QList<SwayDesktop::Output> outputs = {
    {{1000, 600}, {0, 0}}, {{800, 1200}, {1000, 0}, 2, "270"}, {{1000, 800}, {0, 600}, 1.25}};
constexpr QRect view(100, 20, 400, 400);   // on the first monitor; logical
constexpr QRect ground(600, 500, 300, 90); // where nothing is
constexpr QPoint elsewhere(900, 300);      // on the same monitor

} // namespace

class tst_WaylandScroll : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_desktop = std::make_unique<SwayDesktop>(outputs);
        m_folder = m_desktop->home().file(u"captures"_s);
        m_path = m_folder + u"/a.png"_s;
        QDir().mkpath(m_folder);
        m_ground = QImage(ground.size(), QImage::Format_RGB32);
        m_ground.fill(0xff3d6a94); // in sway's configuration
        m_desktop->movePointer(elsewhere);
    }

    void wholePage_data()
    {
        QTest::addColumn<QPoint>("at"); // of the page, logical, as the region
        QTest::addColumn<double>("scale");
        QTest::addColumn<QRect>("region");
        QTest::addColumn<QRect>("part"); // of the page's beginning; pixels
        QTest::addColumn<int>("dpi");
        QTest::newRow("all of it") << view.topLeft() << 1.0 << view << QRect(0, 0, 400, 400) << 72;
        QTest::newRow("two pixels a point, turned")
            << QPoint(1050, 20) << 2.0 << QRect(1060, 30, 150, 140) << QRect(20, 20, 299, 279) << 144;
        // Neither corner is a whole number of points.
        QTest::newRow("a quarter more than a point")
            << QPoint(40, 620) << 1.25 << QRect(51, 651, 200, 202) << QRect(13, 38, 250, 253) << 72;
        QTest::newRow("to another monitor")
            << QPoint(840, 20) << 1.0 << QRect(850, 120, 200, 90) << QRect(10, 100, 150, 299) << 72;
    }

    void wholePage()
    {
        QFETCH(QPoint, at);
        QFETCH(double, scale);
        QFETCH(QRect, region);
        QFETCH(QRect, part);
        QFETCH(int, dpi);
        showPage(at, scale, 2500);
        QProcess &helper = startCapture(region);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        QCOMPARE(helper.exitCode(), 0);
        comparePicture(part);
        QCOMPARE(QImage(m_path).height(), 2500 - part.top() - (m_page->seen.height() - 1 - part.bottom()));
        QCOMPARE(qRound(QImage(m_path).dotsPerMeterX() * 0.0254), dpi);
        QVERIFY(m_desktop->shows(m_ground, ground.topLeft()));
    }

    void pauses_data()
    {
        QTest::addColumn<Steps>("begin");
        QTest::addColumn<Steps>("end");
        QTest::newRow("the pointer is elsewhere")
            << Steps([](SwayDesktop &d) { // a single motion may come to nothing: the capture moves the pointer itself
                   for (int x = 0; x < 10; ++x)
                       d.movePointer(elsewhere + QPoint(x, 0));
               })
            << Steps([](SwayDesktop &d) { d.movePointer(view.center() + QPoint(30, 30)); });
        QTest::newRow("a key is held") << Steps([](SwayDesktop &d) { d.keyDown(Key::leftShift); })
                                       << Steps([](SwayDesktop &d) { d.keyUp(Key::leftShift); });
        QTest::newRow("another workspace") << Steps([](SwayDesktop &d) { d.command(u"workspace other"_s); })
                                           << Steps([](SwayDesktop &d) { d.command(u"workspace page"_s); });
    }

    void pauses()
    {
        QFETCH(Steps, begin);
        QFETCH(Steps, end);
        // Otherwise a new one goes to the monitor that has the focus, and which has it first differs between sway's releases.
        m_desktop->command(u"workspace other output HEADLESS-1; workspace page output HEADLESS-1; workspace other"_s);
        const SwayDesktop::Page &other = m_desktop->showPage(
            u"other"_s, {PatternWindow::makePattern({400, 5000}, 6), view.size(), 1, 1000}, view.topLeft());
        m_desktop->command(u"workspace page"_s);
        showPage(view.topLeft(), 1, 5000);
        QProcess &helper = startCapture(view);
        QVERIFY(Desktop::wait([this] { return m_page->offset > 0; }));
        const QRect status(panel() + QPoint(112, 32), QSize(200, 38));
        const QImage scrolling = m_desktop->picture().copy(status);
        begin(*m_desktop);
        QVERIFY(Desktop::wait([&] { return m_desktop->picture().copy(status) != scrolling; }));
        QVERIFY(m_page->offset + view.height() < m_page->content.height());
        end(*m_desktop);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        comparePicture({QPoint(), view.size()});
        QCOMPARE(QImage(m_path).height(), m_page->content.height());
        QCOMPARE(other.offset, 1000);
    }

    void wished_data()
    {
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<bool>("hasFile");
        const auto click = [](QPoint onPanel) {
            return Steps([=](SwayDesktop &d) { d.drag(panel() + onPanel, panel() + onPanel); });
        };
        QTest::newRow("Done") << click({264, 86}) << true;
        QTest::newRow("Cancel") << click({160, 86}) << false;
        QTest::newRow("Return") << Steps([](SwayDesktop &d) { d.tap(Key::enter); }) << true;
        QTest::newRow("Escape") << Steps([](SwayDesktop &d) { d.tap(Key::escape); }) << false;
    }

    void wished()
    {
        QFETCH(Steps, steps);
        QFETCH(bool, hasFile);
        showPage(view.topLeft(), 1, 1000);
        QProcess &helper = startCapture(view, {u"--manual"_s});
        m_desktop->movePointer(elsewhere);
        steps(*m_desktop);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.exitCode(), 0);
        QCOMPARE(helper.readAllStandardError(), QByteArray());
        QCOMPARE(QFile::exists(m_path), hasFile);
        QVERIFY(m_desktop->shows(m_ground, ground.topLeft()));
    }

    // What was taken until then is kept.
    void monitorChanges()
    {
        showPage(view.topLeft(), 1, 20000);
        QProcess &helper = startCapture(view);
        QVERIFY(Desktop::wait([this] { return m_page->offset > 600; }));
        m_desktop->command(u"output HEADLESS-1 scale 2"_s);
        QVERIFY(Desktop::ended(helper));
        QCOMPARE(helper.exitCode(), 0);
        QVERIFY(helper.readAllStandardError().contains("the picture ends at"));
        QVERIFY(QImage(m_path).height() > 600);
        comparePicture({QPoint(), view.size()});
    }

private:
    static QPoint panel() // for the view
    {
        return placePanel(view.adjusted(-3, -3, 3, 3), {{QPoint(), outputs[0].pixels}, 1}, {}).at;
    }

    void showPage(QPoint at, double scale, int height)
    {
        const QSize seen = (QSizeF(view.size()) * scale).toSize();
        m_page =
            &m_desktop->showPage(u"page"_s, {PatternWindow::makePattern({seen.width(), height}, 5), seen, scale}, at);
        if (!m_desktop->shows(m_ground, ground.topLeft()))
            qFatal("sway paints no background");
    }

    // Returns once the region was drawn and the overlay is gone.
    QProcess &startCapture(const QRect &region, const QStringList &arguments = {})
    {
        QProcess &helper = m_desktop->start(program, QStringList{u"--region"_s, m_path} + arguments);
        const auto isDimmed = [this] { return m_desktop->picture().copy(ground) != m_ground; };
        if (!Desktop::wait(isDimmed))
            qFatal("there is no overlay");
        m_desktop->drag(region.topLeft(), region.bottomRight());
        if (!Desktop::wait([&] { return !isDimmed(); }))
            qFatal("the overlay does not go");
        return helper;
    }

    void comparePicture(const QRect &part)
    {
        const QImage picture = QImage(m_path).convertToFormat(QImage::Format_RGB32);
        QVERIFY(!picture.isNull());
        QCOMPARE(picture, m_page->content.copy(QRect(part.topLeft(), QSize(part.width(), picture.height()))));
    }

    std::unique_ptr<SwayDesktop> m_desktop;
    QString m_folder, m_path;
    const SwayDesktop::Page *m_page = nullptr;
    QImage m_ground;
};

QTEST_MAIN(tst_WaylandScroll)
#include "tst_WaylandScroll.moc"
