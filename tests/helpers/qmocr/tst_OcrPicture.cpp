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
    void gray_data();
    void gray();
    void normalisedTurnsEveryThemeIntoDarkOnLight();
    void normalisedAtTheEdges();
    void textHeight_data();
    void textHeight();
    void readingScale_data();
    void readingScale();
    void slices_data();
    void slices();
    void cutsBetweenLines();
    void seams_data();
    void seams();
};

void tst_OcrPicture::gray_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QColor>("color");
    QTest::addColumn<int>("expected");
    QTest::newRow("red") << QImage::Format_RGB32 << QColor(255, 0, 0) << 76;
    QTest::newRow("green") << QImage::Format_RGB888 << QColor(0, 255, 0) << 149;
    QTest::newRow("blue, sixteen bits") << QImage::Format_RGBA64 << QColor(0, 0, 255) << 28;
    QTest::newRow("with a palette") << QImage::Format_Indexed8 << QColor(10, 10, 10) << 10;
    QTest::newRow("transparent is white") << QImage::Format_ARGB32 << QColor(0, 0, 0, 0) << 255;
    QTest::newRow("half transparent black") << QImage::Format_ARGB32 << QColor(0, 0, 0, 128) << 127;
}

void tst_OcrPicture::gray()
{
    QFETCH(QImage::Format, format);
    QFETCH(QColor, color);
    QImage picture(5, 150, format); // more rows than one band has
    if (format == QImage::Format_Indexed8) {
        picture.setColorTable({color.rgba()});
        picture.fill(0);
    } else {
        picture.fill(color);
    }
    const QImage result = toGray(picture);
    QCOMPARE(result.size(), picture.size());
    QTEST(level(result, 4, 149), "expected");
    QTEST(level(result, 0, 0), "expected");
}

void tst_OcrPicture::normalisedTurnsEveryThemeIntoDarkOnLight()
{
    // Three windows side by side, each with strokes of its own colours.
    const struct {
        int background, stroke;
    } themes[] = {{250, 20}, {20, 240}, {120, 255}};
    QImage picture = plain({1200, 40}, 0);
    for (int i = 0; i < 3; ++i) {
        fill(picture, {i * 400, 0, 400, 40}, themes[i].background);
        for (int x = 0; x < 400; x += 10)
            fill(picture, {i * 400 + x + 4, 10, 2, 20}, themes[i].stroke);
    }
    const QImage result = normalised(picture);
    for (int i = 0; i < 3; ++i) {
        const int x = i * 400 + 200;
        QVERIFY2(level(result, x, 20) > 230, "the background is white");
        QVERIFY2(level(result, x + 4, 20) < 80, "the stroke is dark");
        QVERIFY2(level(result, x + 4, 35) > 230, "and only the stroke");
    }
}

void tst_OcrPicture::normalisedAtTheEdges()
{
    QVERIFY(normalised(QImage()).isNull());
    for (const QSize size : {QSize(1, 1), QSize(9, 3), QSize(3, 17)}) {
        const QImage result = normalised(plain(size, 90));
        QCOMPARE(result.size(), size);
        QVERIFY(level(result, size.width() - 1, size.height() - 1) > 230); // one colour holds no text
    }
    QImage faint = plain({200, 16}, 200); // noise of a photo or a compressed picture
    for (int x = 0; x < 200; x += 7)
        fill(faint, {x, 4, 2, 8}, 188);
    QVERIFY(level(normalised(faint), 98, 6) > 150);
}

void tst_OcrPicture::textHeight_data()
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

void tst_OcrPicture::textHeight()
{
    QFETCH(int, count);
    QFETCH(QSize, spot);
    QImage picture = plain({1000, 1200}, 255);
    for (int i = 0; i < count; ++i)
        fill(picture, {QPoint(10 + i % 10 * 97, 10 + i / 10 * 97), spot}, 0);
    QTEST(qm::ocr::textHeight(picture), "expected");
}

void tst_OcrPicture::readingScale_data()
{
    QTest::addColumn<int>("height");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<double>("expected");
    QTest::newRow("ordinary text") << 8 << QSize(800, 600) << 2.5;
    QTest::newRow("tiny text") << 4 << QSize(800, 600) << 3.0;
    QTest::newRow("large text is never shrunk") << 60 << QSize(800, 600) << 1.0;
    QTest::newRow("unknown") << 0 << QSize(800, 600) << 2.0;
    QTest::newRow("as far as the area goes") << 7 << QSize(4000, 2000) << std::sqrt(2.0);
    QTest::newRow("shrunk when it must be") << 7 << QSize(8000, 8000) << 0.5;
    QTest::newRow("as far as the side goes") << 10 << QSize(20000, 10) << 1.6;
    QTest::newRow("a single pixel") << 0 << QSize(1, 1) << 2.0;
}

