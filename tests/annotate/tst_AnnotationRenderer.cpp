#include "annotate/document/ItemFactory.h"
#include "annotate/document/TextLine.h"
#include "annotate/render/AnnotationRenderer.h"
#include "annotate/render/Pixellate.h"
#include "imaging/ImageFile.h"
#include "imaging/PngWriter.h"
#include "tests/support/Pixels.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QRandomGenerator>
#include <QSet>
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

static Annotation text(const QString &words, double height, double width = 3)
{
    Annotation text = item(Kind::text, {20, 30, 60, height}, width);
    text.text = words;
    return text;
}

static QImage noise(QSize size, QImage::Format format)
{
    QRandomGenerator random(7);
    QImage image(size, QImage::Format_ARGB32);
    random.fillRange(reinterpret_cast<quint32 *>(image.bits()), image.sizeInBytes() / 4);
    return image.convertToFormat(format);
}

struct Sizes {
    QSize source; // points
    int scale;
    std::optional<QRectF> crop;
    std::optional<double> limit;
    QSizeF points;
    QSize pixels;
};

struct Drawn {
    Annotation item;
    QByteArrayList rows; // of an 8 x 6 picture
    std::optional<QRectF> crop = {};
};

static QImage rendered(const AnnotationDoc &doc)
{
    return AnnotationRenderer::render(doc).pixels;
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

// Around all dark pixels, in points, y up.
static QRectF ink(const Annotation &drawn, int scale = 1)
{
    const QImage image = rendered({plain(200, 120, scale), {}, {drawn}});
    QRect touched;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qGray(image.pixel(x, y)) < 128)
                touched |= QRect(x, image.height() - 1 - y, 1, 1);
        }
    }
    return {QPointF(touched.topLeft()) / scale, QSizeF(touched.size()) / scale};
}

