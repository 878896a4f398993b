#include "library/ImageLoader.h"
#include "library/ShotListModel.h"
#include "tests/support/TempHome.h"

#include <QImage>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

class tst_ThumbnailCache : public QObject
{
    Q_OBJECT

private:
    TempHome m_home;

    QString picture(const QString &name, QSize size)
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(0xff336699);
        return save(name, image);
    }
    // Takes long enough to be overtaken: noise does not compress.
    QString slowPicture(const QString &name)
    {
        QImage image(2500, 2500, QImage::Format_RGB32);
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32 *>(image.bits()), image.sizeInBytes() / 4);
        return save(name, image);
    }
    QString save(const QString &name, const QImage &image)
    {
        const QString path = m_home.file(name);
        if (!image.save(path, nullptr, 100))
            qFatal("cannot write %s", qPrintable(path));
        return path;
    }

    // The image when it is in memory, null when it is not.
    static QImage kept(ThumbnailCache &cache, const QString &path, double edge = 96)
    {
        const auto result = std::make_shared<QImage>(); // a miss completes later
        (void)cache.image(path, edge, [result](const QImage &image) { *result = image; });
        return *result;
    }
    static QImage waitFor(ThumbnailCache &cache, const QString &path, double edge = 96)
    {
        std::optional<QImage> result;
        const ThumbnailRequest request = cache.image(path, edge, [&](const QImage &image) { result = image; });
        if (!QTest::qWaitFor([&] { return result.has_value(); }, 20'000))
            qFatal("no answer");
        return *result;
    }

private Q_SLOTS:
    void whatIsKept()
    {
        ThumbnailCache cache(2 * 96 * 72 * 4 + 1000); // room for two
        const QString late = m_home.file(u"2.png"_s);
        QVERIFY(waitFor(cache, late).isNull());
        QStringList paths;
        for (int i = 0; i < 3; ++i)
            paths << picture(u"%1.png"_s.arg(i), {960, 720});
        waitFor(cache, paths[0], 96.9);
        QCOMPARE(waitFor(cache, paths[1]).size(), QSize(96, 72));
        QVERIFY(!kept(cache, paths[0]).isNull()); // used last, though it came first
        QVERIFY(kept(cache, paths[0], 97).isNull());
        QVERIFY(!waitFor(cache, late).isNull()); // failures are tried again
        QVERIFY(!kept(cache, paths[0]).isNull());
        QVERIFY(kept(cache, paths[1]).isNull());
    }

    void aFileThatIsReplaced()
    {
        ThumbnailCache cache;
        const QString path = picture(u"replaced.png"_s, {960, 720});
        waitFor(cache, path);
        QList<QSize> seen;
        const auto see = [&](const QImage &image) { seen << image.size(); };
        {
            const ThumbnailRequest same = cache.image(path, 96, see);
            waitFor(cache, picture(u"other.png"_s, {8, 8})); // by then the first has been looked at
            QTest::qWait(1);
        }
        QCOMPARE(seen, QList<QSize>({QSize(96, 72)}));
        picture(u"replaced.png"_s, {720, 960});
        const ThumbnailRequest live = cache.image(path, 96, see);
        cache.image(path, 96, see).drop();
        QTRY_COMPARE(seen.size(), 4);
        QCOMPARE(seen, QList<QSize>({QSize(96, 72), QSize(96, 72), QSize(96, 72), QSize(72, 96)}));
        QCOMPARE(kept(cache, path).size(), QSize(72, 96));

        ImageLoader loader(cache);
        loader.load(path, 96);
        m_home.write(u"replaced.png"_s, "no picture");
        loader.load(path, 96);
        QCOMPARE(loader.image().size(), QSize(72, 96));
        loader.forget();
        loader.load(path, 96);
        QTRY_VERIFY(loader.failed());

        picture(u"replaced.png"_s, {960, 720});
        QVERIFY(!waitFor(cache, path).isNull());
        slowPicture(u"replaced.png"_s);
        ThumbnailRequest passing = cache.image(path, 96, see);
        waitFor(cache, picture(u"beside.png"_s, {8, 8})); // while that is read
        passing.drop();
        waitFor(cache, picture(u"after.png"_s, {8, 8}));
        QVERIFY(!kept(cache, path).isNull());
    }

    // The last word is the loader's, whatever comes in last; and a path that comes back gets its image.
    void staleResults()
    {
        const QHash<QChar, QString> paths{
            {u's', slowPicture(u"s.png"_s)}, {u'f', picture(u"f.png"_s, {64, 32})}, {u'x', m_home.file(u"none.png"_s)}};
        const std::pair<QString, int> rows[] = {
            {u"sf"_s, 64}, {u"sfs"_s, 500}, {u"xf"_s, 64}, {u"sx"_s, 0}}; // width at last
        for (const auto &[order, width] : rows) {
            ThumbnailCache cache;
            ImageLoader loader(cache);
            for (const QChar c : order)
                loader.load(paths[c], 500);
            QVERIFY(loader.image().isNull() && !loader.failed()); // nothing arrives before the event loop runs
            QTRY_VERIFY(!loader.image().isNull() || loader.failed());
            QSignalSpy changes(&loader, &ImageLoader::changed);
            waitFor(cache, paths[u's'], 500); // until all others must have come in too
            waitFor(cache, paths[u'x'], 500);
            loader.load(paths[order.back()], 500); // the same again does nothing
            QCOMPARE(loader.failed(), width == 0);
            QCOMPARE(loader.image().width(), width);
            QCOMPARE(changes.count(), 0);
        }
    }

    void rowsFlungPastAreNotDecoded()
    {
        const QString source = slowPicture(u"page.png"_s);
        QList<Shot> shots;
        for (int i = 0; i < 200; ++i) {
            shots << Shot{i + 1, m_home.file(u"page%1.png"_s.arg(i)), u"p"_s, {}, {}};
            QFile::link(source, shots[i].path);
        }
        ThumbnailCache cache;
        ShotListModel model(cache);
        QVERIFY(model.setShots(shots, {}));
        for (int top = 0; top <= 194; top += 2)
            model.setVisibleRows(top, top + 5, 96);
        for (int row = 194; row < 200; ++row)
            QTRY_VERIFY_WITH_TIMEOUT(!model.thumbnail(row).isNull(), 20'000);
        int decoded = 0;
        for (int row = 0; row < 194; ++row)
            decoded += !kept(cache, shots[row].path).isNull();
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
