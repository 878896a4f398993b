#include "annotate/document/ItemFactory.h"
#include "annotate/render/AnnotationRenderer.h"
#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"

#include <QColorSpace>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <numbers>

using namespace qm;
using namespace Qt::StringLiterals;
using Kind = Annotation::Kind;

static constexpr double pi = std::numbers::pi;

static Image plain(int width, int height, int scale = 1, QColor color = Qt::white)
{
    QImage pixels(width * scale, height * scale, QImage::Format_RGB32);
    pixels.fill(color);
    return {pixels, QSizeF(width, height)};
}

static Annotation item(Kind kind, QRectF rect, double width, double rotation = 0)
{
    return {kind, rect, Qt::black, width, {}, {}, rotation};
}

// Rows of a picture, top first: '.' for white, '#' for black, else tenths of black between them; ' ' where it is transparent.
static QStringList drawing(const QImage &image)
{
    QStringList rows;
    for (int y = 0; y < image.height(); ++y) {
        QString row;
        for (int x = 0; x < image.width(); ++x) {
            const QColor color = image.pixelColor(x, y);
            const int tenths = qRound((255 - color.green()) / 25.5);
            row += color.alpha() == 0 ? u' ' : tenths == 0 ? u'.' : tenths == 10 ? u'#' : QChar(u'0' + tenths);
        }
        rows << row;
    }
    return rows;
}

