#include "helpers/qmocr/Preprocess.h"
#include "helpers/qmocr/Slices.h"

#include <QRegion>
#include <QTest>

using namespace qm::ocr;

static QImage plain(QSize size, int gray)
{
    QImage image(size, QImage::Format_Grayscale8);
    image.fill(uint(gray));
    return image;
}

static void fill(QImage &image, const QRect &rect, int gray)
{
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        memset(image.scanLine(y) + rect.left(), gray, size_t(rect.width()));
}

static int level(const QImage &image, int x, int y)
{
    return image.constScanLine(y)[x];
}

class tst_OcrPicture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void gray_data()
    {
        QTest::addColumn<QImage::Format>("format");
        QTest::addColumn<QColor>("color");
        QTest::addColumn<int>("expected");
        QTest::newRow("red") << QImage::Format_RGB32 << QColor(255, 0, 0) << 76;
        QTest::newRow("green") << QImage::Format_RGB888 << QColor(0, 255, 0) << 149;
        QTest::newRow("blue, sixteen bits") << QImage::Format_RGBA64 << QColor(0, 0, 255) << 28;
        QTest::newRow("with a palette") << QImage::Format_Indexed8 << QColor(10, 10, 10) << 10;
        QTest::newRow("transparent is white") << QImage::Format_ARGB32 << QColor(0, 0, 0, 0) << 255;
    }
    void gray()
    {
        QFETCH(QImage::Format, format);
        QFETCH(QColor, color);
        QImage picture(5, 150, format); // more rows than one band has
        picture.setColorTable({color.rgba()});
        format == QImage::Format_Indexed8 ? picture.fill(0) : picture.fill(color);
        const QImage result = toGray(picture);
        QCOMPARE(result.size(), picture.size());
        QTEST(level(result, 4, 149), "expected");
        QTEST(level(result, 0, 0), "expected");
    }

    void everyThemeBecomesDarkOnLight()
    {
        // Three windows side by side, each with strokes of its own colours; and the noise of a compressed picture.
        const struct {
            int background, stroke;
        } themes[] = {{250, 20}, {20, 240}, {120, 255}, {200, 188}};
        QImage picture = plain({1597, 43}, 0);
        for (int i = 0; i < 4; ++i) {
            fill(picture, QRect(i * 400, 0, 400, 43) & picture.rect(), themes[i].background);
            for (int x = 4; x < 390; x += 10)
                fill(picture, {i * 400 + x, 10, 2, 20}, themes[i].stroke);
        }
        const QImage result = normalised(picture);
        QCOMPARE(result.size(), picture.size());
        for (int i = 0; i < 4; ++i) {
            const int x = i * 400 + 200;
            QVERIFY2(level(result, x, 20) > 230, "the background is white");
            QCOMPARE(level(result, x + 4, 20) < 80, i < 3); // the stroke is dark, but noise stays faint
            QVERIFY2(level(result, x + 4, 35) > 230, "and only the stroke");
        }
        QVERIFY(level(result, 1596, 42) > 230);
        QVERIFY(normalised(QImage()).isNull());
        QVERIFY(level(normalised(plain({1, 1}, 90)), 0, 0) > 230); // one colour holds no text
    }

    void lettersHeights_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QSize>("spot");
        QTest::addColumn<int>("expected");
        QTest::newRow("letters") << 30 << QSize(6, 12) << 12;
        QTest::newRow("large letters") << 20 << QSize(30, 60) << 60;
        QTest::newRow("too few to tell") << 19 << QSize(6, 12) << 0;
        QTest::newRow("dust") << 30 << QSize(2, 3) << 0;
        QTest::newRow("rules") << 30 << QSize(90, 5) << 0;
        QTest::newRow("boxes") << 30 << QSize(90, 90) << 0;
    }
    void lettersHeights()
    {
        QFETCH(int, count);
        QFETCH(QSize, spot);
        QImage picture = plain({1000, 1200}, 255);
        for (int i = 0; i < count; ++i)
            fill(picture, {QPoint(10 + i % 10 * 97, 10 + i / 10 * 97), spot}, 0);
        QTEST(textHeight(picture), "expected");
    }

    void readingScales()
    {
        const struct {
            int height;
            QSize size;
            double expected;
        } rows[] = {
            {8, {800, 600}, 2.5},
            {4, {800, 600}, 3.0},  // tiny text
            {60, {800, 600}, 1.0}, // large text is never shrunk
            {0, {1, 1}, 2.0},      // unknown
            {7, {4000, 2000}, std::sqrt(2.0)},
            {7, {8000, 8000}, 0.5}, // as far as the area goes
            {10, {20000, 10}, 1.6}, // as far as the side goes
        };
        for (const auto &row : rows)
            QCOMPARE(readingScale(row.height, row.size), row.expected);
    }

    void pieces_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("whole");
        QTest::newRow("a pixel") << QSize(1, 1) << true;
        QTest::newRow("a screen") << QSize(2880, 1800) << true;
        QTest::newRow("a scrolling capture") << QSize(2880, 30000) << false;
        QTest::newRow("a narrow one") << QSize(300, 60000) << false;
        QTest::newRow("a thread") << QSize(100000, 3) << false;
        QTest::newRow("a large one both ways") << QSize(12000, 9000) << false;
    }
    void pieces()
    {
        QFETCH(QSize, size);
        QFETCH(bool, whole);
        const QImage picture = plain(size, 255);
        const QList<QRect> pieces = slices(picture);
        QCOMPARE(pieces.size() == 1, whole);
        QRegion covered;
        qint64 read = 0;
        for (int i = 0; i < pieces.size(); ++i) {
            const QRect piece = pieces[i], before = pieces[std::max(0, i - 1)];
            QVERIFY(picture.rect().contains(piece));
            QVERIFY(qint64(piece.width()) * piece.height() < 8'000'000);
            covered += piece;
            read += qint64(piece.width()) * piece.height();
            if (i > 0) // neighbours share the overlap
                QCOMPARE(piece.left() == before.left() ? before.bottom() + 1 - piece.top()
                                                       : before.right() + 1 - piece.left(),
                         overlap);
        }
        QVERIFY(covered == QRegion(picture.rect()));
        // Pieces cost no more than they must: the parts that are read twice stay small.
        QVERIFY(whole || read < qint64(size.width()) * size.height() * 14 / 10);
    }

    void cutsBetweenLines()
    {
        QImage picture = plain({2000, 8000}, 255);
        const auto isLine = [](int y) { return y % 90 < 80; }; // dense text, with ten blank rows after each line
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; isLine(y) && x < 2000; x += 4)
                fill(picture, {x, y, 2, 1}, 0);
        const QList<QRect> pieces = slices(picture);
        QVERIFY(pieces.size() > 2);
        for (int i = 1; i < pieces.size(); ++i)
            QVERIFY(!isLine(pieces[i].top() + overlap / 2));
    }

    void seams_data()
    {
        QTest::addColumn<int>("pitch"); // pixels from line to line
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("jitter"); // by which two readings of one line differ
        QTest::newRow("small text") << 14 << 10 << 0;
        QTest::newRow("small text, not read quite alike") << 14 << 10 << 2;
        QTest::newRow("large text") << 70 << 50 << 3;
        QTest::newRow("as tall as half the overlap") << 120 << 96 << 2;
    }
    // Lines straddle the cut here, as in a page of several columns, where no row is blank. Each piece "reads" the lines it
    // holds, and the stumps of those that it cuts.
    void seams()
    {
        QFETCH(int, pitch);
        QFETCH(int, height);
        QFETCH(int, jitter);
        static constexpr int width = 1000, total = 3000, piece = 1000;
        for (int shift = 0; shift < pitch; ++shift) { // wherever the cut falls
            QList<QRect> pieces;
            for (int top = 0; top < total; top += piece - overlap)
                pieces += QRect(0, top, width, std::min(piece, total - top));
            QList<QList<Line>> read(pieces.size());
            QStringList expected, got;
            for (int y = jitter + shift; y + height + jitter <= total; y += pitch) {
                expected += QStringLiteral("line at %1").arg(y);
                for (int i = 0; i < pieces.size(); ++i) {
                    const QRect line(100, y + (i % 2 ? jitter : -jitter), 500, height), seen = line & pieces[i];
                    if (!seen.isEmpty())
                        read[i] += {seen, seen == line ? expected.last() : QStringLiteral("stump")};
                }
            }
            for (const Line &line : joined(pieces, read))
                got += line.text;
            QCOMPARE(got, expected);
        }
    }
};

QTEST_GUILESS_MAIN(tst_OcrPicture)
#include "tst_OcrPicture.moc"