class tst_AnnotationRenderer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void size_data()
    {
        QTest::addColumn<Sizes>("sizes");
        const auto row = [](const char *name, const Sizes &sizes) { QTest::newRow(name) << sizes; };
        row("two pixels a point, all kept", {{400, 100}, 2, {}, {}, {400, 100}, {800, 200}});
        row("limited", {{400, 100}, 2, QRectF(0, 0, 400, 100), 100, {100, 25}, {100, 25}});
        row("limit larger than the crop", {{400, 100}, 1, QRectF(0, 0, 400, 100), 500, {400, 100}, {400, 100}});
        row("between points and pixels", {{400, 100}, 2, {}, 600, {400, 100}, {600, 150}});
        row("an upright edge is the longest", {{100, 400}, 1, {}, 200, {50, 200}, {50, 200}});
        row("never less than a point", {{400, 1}, 1, {}, 40, {40, 1}, {40, 1}});
        row("no height", {{400, 100}, 1, QRectF(10, 10, 30, 0), {}, {30, 1}, {30, 1}});
        row("crop onto whole pixels", {{40, 30}, 1, QRectF(2.4, 3.6, 10.2, 9.7), {}, {11, 9}, {11, 9}});
        row("crop onto half points", {{40, 30}, 2, QRectF(2.4, 3.6, 10.2, 9.7), {}, {10, 10}, {20, 20}});
        row("crop beyond the picture", {{40, 30}, 1, QRectF(-10, 20, 20, 20), {}, {20, 20}, {20, 20}});
        row("a sliver is a pixel", {{40, 30}, 1, QRectF(4.6, 4, 0.2, 9), {}, {1, 9}, {1, 9}});
        row("an empty document", {{0, 0}, 1, {}, {}, {1, 1}, {1, 1}});
        row("a limit of nothing", {{40, 30}, 1, {}, 1e-9, {1, 1}, {1, 1}});
    }
    void size()
    {
        QFETCH(Sizes, sizes);
        AnnotationDoc doc{{}, sizes.crop, {}};
        if (!sizes.source.isEmpty())
            doc.source = plain(sizes.source.width(), sizes.source.height(), sizes.scale);
        const Image image = AnnotationRenderer::render(doc, sizes.limit);
        QCOMPARE(image.size, sizes.points);
        QCOMPARE(image.pixels.size(), sizes.pixels);
    }

    void items_data()
    {
        QTest::addColumn<Drawn>("drawn");
        const auto row = [](const char *name, const Drawn &drawn) { QTest::newRow(name) << drawn; };
        const QByteArrayList line{"........", "..####..", "..####..", "........", "........", "........"};
        row("line, butt caps", {item(Kind::line, {2, 4, 4, 0}, 2), line});
        row("line from right to left", {item(Kind::line, {6, 4, -4, 0}, 2), line});
        row("a line is not turned", {item(Kind::line, {2, 4, 4, 0}, 2, 1), line});
        row("thin line across two rows", {item(Kind::line, {2, 4, 4, 0}, 1),
                                          {"........", "..5555..", "..5555..", "........", "........", "........"}});
        row("no line", {item(Kind::line, {2, 4, 0, 0}, 2), QByteArrayList(6, "........")});
        const QByteArrayList box{"........", ".######.", ".#....#.", ".#....#.", ".######.", "........"};
        const QByteArrayList full{"........", ".######.", ".######.", ".######.", ".######.", "........"};
        row("rectangle", {item(Kind::rect, {1.5, 1.5, 5, 3}, 1), box});
        row("mitred", {item(Kind::rect, {2, 2, 4, 2}, 2), full});
        row("a quarter turn of a signed one", {item(Kind::rect, {5.5, 5.5, -3, -5}, 1, pi / 2), box});
        row("ellipse, a stroke that fills it",
            {item(Kind::ellipse, {3, 2, 2, 2}, 2),
             {"........", "..3993..", "..9##9..", "..9##9..", "..3993..", "........"}});
        row("ellipse smaller than its stroke",
            {item(Kind::ellipse, {3.5, 2.5, 1, 1}, 4),
             {"..1441..", ".19##91.", ".4####4.", ".4####4.", ".19##91.", "..1441.."}});
        row("cover", {item(Kind::cover, {1, 2, 4, 2}, 2),
                      {"........", "........", ".####...", ".####...", "........", "........"}});
        row("pen, round at its ends", {ItemFactory::pen({{2, 3}, {6, 3}}, {Qt::black, 2, {}, {}}),
                                       {"........", "........", ".7####8.", ".7####8.", "........", "........"}});
        row("crop", {item(Kind::rect, {3.5, 3.5, 5, 3}, 1), {"#..", "###"}, QRectF(3, 3, 3, 2)});
        row("crop beyond the picture",
            {item(Kind::line, {6, 5, 4, 0}, 2), {"    ", "####", "####", "..  "}, QRectF(6, 3, 4, 4)});
    }
    void items()
    {
        QFETCH(Drawn, drawn);
        const QStringList rows = drawing(rendered({plain(8, 6), drawn.crop, {drawn.item}}));
        QCOMPARE(rows.join(u'\n'), QString::fromLatin1(drawn.rows.join('\n')));
    }

    // However wide the stroke: every point no farther from the ellipse than half of it, and no other.
    void ellipses()
    {
        for (const auto &[size, width] : {std::pair(QSizeF(5, 5), 12.0), {{60, 9}, 6}, {{9, 60}, 6}, {{60, 9}, 12}}) {
            const QRectF box(QPointF(40, 30), size);
            const QImage image = rendered({plain(140, 120), {}, {item(Kind::ellipse, box, width)}});
            const auto distance = [&](QPointF point) {
                double least = 1e9;
                for (double t = 0; t < 2 * pi; t += 0.01) {
                    const QPointF on(box.center() + QPointF(box.width() * cos(t), box.height() * sin(t)) / 2);
                    least = std::min(least, std::hypot(point.x() - on.x(), point.y() - on.y()));
                }
                return least;
            };
            for (int y = 10; y < 110; y += 2) {
                for (int x = 20; x < 120; x += 3) {
                    const double beyond = distance({x + 0.5, 120 - y - 0.5}) - width / 2;
                    if (std::abs(beyond) > 1)
                        QCOMPARE(qGray(image.pixel(x, y)), beyond < 0 ? 0 : 255);
                }
            }
        }
    }

    void arrows()
    {
        // Head 14 at width 2: 12.12 long along the arrow, 7 to each side at its back. A short arrow is its head.
        const auto head = [](double from, double to) { return ink(item(Kind::arrow, {from, 20, to - from, 0}, 2)); };
        QCOMPARE(head(90, 100), QRectF(88, 13, 11, 14));
        QCOMPARE(head(100, 90), QRectF(91, 13, 11, 14)); // the tip is where it ends
        QCOMPARE(head(20, 100), QRectF(20, 13, 79, 14));
        // Width 20, head 90: its back lies 77.94 before the tip, the shaft's end 76.5. Both fills show through.
        Annotation arrow = item(Kind::arrow, {0, 30, 99.95, 0}, 20);
        arrow.color = QColor(0, 0, 0, 128);
        const QImage image = rendered({plain(110, 60), {}, {arrow}});
        const auto grey = [&](int x) { return image.pixelColor(x, 30).green(); };
        QCOMPARE(grey(20), 127);
        QVERIFY2(std::abs(grey(22) - 64) <= 2, qPrintable(QString::number(grey(22))));
        QCOMPARE(grey(24), 127);
        QCOMPARE(grey(95), 127);
    }

    void textStandsOnItsDescent()
    {
        QFont font(QFontDatabase::systemFont(QFontDatabase::GeneralFont));
        font.setPixelSize(100);
        font.setWeight(QFont::DemiBold);
        const QFontMetricsF metrics(font);
        const double descent = metrics.descent() * 0.4, capital = metrics.tightBoundingRect(u"H"_s).height() * 0.4;
        for (const int scale : {1, 2}) {
            const QRectF h = ink(text(u"H"_s, 40), scale);
            QVERIFY2(std::abs(h.y() - (30 + descent)) <= 1, qPrintable(QString::number(h.y())));
            QVERIFY2(std::abs(h.height() - capital) <= 1, qPrintable(QString::number(h.height())));
            const QRectF g = ink(text(u"gÅ"_s, 40), scale);
            QVERIFY(g.y() < h.y() && g.y() >= 30);
        }
        // A height of 1 or less says no size: six times the width, at least 14.
        QCOMPARE(ink(text(u"H"_s, 0.5, 3)), ink(text(u"H"_s, 18)));
        QCOMPARE(ink(text(u"H"_s, 1, 1)), ink(text(u"H"_s, 14)));
        QCOMPARE(ink(text(u"a\nb\u2028c"_s, 40)), ink(text(u"a b c"_s, 40))); // one line, whatever was pasted
        QVERIFY(ink(text({}, 40)).isEmpty());
    }

    void textTakesItsWidth()
    {
        const auto measure = measureTextWidth;
        const QString word = u"Annotate 注釈"_s;
        QCOMPARE(measure(u"i"_s, 2), 20.0); // the least
        QCOMPARE(measure(word, 42), measure(word, 21) * 2);
        QCOMPARE(measure(word.repeated(50), 0.2), measure(word.repeated(50), 1));
        QVERIFY(measure(word + u"  "_s, 20) > measure(word, 20) + 5);
        // From the right as well as from the left, and with a number at its end.
        for (const QString &words : {word, u"\u05e9\u05dc\u05d5\u05dd"_s, u"\u05e9\u05dc\u05d5\u05dd 42 ab"_s}) {
            const QRectF touched = ink(text(words, 20));
            QVERIFY(touched.width() > 30 && touched.left() >= 18 && touched.right() <= 22 + measure(words, 20));
        }
    }

    // Whatever part of it lies in the picture.
    void blurredCellsAreMeans()
    {
        constexpr auto opaque = QImage::Format_RGB32, straight = QImage::Format_ARGB32;
        for (const auto &[region, size, format] : {std::tuple(QRect(11, 7, 33, 29), 8.0, opaque),
                                                   {QRect(-13, 150, 40, 137), 8.0, opaque},
                                                   {QRect(-13, 150, 40, 137), 8.0, straight},
                                                   {QRect(-100, -100, 601, 300), 18.75, straight},
                                                   {QRect(400, 7, 20, 20), 8.0, opaque},
                                                   {QRect(20, 10, 300, 170), 10.625, opaque},
                                                   {QRect(20, 10, 350, 370), 20.0, opaque}}) {
            const QImage source = noise({300, 200}, format);
            const QImage reference = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
            const Pixellate::Cells cells = Pixellate::cellsFor(region);
            QCOMPARE(cells.size, size);
            QImage result(region.size(), QImage::Format_ARGB32_Premultiplied);
            result.fill(Qt::red); // what was there does not matter
            Pixellate::pixellate(source, cells, region.topLeft(), result);
            // The first pixel of the cell that one is in, and of the next: those whose centres lie in it.
            const auto span = [cell = size](int at, double center) {
                const double first = center + std::floor((at + 0.5 - center) / cell) * cell;
                return std::pair(int(std::ceil(first - 0.5)), int(std::ceil(first + cell - 0.5)));
            };
            for (int i = 0; i < region.width() * region.height(); i += 7) {
                const QPoint at = region.topLeft() + QPoint(i % region.width(), i / region.width());
                const auto [left, right] = span(at.x(), QRectF(region).center().x());
                const auto [top, bottom] = span(at.y(), QRectF(region).center().y());
                const QRect cell(left, top, right - left, bottom - top);
                const auto mean = source.rect().contains(at) ? Pixels::meanOf(reference, cell) : Pixels::Channels{};
                QVERIFY(Pixels::apart(Pixels::at(result, i % region.width(), i / region.width()), mean) < 0.501);
            }
        }
    }

    void blurReplacesWithTheSourceAlone()
    {
        // Columns 0-7 black, the rest white; cells of 8 anchored at the region's centre (12, 8): edges at 4 and 12.
        AnnotationDoc doc{plain(24, 16), {}, {}};
        QPainter(&doc.source.pixels).fillRect(0, 0, 8, 16, Qt::black);
        const Annotation blur = item(Kind::blur, {4, 4, 16, 8}, 3), box = item(Kind::rect, {6, 6, 8, 4}, 4);
        const auto row = [&](const QList<Annotation> &items, int y) {
            doc.items = items;
            return drawing(rendered(doc))[y];
        };
        for (const QList<Annotation> &items : {QList{blur}, QList{blur, blur, blur}, QList{box, blur}}) {
            for (int y = 4; y < 12; ++y)
                QCOMPARE(row(items, y), u"####55555555............"_s);
        }
        for (const int outside : {3, 12})
            QCOMPARE(row({blur}, outside), u"########................"_s);
        QCOMPARE(row({blur, item(Kind::line, {4, 8, 16, 0}, 2)}, 8), u"####################...."_s);
        doc.items[0].blurShape = Annotation::BlurShape::ellipse;
        QCOMPARE(row({doc.items[0]}, 4).left(6), u"######"_s); // its corner; the middle of its edge is blurred
        QCOMPARE(row({doc.items[0]}, 6)[9], u'5');
        for (const QRectF &tooSmall : {QRectF(4, 4, 1.5, 8), QRectF(20, 4, -16, 8)}) // measured as it is
            QCOMPARE(row({item(Kind::blur, tooSmall, 3)}, 8), u"########................"_s);
    }

    void blurBeyondThePicture()
    {
        AnnotationDoc doc{plain(12, 12, 1, Qt::black), QRectF(-6, 0, 18, 12), {item(Kind::line, {-6, 6, 18, 0}, 12)}};
        QCOMPARE(drawing(rendered(doc))[3], QString(18, u'#'));
        doc.items << item(Kind::blur, {-4, 0, 8, 12}, 3);
        QCOMPARE(drawing(rendered(doc))[3], u"##    ############"_s);
        // What it brings in by turning is transparent too.
        doc.crop.reset();
        doc.items[1].rotation = pi;
        QCOMPARE(drawing(rendered(doc))[3], u"    ########"_s);
    }

    void turnedBlurTurnsItsPatch()
    {
        // Left half black. Turned by half a turn about the middle, the halves change places, and nothing shines through.
        AnnotationDoc doc{plain(32, 32), {}, {item(Kind::blur, {0, 0, 32, 32}, 3, pi)}};
        QPainter(&doc.source.pixels).fillRect(0, 0, 16, 32, Qt::black);
        QCOMPARE(drawing(rendered(doc)), QStringList(32, QString(16, u'.') + QString(16, u'#')));
        doc.source = plain(32, 32);
        for (const QRectF box : {QRectF(0, 0, 32, 32), QRectF(8, 9, 15, 13), QRectF(8.3, 9.1, 15, 13)}) {
            doc.items = {item(Kind::blur, box, 3, 0.7)};
            QCOMPARE(drawing(rendered(doc)), QStringList(32, QString(32, u'.')));
        }
    }

    // As far as into the file, with resolution and profile.
    void pixelsAreKept()
    {
        constexpr auto premultiplied = QImage::Format_ARGB32_Premultiplied;
        QImage source = noise({40, 30}, QImage::Format_ARGB32);
        source.setColorSpace(QColorSpace::DisplayP3);
        for (const auto format : {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGB888,
                                  QImage::Format_Grayscale8, QImage::Format_Grayscale16, QImage::Format_RGBA64,
                                  QImage::Format_Indexed8, QImage::Format_Mono, QImage::Format_RGBX64}) {
            const QImage pixels = source.convertToFormat(format), part = pixels.copy(10, 5, 20, 20);
            const QList items{item(Kind::blur, {16, 10, 3, 3}, 1)}; // outside
            const Image image = AnnotationRenderer::render({{pixels, {20, 15}}, QRectF(5, 2.5, 10, 10), items});
            QCOMPARE(image.pixels.convertToFormat(premultiplied), part.convertToFormat(premultiplied));
            QCOMPARE(image.pixels.hasAlphaChannel(), pixels.hasAlphaChannel());
            QByteArray png = PngWriter::encode(image);
            QBuffer file(&png);
            QVERIFY(file.open(QIODevice::ReadOnly));
            const Image read = ImageFile::load(file).image;
            QCOMPARE(read.size, QSizeF(10, 10));
            QCOMPARE(read.pixels.size(), QSize(20, 20));
            QCOMPARE(read.pixels.colorSpace(), QColorSpace(QColorSpace::DisplayP3));
        }
    }

    // Ink on the light half, a glow on the dark one, whatever items lie there.
    void highlighterFollowsThePicture()
    {
        AnnotationDoc doc{plain(80, 20), {}, {item(Kind::highlighter, {0, 10, 80, 0}, 3)}};
        QPainter painter(&doc.source.pixels);
        painter.fillRect(40, 0, 40, 20, Qt::black);
        painter.fillRect(10, 9, 4, 2, Qt::black);
        painter.end();
        doc.items[0].color = QColor(255, 204, 0);
        const Annotation ink = doc.items[0];
        Annotation below = item(Kind::cover, {0, 5, 80, 4}, 1), above = item(Kind::cover, {0, 11, 80, 4}, 1);
        for (const QColor &cover : {QColor(), QColor(Qt::black), QColor(Qt::white)}) { // of most of what is under it
            below.color = above.color = cover;
            doc.items = cover.isValid() ? QList{below, above, ink} : QList{ink};
            const QImage image = rendered(doc);
            const QColor light = image.pixelColor(20, 10), dark = image.pixelColor(60, 10);
            QVERIFY2(light.red() == 255 && light.blue() < 150 && light.green() > 200, qPrintable(light.name()));
            QVERIFY2(dark.red() > 120 && dark.red() < 180 && dark.blue() == 0, qPrintable(dark.name()));
            QCOMPARE(image.pixelColor(12, 10), QColor(Qt::black)); // letters stay what they are
        }
    }

    void numbersAndPlatesCanBeRead()
    {
        const auto colors = [](const Annotation &drawn) {
            const QImage image = rendered({plain(120, 60, 1, Qt::gray), {}, {drawn}});
            QSet<QRgb> found;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x)
                    found << image.pixel(x, y);
            }
            return found;
        };
        for (const auto &[fill, ink] : {std::pair(Qt::blue, Qt::white), {Qt::yellow, Qt::black}}) {
            for (const int value : {1, 128})
                QVERIFY(colors(ItemFactory::number(value, {60, 30}, {fill, 8, {}, {}})).contains(QColor(ink).rgb()));
        }
        QVERIFY(!colors(text(u"i"_s, 20)).contains(qRgb(245, 245, 245)));
        Annotation plated = text(u"i"_s, 20);
        plated.plate = Annotation::Plate::light;
        QVERIFY(colors(plated).contains(qRgb(245, 245, 245)));
    }

    void coloursFollowTheProfile()
    {
        AnnotationDoc doc{plain(8, 6), {}, {item(Kind::line, {0, 3, 8, 0}, 4)}};
        doc.items[0].color = Qt::red;
        QCOMPARE(rendered(doc).pixelColor(4, 3), QColor(Qt::red));
        doc.source.pixels.setColorSpace(QColorSpace::DisplayP3);
        const QColor wide = rendered(doc).pixelColor(4, 3);
        QVERIFY2(wide.red() < 240 && wide.green() > 40, qPrintable(wide.name())); // sRGB's red in Display P3's numbers
        // A profile of grey says nothing about our colours.
        QByteArray grey = QColorSpace(QColorSpace::SRgb).iccProfile();
        doc.source.pixels.setColorSpace(QColorSpace::fromIccProfile(grey.replace(16, 4, "GRAY")));
        QCOMPARE(doc.source.pixels.colorSpace().iccProfile(), grey);
        QVERIFY(rendered(doc).colorSpace().iccProfile().isEmpty());
    }

    void tallPicture()
    {
        AnnotationDoc doc{plain(3, 40000), {}, {}};
        const QList<int> black{100, 16383, 33000, 39990};
        for (const int y : black)
            doc.items << item(Kind::line, {0, 40000 - y - 1.0, 3, 0}, 2);
        const QImage image = rendered(doc);
        for (int y = 1; y < image.height(); ++y)
            QCOMPARE(qGray(image.pixel(1, y)), black.contains(y) || black.contains(y - 1) ? 0 : 255);
    }
};

QTEST_MAIN(tst_AnnotationRenderer)
#include "tst_AnnotationRenderer.moc"
