#include "library/PreviewPicture.h"

#include <QApplication>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

using namespace qm;
using namespace Qt::StringLiterals;

// At twice the scale (see main): 300 x 200 points are 600 x 400 pixels of the screen.
class tst_PreviewPicture : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    const QString m_path = m_folder.filePath(u"tall.png"_s);
    static constexpr QSize tall{700, 3000};

    // A tall picture with the word "found" at 400, 2250, of which the image that is shown at first is much too small.
    struct View {
        PreviewPicture picture;
        QWidget *viewport = picture.viewport();

        explicit View(const QString &path)
        {
            picture.resize(300, 200);
            picture.setImage(QImage(path).scaled(70, 300), path);
            picture.setText({u"some found"_s, {{{0, 4, {300, 30, 90, 20}}, {5, 5, {400, 2250, 100, 20}}}}});
            picture.setMarks({{5, 5}}, 0);
        }
        bool isRight() const // what is seen is what the file has there, in every pixel
        {
            QImage seen = viewport->grab().toImage();
            seen.setDevicePixelRatio(1);
            const double scale = picture.percentage() / 100;
            const QPointF origin = picture.onWidget({}).topLeft() * 2;
            for (int y = 0; y < seen.height(); y += 7) {
                const int row = int((y + 0.5 - origin.y()) / scale), column = int((80 - origin.x()) / scale);
                if (row % 256 < 4 || row % 256 > 251 || std::abs(row - 2260) < 20)
                    continue; // means of these are far from both; the mark
                if (std::abs(qRed(seen.pixel(80, y)) + 256 * qGreen(seen.pixel(80, y)) - row) >
                        std::max(1.0, 1 / scale) ||
                    qBlue(seen.pixel(80, y)) != column / 100)
                    return false;
            }
            return true;
        }
        bool markIsSeen() const { return viewport->rect().contains(picture.onWidget({400, 2250, 100, 20}).toRect()); }
        void drag(QPoint from, QPoint by, Qt::MouseButton button = Qt::LeftButton)
        {
            QTest::mousePress(viewport, button, {}, from);
            QMouseEvent move(QEvent::MouseMove, from + by, viewport->mapToGlobal(from + by), Qt::NoButton, button, {});
            QApplication::sendEvent(viewport, &move);
            QTest::mouseRelease(viewport, button, {}, from + by);
        }
        Qt::CursorShape pointerAt(QPointF point)
        {
            QMouseEvent move(QEvent::MouseMove, point, viewport->mapToGlobal(point), Qt::NoButton, {}, {});
            QApplication::sendEvent(viewport, &move);
            return viewport->cursor().shape();
        }
    };