void tst_OcrPicture::readingScale()
{
    QFETCH(int, height);
    QFETCH(QSize, size);
    QFETCH(double, expected);
    QVERIFY(qAbs(qm::ocr::readingScale(height, size) - expected) < 1e-9);
}

void tst_OcrPicture::slices_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<bool>("whole");
    QTest::newRow("a pixel") << QSize(1, 1) << true;
    QTest::newRow("a screen") << QSize(2880, 1800) << true;
    QTest::newRow("a scrolling capture") << QSize(2880, 30000) << false;
    QTest::newRow("a narrow one") << QSize(300, 60000) << false;
    QTest::newRow("a wide one") << QSize(50000, 700) << false;
    QTest::newRow("a thread") << QSize(100000, 3) << false;
    QTest::newRow("a large one both ways") << QSize(12000, 9000) << false;
}

void tst_OcrPicture::slices()
{
    QFETCH(QSize, size);
    QFETCH(bool, whole);
    const QImage picture = plain(size, 255);
    const QList<QRect> pieces = qm::ocr::slices(picture);
    QCOMPARE(pieces.size() == 1, whole);
    QRegion covered;
    for (const QRect &piece : pieces) {
        QVERIFY(picture.rect().contains(piece));
        QVERIFY(qint64(piece.width()) * piece.height() < 8'000'000);
        covered += piece;
    }
    QVERIFY(covered == QRegion(picture.rect()));
    for (int i = 1; i < pieces.size(); ++i) // neighbours share the overlap
        if (pieces[i].left() == pieces[i - 1].left())
            QCOMPARE(pieces[i - 1].bottom() + 1 - pieces[i].top(), overlap);
        else
            QCOMPARE(pieces[i - 1].right() + 1 - pieces[i].left(), overlap);
    // Pieces cost no more than they must: the parts that are read twice stay small.
    qint64 read = 0;
    for (const QRect &piece : pieces)
        read += qint64(piece.width()) * piece.height();
    QVERIFY(whole || read < qint64(size.width()) * size.height() * 14 / 10);
}

void tst_OcrPicture::cutsBetweenLines()
{
    QImage picture = plain({2000, 8000}, 255);
    const auto isLine = [](int y) { return y % 90 < 80; }; // dense text, with ten blank rows after each line
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; isLine(y) && x < 2000; x += 4)
            fill(picture, {x, y, 2, 1}, 0);
    const QList<QRect> pieces = qm::ocr::slices(picture);
    QVERIFY(pieces.size() > 2);
    for (int i = 1; i < pieces.size(); ++i) {
        const int cut = pieces[i].top() + overlap / 2;
        QVERIFY(!isLine(cut));
    }
}

void tst_OcrPicture::seams_data()
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
void tst_OcrPicture::seams()
{
    QFETCH(int, pitch);
    QFETCH(int, height);
    QFETCH(int, jitter);
    static constexpr int width = 1000, total = 3000, piece = 1000;
    for (int shift = 0; shift < pitch; ++shift) { // wherever the cut falls
        QList<QRect> pieces;
        QList<QList<Line>> read;
        for (int top = 0; top < total; top += piece - overlap)
            pieces += QRect(0, top, width, std::min(piece, total - top));
        QStringList expected;
        for (int y = jitter + shift; y + height + jitter <= total; y += pitch)
            expected += QStringLiteral("line at %1").arg(y);
        for (int i = 0; i < pieces.size(); ++i) {
            read.append(QList<Line>());
            const int move = i % 2 ? jitter : -jitter;
            for (int y = jitter + shift; y + height + jitter <= total; y += pitch) {
                const QRect line(100, y + move, 500, height), seen = line & pieces[i];
                if (!seen.isEmpty())
                    read[i] += {seen, seen == line ? QStringLiteral("line at %1").arg(y) : QStringLiteral("stump")};
            }
        }
        QStringList got;
        for (const Line &line : joined(pieces, read))
            got += line.text;
        QCOMPARE(got, expected);
    }
}

QTEST_GUILESS_MAIN(tst_OcrPicture)
#include "tst_OcrPicture.moc"