class tst_AnnotationRenderer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void size_data()
    {
        QTest::addColumn<QSizeF>("source");
        QTest::addColumn<int>("scale");
        QTest::addColumn<QRectF>("crop");  // null: none
        QTest::addColumn<double>("limit"); // 0: none
        QTest::addColumn<QSizeF>("points");
        QTest::addColumn<QSize>("pixels");
        const auto row = [](const char *name, QSizeF source, int scale, QRectF crop, double limit, QSizeF points,
                            QSize pixels) {
            QTest::newRow(name) << source << scale << crop << limit << points << pixels;
        };
        row("whole", {400, 100}, 1, {}, 0, {400, 100}, {400, 100});
        row("two pixels a point, all kept", {400, 100}, 2, {}, 0, {400, 100}, {800, 200});
        row("crop", {400, 100}, 1, {10, 20, 100, 50}, 0, {100, 50}, {100, 50});
        row("limited", {400, 100}, 1, {0, 0, 400, 100}, 100, {100, 25}, {100, 25});
        row("limit larger than the crop", {400, 100}, 1, {0, 0, 400, 100}, 500, {400, 100}, {400, 100});
        row("limited, two pixels a point", {400, 100}, 2, {}, 100, {100, 25}, {100, 25});
        row("between points and pixels", {400, 100}, 2, {}, 600, {400, 100}, {600, 150});
        row("limit beyond the pixels", {400, 100}, 2, {}, 2000, {400, 100}, {800, 200});
        row("an upright edge is the longest", {100, 400}, 1, {}, 200, {50, 200}, {50, 200});
        row("never less than a point", {400, 1}, 1, {}, 40, {40, 1}, {40, 1});
        row("no height", {400, 100}, 1, {10, 10, 30, 0}, 0, {30, 1}, {30, 1});
        row("crop onto whole pixels", {40, 30}, 1, {2.4, 3.6, 10.2, 9.7}, 0, {11, 9}, {11, 9});
        row("crop onto half points", {40, 30}, 2, {2.4, 3.6, 10.2, 9.7}, 0, {10, 10}, {20, 20});
        row("crop beyond the picture", {40, 30}, 1, {-10, 20, 20, 20}, 0, {20, 20}, {20, 20});
        row("a sliver is a pixel", {40, 30}, 1, {4.6, 4, 0.2, 9}, 0, {1, 9}, {1, 9});
        row("an empty document", {0, 0}, 1, {}, 0, {1, 1}, {1, 1});
        row("a limit of nothing", {40, 30}, 1, {}, 1e-9, {1, 1}, {1, 1});
    }

    void size()
    {
        QFETCH(QSizeF, source);
        QFETCH(int, scale);
        QFETCH(QRectF, crop);
        QFETCH(double, limit);
        AnnotationDoc doc;
        if (!source.isEmpty())
            doc.source = plain(int(source.width()), int(source.height()), scale);
        if (!crop.isNull())
            doc.crop = crop;
        const Image image = AnnotationRenderer::render(doc, limit > 0 ? std::optional(limit) : std::nullopt);
        QTEST(image.size, "points");
        QTEST(image.pixels.size(), "pixels");
    }

    void items_data()
    {
        QTest::addColumn<Annotation>("item");
        QTest::addColumn<QRectF>("crop");
        QTest::addColumn<QStringList>("rows"); // of an 8 x 6 picture
        using Rows = std::vector<const char *>;
        const auto row = [](const char *name, const Annotation &drawn, QRectF crop, const Rows &rows) {
            QStringList expected;
            for (const char *text : rows)
                expected << QString::fromLatin1(text);
            QTest::newRow(name) << drawn << crop << expected;
        };
        const Rows line{"........", "..####..", "..####..", "........", "........", "........"};
        row("line, butt caps", item(Kind::line, {2, 4, 4, 0}, 2), {}, line);
        row("line from right to left", item(Kind::line, {6, 4, -4, 0}, 2), {}, line);
        row("a line is not turned", item(Kind::line, {2, 4, 4, 0}, 2, 1), {}, line);
        row("thin line across two rows", item(Kind::line, {2, 4, 4, 0}, 1), {},
            {"........", "..5555..", "..5555..", "........", "........", "........"});
        row("no line", item(Kind::line, {2, 4, 0, 0}, 2), {},
            {"........", "........", "........", "........", "........", "........"});
        const Rows box{"........", ".######.", ".#....#.", ".#....#.", ".######.", "........"};
        row("rectangle, mitred", item(Kind::rect, {1.5, 1.5, 5, 3}, 1), {}, box);
        row("rectangle, signed", item(Kind::rect, {6.5, 4.5, -5, -3}, 1), {}, box);
        row("rectangle, a quarter turn", item(Kind::rect, {2.5, 0.5, 3, 5}, 1, pi / 2), {}, box);
        row("a quarter turn of a signed one", item(Kind::rect, {5.5, 5.5, -3, -5}, 1, pi / 2), {}, box);
        row("crop", item(Kind::rect, {3.5, 3.5, 5, 3}, 1), {3, 3, 3, 2}, {"#..", "###"});
        row("crop beyond the picture", item(Kind::line, {6, 5, 4, 0}, 2), {6, 3, 4, 4},
            {"    ", "####", "####", "..  "});
        row("ellipse, a stroke that fills it", item(Kind::ellipse, {3, 2, 2, 2}, 2), {},
            {"........", "..3993..", "..9##9..", "..9##9..", "..3993..", "........"});
    }

    void items()
    {
        QFETCH(Annotation, item);
        QFETCH(QRectF, crop);
        AnnotationDoc doc{plain(8, 6), {}, {item}};
        if (!crop.isNull())
            doc.crop = crop;
        QTEST(drawing(AnnotationRenderer::render(doc).pixels), "rows");
    }

    void turnsCounterClockwise()
    {
        // A wide box turned by 45 degrees reaches up to the right.
        const AnnotationDoc doc{plain(40, 40), {}, {item(Kind::rect, {5, 19, 30, 2}, 2, pi / 4)}};
        const QImage image = AnnotationRenderer::render(doc).pixels;
        QCOMPARE(image.pixelColor(28, 11), QColor(Qt::black));
        QCOMPARE(image.pixelColor(11, 11), QColor(Qt::white));
    }

    void shortArrowIsItsHead()
    {
        // Head 14 at width 2: 12.12 long along the arrow, 7 to each side at its back.
        AnnotationDoc doc{plain(120, 40), {}, {item(Kind::arrow, {90, 20, 10, 0}, 2)}};
        const auto black = [&](double x, double y) {
            return AnnotationRenderer::render(doc).pixels.pixelColor(int(x), 39 - int(y)) == QColor(Qt::black);
        };
        QVERIFY(black(97, 20) && black(88, 14) && black(88, 25));
        QVERIFY(!black(88, 12) && !black(88, 27) && !black(86, 20) && !black(100, 20));
        doc.items[0].rect = {100, 20, -10, 0}; // the tip is where it ends
        QVERIFY(black(92, 20) && black(101, 14) && !black(103, 20));
        doc.items[0].rect = {0, 20, 100, 0};
        QVERIFY(black(40, 20) && black(40, 19) && !black(40, 21) && black(97, 20));
    }

    void shaftEndsInsideTheHead()
    {
        // Width 20, head 90: its back lies 77.94 before the tip, the shaft's end 76.5. Both fills show through.
        Annotation arrow = item(Kind::arrow, {0, 30, 99.95, 0}, 20);
        arrow.color = QColor(0, 0, 0, 128);
        const QImage image = AnnotationRenderer::render({plain(110, 60), {}, {arrow}}).pixels;
        const auto grey = [&](int x) { return image.pixelColor(x, 30).green(); };
        QCOMPARE(grey(20), 127);
        QVERIFY2(std::abs(grey(22) - 64) <= 2, qPrintable(QString::number(grey(22))));
        QCOMPARE(grey(24), 127);
        QCOMPARE(grey(95), 127);
    }

    void textStandsOnItsDescent_data()
    {
        QTest::addColumn<int>("scale");
        QTest::newRow("a pixel a point") << 1;
        QTest::newRow("two pixels a point") << 2;
    }

    void textStandsOnItsDescent()
    {
        QFETCH(int, scale);
        const auto ink = [&](const QString &text, double height, double width) {
            Annotation drawn = item(Kind::text, {20, 30, 60, height}, width);
            drawn.text = text;
            const QImage image = AnnotationRenderer::render({plain(200, 120, scale), {}, {drawn}}).pixels;
            QRect touched;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (qGray(image.pixel(x, y)) < 128)
                        touched |= QRect(x, y, 1, 1);
                }
            }
            return QRectF(touched.left(), image.height() - 1 - touched.bottom(), touched.width(), touched.height());
        };
        QFont font(QFontDatabase::systemFont(QFontDatabase::GeneralFont));
        font.setPixelSize(100);
        font.setWeight(QFont::DemiBold);
        const QFontMetricsF metrics(font);
        const double descent = metrics.descent() * 0.4, capital = metrics.tightBoundingRect(u"H"_s).height() * 0.4;
        const QRectF h = ink(u"H"_s, 40, 3);
        QVERIFY2(std::abs(h.y() / scale - (30 + descent)) <= 1, qPrintable(QString::number(h.y())));
        QVERIFY2(std::abs(h.height() / scale - capital) <= 1, qPrintable(QString::number(h.height())));
        QVERIFY(ink(u"g"_s, 40, 3).y() < h.y());
        QVERIFY(ink(u"gÅ"_s, 40, 3).y() >= 30 * scale);
        // A height of 1 or less says no size: six times the width, at least 14.
        QCOMPARE(ink(u"H"_s, 0.5, 3), ink(u"H"_s, 18, 3));
        QCOMPARE(ink(u"H"_s, 1, 1), ink(u"H"_s, 14, 1));
        QCOMPARE(ink(QString(), 40, 3).size(), QSizeF(0, 0));
    }

    void textWidth()
    {
        const QString word = u"Annotate 注釈"_s;
        const auto measure = AnnotationRenderer::measureTextWidth;
        QCOMPARE(measure(QString(), 40), 20.0);
        QCOMPARE(measure(u"i"_s, 2), 20.0);
        QCOMPARE(measure(word, 42), measure(word, 21) * 2);
        QCOMPARE(measure(word.repeated(50), 0.2), measure(word.repeated(50), 1));
        QVERIFY(measure(word + u"  "_s, 20) > measure(word, 20) + 5);
        QVERIFY(measure(word + word, 20) > measure(word, 20) * 1.9);
    }

    void rightToLeftStartsAtItsOrigin()
    {
        Annotation drawn = item(Kind::text, {20, 30, 60, 40}, 3);
        drawn.text = u"\u05e9\u05dc\u05d5\u05dd"_s;
        const QImage image = AnnotationRenderer::render({plain(200, 120), {}, {drawn}}).pixels;
        const int end = 20 + int(AnnotationRenderer::measureTextWidth(*drawn.text, 40));
        int inside = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const bool ink = qGray(image.pixel(x, y)) < 128;
                inside += ink;
                QVERIFY(!ink || (x >= 18 && x <= end + 2));
            }
        }
        QVERIFY(inside > 100);
    }

    void blurReplacesWithTheSourceAlone()
    {
        // Columns 0-7 black, the rest white; cells of 8 anchored at the region's centre (12, 8): edges at 4 and 12.
        AnnotationDoc doc{plain(24, 16), {}, {}};
        QPainter(&doc.source.pixels).fillRect(0, 0, 8, 16, Qt::black);
        Annotation blur = item(Kind::blur, {4, 4, 16, 8}, 3);
        doc.items = {item(Kind::rect, {6, 6, 8, 4}, 4), blur};
        const QString outside(u"########"_s + QString(16, u'.')), inside(u"####55555555............"_s);
        QStringList expected(16, outside);
        std::fill(expected.begin() + 4, expected.begin() + 12, inside);
        QImage image = AnnotationRenderer::render(doc).pixels;
        QCOMPARE(drawing(image.copy(0, 4, 24, 8)), expected.mid(4, 8));

        doc.items = {blur};
        QCOMPARE(drawing(AnnotationRenderer::render(doc).pixels), expected);
        doc.items = {blur, blur, blur}; // each made of the source, not of the one below
        QCOMPARE(drawing(AnnotationRenderer::render(doc).pixels), expected);
        doc.items = {blur, item(Kind::line, {4, 8, 16, 0}, 2)};
        QCOMPARE(drawing(AnnotationRenderer::render(doc).pixels)[8], u"####################...."_s);

        doc.items = {blur};
        doc.items[0].blurShape = Annotation::BlurShape::ellipse;
        image = AnnotationRenderer::render(doc).pixels;
        QCOMPARE(image.pixelColor(4, 4), QColor(Qt::black));
        QCOMPARE(image.pixelColor(9, 6).green(), 128);
        doc.items[0].rect = {4, 4, 1.5, 8};
        QCOMPARE(AnnotationRenderer::render(doc).pixels, doc.source.pixels);
        doc.items[0].rect = {20, 4, -16, 8}; // measured as it is, not normalised
        QCOMPARE(AnnotationRenderer::render(doc).pixels, doc.source.pixels);
    }

    void blurBeyondThePicture()
    {
        AnnotationDoc doc{plain(12, 12, 1, Qt::black), QRectF(-6, 0, 18, 12), {item(Kind::line, {-6, 6, 18, 0}, 12)}};
        QCOMPARE(drawing(AnnotationRenderer::render(doc).pixels)[3], QString(18, u'#'));
        doc.items << item(Kind::blur, {-4, 0, 8, 12}, 3);
        QCOMPARE(drawing(AnnotationRenderer::render(doc).pixels)[3], u"##    ############"_s);
        // What it brings in by turning is transparent too.
        doc.crop.reset();
        doc.items[1].rotation = pi;
        QCOMPARE(drawing(AnnotationRenderer::render(doc).pixels)[3], u"    ########"_s);
    }

    void turnedBlurTurnsItsPatch()
    {
        // Left half black. Turned by half a turn about the middle, the halves change places, and nothing shines through.
        AnnotationDoc doc{plain(32, 32), {}, {item(Kind::blur, {0, 0, 32, 32}, 3, pi)}};
        QPainter(&doc.source.pixels).fillRect(0, 0, 16, 32, Qt::black);
        const QStringList rows = drawing(AnnotationRenderer::render(doc).pixels);
        QCOMPARE(rows[0], QString(16, u'.') + QString(16, u'#'));
        QCOMPARE(rows[31], rows[0]);
        doc.source = plain(32, 32);
        for (const QRectF box : {QRectF(0, 0, 32, 32), QRectF(8, 9, 15, 13), QRectF(8.3, 9.1, 15, 13)}) {
            doc.items = {item(Kind::blur, box, 3, 0.7)};
            QCOMPARE(drawing(AnnotationRenderer::render(doc).pixels), QStringList(32, QString(32, u'.')));
        }
    }

    void pixelsAreKept_data()
    {
        QTest::addColumn<QImage::Format>("format");
        for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGB888,
                                  QImage::Format_Grayscale8, QImage::Format_Grayscale16, QImage::Format_RGBA64,
                                  QImage::Format_Indexed8, QImage::Format_Mono, QImage::Format_RGBX64})
            QTest::addRow("format %d", format) << format;
    }

    void pixelsAreKept()
    {
        QFETCH(QImage::Format, format);
        QImage pixels(40, 30, QImage::Format_ARGB32);
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x)
                pixels.setPixel(x, y, qRgba(x * 6, y * 8, 255 - x * 3, x < 20 ? 255 : 100 + y * 5));
        }
        pixels = pixels.convertToFormat(format);
        pixels.setColorSpace(QColorSpace::DisplayP3);
        AnnotationDoc doc{{pixels, {20, 15}}, QRectF(5, 2.5, 10, 10), {item(Kind::blur, {16, 10, 3, 3}, 1)}};
        const Image image = AnnotationRenderer::render(doc);
        const QImage kept = image.pixels.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        QCOMPARE(kept, pixels.copy(10, 5, 20, 20).convertToFormat(QImage::Format_ARGB32_Premultiplied));
        QCOMPARE(image.pixels.hasAlphaChannel(), pixels.hasAlphaChannel());

        const QTemporaryDir folder;
        const QString path = folder.filePath(u"out.png"_s);
        QVERIFY(PngWriter::write(path, image));
        const Image read = ImageFile::load(path).image;
        QCOMPARE(read.size, QSizeF(10, 10));
        QCOMPARE(read.pixels.size(), QSize(20, 20));
        QCOMPARE(read.pixels.colorSpace(), QColorSpace(QColorSpace::DisplayP3));
    }

    void coloursFollowTheProfile()
    {
        AnnotationDoc doc{plain(8, 6), {}, {item(Kind::line, {0, 3, 8, 0}, 4)}};
        doc.items[0].color = QColor(255, 0, 0);
        QCOMPARE(AnnotationRenderer::render(doc).pixels.pixelColor(4, 3), QColor(255, 0, 0));
        doc.source.pixels.setColorSpace(QColorSpace::DisplayP3);
        const QColor wide = AnnotationRenderer::render(doc).pixels.pixelColor(4, 3);
        QVERIFY2(wide.red() < 240 && wide.green() > 40, qPrintable(wide.name())); // sRGB's red in Display P3's numbers
    }

    void profileOfGreyIsDropped()
    {
        QByteArray grey = QColorSpace(QColorSpace::SRgb).iccProfile();
        grey.replace(16, 4, "GRAY");
        AnnotationDoc doc{plain(4, 4), {}, {}};
        doc.source.pixels.setColorSpace(QColorSpace::fromIccProfile(grey));
        QCOMPARE(doc.source.pixels.colorSpace().iccProfile().mid(16, 4), "GRAY");
        QVERIFY(AnnotationRenderer::render(doc).pixels.colorSpace().iccProfile().isEmpty());
    }

    void tallPicture()
    {
        AnnotationDoc doc{plain(3, 40000), {}, {}};
        for (const int y : {100, 16383, 33000, 39990})
            doc.items << item(Kind::line, {0, 40000 - y - 1.0, 3, 0}, 2);
        const QImage image = AnnotationRenderer::render(doc).pixels;
        for (const int y : {100, 101, 16383, 16384, 33000, 39990})
            QCOMPARE(image.pixelColor(1, y), QColor(Qt::black));
        for (const int y : {99, 102, 16382, 16385, 32999, 39992})
            QCOMPARE(image.pixelColor(1, y), QColor(Qt::white));
    }
};

QTEST_MAIN(tst_AnnotationRenderer)
#include "tst_AnnotationRenderer.moc"
