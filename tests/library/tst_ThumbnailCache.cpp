#include "library/ImageLoader.h"
#include "library/ShotListModel.h"
#include "tests/support/TempHome.h"

#include <QElapsedTimer>
#include <QImage>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace qm;

class tst_ThumbnailCache : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;

    QString picture(const QString &name, QSize size, QRgb color = 0xff336699)
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(color);
        const QString path = m_home.file(name);
        if (!image.save(path))
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }

    // Takes long enough to be overtaken: noise does not compress.
    QString slowPicture(const QString &name)
    {
        QImage image(2500, 2500, QImage::Format_RGB32);
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32 *>(image.bits()), image.sizeInBytes() / 4);
        const QString path = m_home.file(name);
        image.save(path, nullptr, 100);
        return path;
    }

    // The image when it is in memory, null when it is not.
    static QImage kept(ThumbnailCache &cache, const QString &path, double edge)
    {
        const auto result = std::make_shared<QImage>(); // a miss completes later
        (void)cache.image(path, edge, [result](const QImage &image) { *result = image; });
        return *result;
    }

    static QImage waitFor(ThumbnailCache &cache, const QString &path, double edge)
    {
        auto result = std::make_shared<std::optional<QImage>>();
        const ThumbnailRequest request = cache.image(path, edge, [result](const QImage &image) { *result = image; });
        QElapsedTimer timer;
        for (timer.start(); !*result && timer.elapsed() < 20'000;)
            QTest::qWait(1);
        return result->value_or(QImage());
    }

private Q_SLOTS:
    void sizes_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<double>("edge");
        QTest::addColumn<QSize>("expected");
        QTest::newRow("shrunk to the longer edge") << QSize(800, 400) << 192.0 << QSize(192, 96);
        QTest::newRow("upright") << QSize(100, 400) << 96.0 << QSize(24, 96);
        QTest::newRow("never enlarged") << QSize(100, 50) << 400.0 << QSize(100, 50);
    }
    void sizes()
    {
        QFETCH(QSize, size);
        QFETCH(double, edge);
        ThumbnailCache cache;
        const QImage image = waitFor(cache, picture(QStringLiteral("a.png"), size), edge);
        QTEST(image.size(), "expected");
        QCOMPARE(image.pixel(5, 5), 0xff336699);
    }

    void theSecondTimeIsAtOnce()
    {
        ThumbnailCache cache;
        const QString path = picture(QStringLiteral("a.png"), {400, 300});
        QVERIFY(!waitFor(cache, path, 160.9).isNull());
        QVERIFY(!kept(cache, path, 160).isNull());
        QVERIFY(kept(cache, path, 161).isNull());
    }

    void failuresAreTriedAgain()
    {
        ThumbnailCache cache;
        const QString path = m_home.file(QStringLiteral("late.png"));
        QVERIFY(waitFor(cache, path, 96).isNull());
        picture(QStringLiteral("late.png"), {40, 30});
        QVERIFY(!waitFor(cache, path, 96).isNull());
    }

    void theLeastRecentlyUsedGoesFirst()
    {
        ThumbnailCache cache(2 * 96 * 72 * 4 + 1000);
        QStringList paths;
        for (int i = 0; i < 3; ++i)
            paths << picture(QStringLiteral("%1.png").arg(i), {960, 720});
        waitFor(cache, paths[0], 96);
        waitFor(cache, paths[1], 96);
        QVERIFY(!kept(cache, paths[0], 96).isNull());
        waitFor(cache, paths[2], 96);
        QVERIFY(!kept(cache, paths[0], 96).isNull());
        QVERIFY(kept(cache, paths[1], 96).isNull());
    }

    void aDroppedRequestCompletesWithNothing()
    {
        ThumbnailCache cache;
        const QString path = slowPicture(QStringLiteral("slow.png"));
        QList<bool> completed;
        ThumbnailRequest request = cache.image(path, 96, [&](const QImage &image) { completed << image.isNull(); });
        request.drop();
        QTRY_COMPARE(completed, QList<bool>{true});
        QVERIFY(!waitFor(cache, path, 96).isNull());
    }

    // The last word is the loader's, whatever comes in last; and a path that comes back gets its image.
    void staleResults_data()
    {
        QTest::addColumn<QString>("order"); // s: the slow one, f: a quick one, x: one that can't be read
        QTest::addColumn<bool>("failed");
        QTest::newRow("overtaken") << "sf" << false;
        QTest::newRow("and back") << "sfs" << false;
        QTest::newRow("a failure, then an image") << "xf" << false;
        QTest::newRow("an image, then a failure") << "sx" << true;
        QTest::newRow("the same twice") << "ff" << false;
    }
    void staleResults()
    {
        QFETCH(QString, order);
        QFETCH(bool, failed);
        const QHash<QChar, QString> paths{{u's', slowPicture(QStringLiteral("s.png"))},
                                          {u'f', picture(QStringLiteral("f.png"), {64, 32})},
                                          {u'x', m_home.file(QStringLiteral("none.png"))}};
        ThumbnailCache cache;
        ImageLoader loader(cache);
        for (const QChar c : order)
            loader.load(paths[c], 500);
        QVERIFY(loader.image().isNull() && !loader.failed()); // nothing arrives before the event loop runs
        QTRY_VERIFY(!loader.image().isNull() || loader.failed());
        QSignalSpy changes(&loader, &ImageLoader::changed);
        waitFor(cache, paths[u's'], 500); // until all others must have come in too
        waitFor(cache, paths[u'x'], 500);
        QCOMPARE(loader.failed(), failed);
        QCOMPARE(loader.image().width(), failed ? 0 : order.back() == u's' ? 500 : 64);
        QCOMPARE(changes.count(), 0);
    }

    void aFailureStaysUntilAnotherPathWasAskedFor()
    {
        ThumbnailCache cache;
        ImageLoader loader(cache);
        const QString path = m_home.file(QStringLiteral("later.png"));
        loader.load(path, 96);
        QTRY_VERIFY(loader.failed());
        picture(QStringLiteral("later.png"), {64, 32});
        QSignalSpy changes(&loader, &ImageLoader::changed);
        loader.load(path, 96);
        QVERIFY(loader.failed());
        QCOMPARE(changes.count(), 0);
        loader.load(m_home.file(QStringLiteral("other.png")), 96);
        QVERIFY(!loader.failed());
        loader.load(path, 96);
        QTRY_COMPARE(loader.image().size(), QSize(64, 32));
    }

    void rowsFlungPastAreNotDecoded()
    {
        const QString source = slowPicture(QStringLiteral("page.png"));
        QList<Shot> shots;
        for (int i = 0; i < 200; ++i) {
            shots << Shot{i + 1, m_home.file(QStringLiteral("page%1.png").arg(i)), QStringLiteral("p"), {}, {}};
            QFile::link(source, shots[i].path);
        }
        ThumbnailCache cache;
        ShotListModel model(cache);
        QVERIFY(model.setShots(shots));
        for (int top = 0; top <= 194; top += 2)
            model.setVisibleRows(top, top + 5, 96);
        for (int row = 194; row < 200; ++row)
            QTRY_VERIFY_WITH_TIMEOUT(!model.thumbnail(row).isNull(), 20'000);
        int decoded = 0;
        for (int row = 0; row < 194; ++row)
            decoded += kept(cache, shots[row].path, 96).isNull() ? 0 : 1;
        QVERIFY2(decoded <= 4, qPrintable(QString::number(decoded)));

        // Back on screen: asked again, also the one that could not be read.
        QFile::remove(shots[1].path);
        model.setVisibleRows(0, 2, 96);
        QTRY_VERIFY(!model.thumbnail(0).isNull() && !model.thumbnail(2).isNull());
        QVERIFY(model.thumbnail(1).isNull());
        QFile::link(source, shots[1].path);
        model.setVisibleRows(10, 12, 96);
        QVERIFY(model.thumbnail(0).isNull());
        model.setVisibleRows(0, 2, 96);
        QTRY_VERIFY(!model.thumbnail(1).isNull());
    }
};

QTEST_MAIN(tst_ThumbnailCache)
#include "tst_ThumbnailCache.moc"