private Q_SLOTS:
    void initTestCase()
    {
        QImage image(tall, QImage::Format_RGB32);
        for (int y = 0; y < tall.height(); ++y) {
            auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
            for (int x = 0; x < tall.width(); ++x)
                row[x] = qRgb(y & 255, y >> 8, x / 100);
        }
        QVERIFY(image.save(m_path));
    }

    void scales_data()
    {
        QTest::addColumn<QSize>("picture");
        QTest::addColumn<QList<double>>("factors");
        QTest::addColumn<double>("scale");
        const auto row = [](const char *name, QSize picture, const QList<double> &factors, double scale) {
            QTest::newRow(name) << picture << factors << scale;
        };
        // In a room of 600 x 400.
        row("an ordinary one fits", {1200, 400}, {}, 0.5);
        row("a small one is enlarged", {60, 80}, {}, 5);
        row("a tall one has the room's width", {1200, 3600}, {}, 0.5);
        row("not quite tall", {1200, 3599}, {}, 400.0 / 3599);
        row("tall and narrow", {300, 3600}, {}, 1);
        row("larger", {1200, 400}, {1.2}, 0.6);
        row("past its own size", {1200, 400}, {1.2, 3}, 1);
        row("and on", {1200, 400}, {1.2, 3, 3}, 3);
        row("back past its own size", {1200, 400}, {4, 1.5, 0.5}, 1);
        row("most", {1200, 400}, {4, 100}, 8);
        row("not smaller than all of it", {1200, 400}, {2, 0.01}, 0.5);
        row("all of a tall one", {1200, 3600}, {0.01}, 1.0 / 9);
        row("a small one down to its size", {60, 80}, {0.01, 0.5}, 1);
    }

    void scales()
    {
        QFETCH(QSize, picture);
        QFETCH(QList<double>, factors);
        const QSize room(600, 400);
        PictureZoom zoom = PictureZoom::openingFor(picture);
        for (const double factor : factors)
            zoom = zoom.zoomedBy(factor, picture, room);
        QTEST(zoom.scale(picture, room), "scale");
    }

    void aPartIsAroundWhatIsSeen()
    {
        const QSize wholes[] = {{2880, 30'000}, {30'000, 2880}, {9000, 9000}, {500, 400}};
        for (const QSize whole : wholes) {
            for (const QRect seen : {QRect(0, 0, 400, 300), QRect(whole.width() - 400, whole.height() - 300, 400, 300),
                                     QRect(QPoint(), whole.boundedTo({5000, 4000}))}) {
                const QRect part = SharpPart::around(whole, seen, 1'000'000);
                QVERIFY(part.contains(seen) && QRect(QPoint(), whole).contains(part));
                const qint64 pixels = qint64(part.width()) * part.height();
                QVERIFY(pixels <= std::max<qint64>(1'000'000, qint64(seen.width()) * seen.height()));
                QVERIFY(pixels > 950'000 || part.size() == whole);
            }
        }
    }

    void aPartIsMadeOnceAndTriedAgain()
    {
        const QImage image = QImage(m_path).scaled(70, 300);
        const QRect seen(0, 0, 600, 400);
        SharpPart part, lost;
        part.open(image, m_path);
        part.ask(tall, seen);
        QTRY_VERIFY(part.part().covers(tall, seen));
        part.ask(tall / 2, {0, 0, 300, 200});
        part.ask(tall, seen);
        QVERIFY(!part.isMaking());
        lost.open(image, m_path + u".gone"_s);
        lost.ask(tall, seen);
        QTRY_VERIFY(!lost.isMaking());
        lost.ask(tall, seen); // painted again
        QVERIFY(!lost.isMaking());
        lost.ask(tall, seen.translated(0, 1));
        QVERIFY(lost.isMaking());
    }

    void aScrollingCaptureOpensAtItsHit()
    {
        View view(m_path);
        view.picture.show();
        QTRY_VERIFY(view.picture.isSharp() && view.markIsSeen());
        QCOMPARE(view.viewport->width() * 2, int(std::lround(7 * view.picture.percentage())));
        QVERIFY(view.isRight());
        view.picture.resize(400, 150);
        QTRY_VERIFY(view.picture.isSharp());
        QVERIFY(view.markIsSeen() && view.isRight());

        QTest::keyClick(&view.picture, Qt::Key_Home);
        view.picture.resize(300, 200);
        QVERIFY(!view.markIsSeen()); // the user wants to see something else
        view.picture.reveal();
        QVERIFY(view.markIsSeen());
    }

    void theWheelZoomsAboutThePointer()
    {
        View view(m_path);
        view.picture.show();
        QTRY_VERIFY(view.picture.isSharp());
        const auto pointAt = [&](QPointF at) { // in the picture, of what is there
            const QRectF unit = view.picture.onWidget({0, 0, 1, 1});
            return QPointF((at.x() - unit.x()) / unit.width(), (at.y() - unit.y()) / unit.height());
        };
        const QPointF at(200, 60), before = pointAt(at);
        for (int i = 0; i < 9; ++i) {
            QWheelEvent wheel(at, view.viewport->mapToGlobal(at), {}, {0, 120}, {}, Qt::ControlModifier,
                              Qt::NoScrollPhase, false);
            QApplication::sendEvent(view.viewport, &wheel);
            QVERIFY(QLineF(pointAt(at), before).length() <= 6); // each time to the nearest point of the screen
        }
        QVERIFY(view.picture.percentage() > 200);
        QTRY_VERIFY(view.picture.isSharp());
        QVERIFY(view.isRight());
        view.picture.setZoom(PictureZoom::actualSize());
        QCOMPARE(view.picture.onWidget({0, 0, 100, 10}).size(), QSizeF(50, 5));
        QTRY_VERIFY(view.picture.isSharp());
        QVERIFY(view.isRight());
        QTest::keyClick(&view.picture, Qt::Key_0);
        QVERIFY(view.picture.zoom().mode() == PictureZoom::Mode::width);
    }

    void theMouseSelectsOnTextAndMovesElsewhere()
    {
        View view(m_path);
        view.picture.show();
        QTRY_VERIFY(view.picture.isSharp());
        view.picture.setZoom(PictureZoom::actualSize());
        view.picture.reveal();
        const QPoint text = view.picture.onWidget({400, 2250, 100, 20}).center().toPoint(),
                     beside = text + QPoint(0, 40);
        QCOMPARE(view.pointerAt(text), Qt::IBeamCursor);
        QCOMPARE(view.pointerAt(beside), Qt::OpenHandCursor);
        const auto scrolled = [&] { return view.picture.verticalScrollBar()->value(); };
        const int before = scrolled();
        view.drag(text - QPoint(24, 0), {50, 0});
        QCOMPARE(view.picture.selection(), TextMatch::Range({5, 5}));
        QCOMPARE(scrolled(), before);
        view.drag(beside, {10, -30});
        QCOMPARE(scrolled(), before + 30);
        view.drag(text - QPoint(0, 30), {0, 30}, Qt::MiddleButton);
        QCOMPARE(scrolled(), before);
        QTest::keyPress(&view.picture, Qt::Key_Space);
        QCOMPARE(view.pointerAt(text), Qt::OpenHandCursor);
        view.drag(text, {0, -15});
        QTest::keyRelease(&view.picture, Qt::Key_Space);
        QCOMPARE(scrolled(), before + 15);
        QCOMPARE(view.picture.selection().length, 5);
        QTest::mouseClick(view.viewport, Qt::LeftButton, {}, beside);
        QCOMPARE(view.picture.selection().length, 0);
        view.picture.reveal();
        const QPoint found = view.picture.onWidget({400, 2250, 100, 20}).center().toPoint();
        view.drag(found, {0, -300}); // beyond the edge
        view.picture.setMarks({{5, 5}}, 0);
        QVERIFY(!view.markIsSeen());
    }
};

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication application(argc, argv);
    tst_PreviewPicture test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_PreviewPicture.moc"
