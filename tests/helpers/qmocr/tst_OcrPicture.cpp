#include "helpers/qmocr/Columns.h"
#include "helpers/qmocr/Doubts.h"
#include "helpers/qmocr/Frames.h"
#include "helpers/qmocr/InkPlaces.h"
#include "helpers/qmocr/Preprocess.h"
#include "helpers/qmocr/ReadingOrder.h"
#include "helpers/qmocr/Rows.h"
#include "helpers/qmocr/Slices.h"
#include "helpers/qmocr/Text.h"

#include <QRandomGenerator>
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
    void gray()
    {
        const std::tuple<QImage::Format, QColor, int> rows[] = {
            {QImage::Format_RGB32, QColor(255, 0, 0), 76},    {QImage::Format_RGB888, QColor(0, 255, 0), 149},
            {QImage::Format_RGBA64, QColor(0, 0, 255), 28},   {QImage::Format_Indexed8, QColor(10, 10, 10), 10},
            {QImage::Format_ARGB32, QColor(0, 0, 0, 0), 255}, // transparent is white
        };
        for (const auto &[format, color, expected] : rows) {
            QImage picture(5, 150, format); // more rows than one band has
            picture.setColorTable({color.rgba()});
            format == QImage::Format_Indexed8 ? picture.fill(0) : picture.fill(color);
            const QImage result = toGray(picture);
            QCOMPARE(result.size(), picture.size());
            QCOMPARE(level(result, 4, 149), expected);
            QCOMPARE(level(result, 0, 0), expected);
        }
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

    void surfaces()
    {
        // A button and a label on it; on the row of a list, letters that reach from edge to edge; a bar that fades.
        const auto draw = [](int page, int surface, int ink) {
            QImage picture = plain({600, 200}, page);
            fill(picture, {50, 20, 84, 26}, surface);
            fill(picture, {49, 22, 1, 22}, (page + surface) / 2); // a smooth edge
            for (int x = 60; x < 120; x += 6)
                fill(picture, {x, 27, 2, 12}, ink);
            fill(picture, {50, 80, 500, 16}, surface);
            for (int x = 50; x < 548; x += 5)
                if (x % 35 != 30) // a blank
                    fill(picture, {x, 82, 2, 11}, ink);
            for (int x = 0; x < 600; ++x)
                fill(picture, {x, 140, 1, 30}, surface + x * 60 / 600);
            for (int x = 0; x < 600; x += 8)
                fill(picture, {x, 148, 2, 12}, ink);
            return picture;
        };
        const std::tuple<int, int, int> rows[] = {{250, 90, 255}, {30, 120, 250}, {255, 140, 0}, {0, 190, 0}};
        for (const auto &[page, surface, ink] : rows) {
            const QImage result = normalised(draw(page, surface, ink));
            for (const QPoint ground : {QPoint(55, 35),
                                        {49, 30},
                                        {129, 22},
                                        {40, 30},
                                        {69, 24},
                                        {63, 81},
                                        {63, 95},
                                        {538, 88},
                                        {20, 88},
                                        {596, 141},
                                        {300, 165},
                                        {300, 120}})
                QVERIFY2(level(result, ground.x(), ground.y()) > 200,
                         qPrintable(QStringLiteral("%1 %2 on %3").arg(ground.x()).arg(ground.y()).arg(page)));
            for (const QPoint letter : {QPoint(60, 30), {115, 38}, {50, 88}, {545, 84}, {304, 150}, {1, 159}})
                QVERIFY2(level(result, letter.x(), letter.y()) < 100,
                         qPrintable(QStringLiteral("%1 %2 on %3").arg(letter.x()).arg(letter.y()).arg(page)));
        }
    }

    // Bold letters on a ground without any surface, whose grey changes from pixel to pixel.
    void photographs()
    {
        QImage picture = plain({600, 120}, 0);
        QRandomGenerator random(1);
        for (int y = 0; y < 120; ++y)
            for (int x = 0; x < 600; ++x)
                picture.scanLine(y)[x] = uchar(60 + x / 12 + random.bounded(40));
        for (int x = 20; x < 300; x += 6)
            fill(picture, {x, 46, 4, 12}, 255);
        const QImage result = normalised(picture);
        QVERIFY(level(result, 21, 50) < 100 && level(result, 159, 50) < 100 && level(result, 297, 57) < 100);
        QVERIFY(Components::dark(result, darkBelow).all().size() < 60); // 47 of them are the letters
    }

    // Two bars of a table as high as their letters, one upon the other, and one of two characters.
    void tightBars()
    {
        QImage picture = plain({400, 120}, 255);
        fill(picture, {20, 20, 150, 14}, 60);
        fill(picture, {20, 34, 150, 14}, 130);
        fill(picture, {19, 20, 1, 28}, 180); // a smooth end
        for (int x = 24; x < 164; x += 6) {
            fill(picture, {x, 20, 2, 13}, 255);
            fill(picture, {x, 36, 2, 12}, 0);
        }
        fill(picture, {20, 80, 26, 20}, 0);
        fill(picture, {24, 84, 18, 3}, 255);
        removeFrames(picture, 10);
        for (const QPoint ground : {QPoint(22, 25), {19, 25}, {27, 30}, {168, 40}, {27, 47}, {22, 84}})
            QCOMPARE(level(picture, ground.x(), ground.y()), 255);
        for (const QPoint letter : {QPoint(24, 20), {150, 30}, {24, 40}, {150, 47}, {30, 85}})
            QVERIFY(level(picture, letter.x(), letter.y()) < darkBelow);
    }

    void frames()
    {
        QImage picture = plain({400, 200}, 255);
        fill(picture, {20, 20, 300, 40}, 180); // a field, then its inside and a letter in it
        fill(picture, {21, 21, 298, 38}, 255);
        fill(picture, {40, 30, 3, 16}, 0);
        fill(picture, {20, 100, 300, 1}, 0); // a rule with a letter upon it
        fill(picture, {60, 88, 8, 12}, 0);
        fill(picture, {20, 150, 60, 10}, 0); // a heading's letter
        removeFrames(picture, 10);
        for (const QPoint gone : {QPoint(20, 20), {150, 59}, {319, 40}, {30, 100}, {319, 100}})
            QCOMPARE(level(picture, gone.x(), gone.y()), 255);
        for (const QPoint kept : {QPoint(41, 38), {62, 90}, {67, 98}, {50, 155}})
            QCOMPARE(level(picture, kept.x(), kept.y()), 0);
    }

    void placesByInk()
    {
        // What there is, as first pixel and width: an icon, four characters of which the second has two parts and the
        // last two touch, then a word of four letters.
        QImage picture = plain({300, 40}, 255);
        for (const auto &[left, width] : {std::pair(10, 12),
                                          {42, 18},
                                          {63, 5},
                                          {74, 5},
                                          {82, 19},
                                          {103, 17},
                                          {135, 9},
                                          {146, 8},
                                          {156, 9},
                                          {167, 8}})
            fill(picture, {left, 10, width, 20}, 0);
        fill(picture, {101, 20, 2, 3}, 0);
        Line line{{40, 8, 140, 24}, QStringLiteral("小川音声 page"), {}};
        for (int i = 0; i < 4; ++i)
            line.words += {i, 1, {48 + 20 * i, 8, 30, 24}}; // up to a character off
        line.words += {5, 4, {120, 8, 60, 24}};
        Line nonsense{line.box, QStringLiteral("x"), {{0, 1, {50, 8, 9, 24}}}};
        placeByInk(line, picture);
        const std::pair<int, int> expected[] = {{42, 18}, {63, 16}, {82, 19}, {103, 17}, {135, 40}};
        for (int i = 0; i < 5; ++i) {
            const QRect box = line.words[i].box;
            QVERIFY2(std::abs(box.left() - expected[i].first) <= 2 && std::abs(box.width() - expected[i].second) <= 2,
                     qPrintable(QStringLiteral("%1: %2 %3").arg(i).arg(box.left()).arg(box.width())));
            QCOMPARE(box.top(), 10);
            QCOMPARE(box.height(), 20);
        }
        QVERIFY(line.box.left() == 42 && line.box.height() == 20);
        placeByInk(nonsense, picture);
        QCOMPARE(nonsense.words[0].box, QRect(50, 8, 9, 24));
    }

    void columns()
    {
        // The letters' size and their distances, and how many of them there are across and down.
        const std::tuple<QSize, QSize, QSize, bool> rows[] = {
            {{18, 16}, {34, 20}, {4, 12}, true},  {{18, 16}, {20, 34}, {12, 8}, false},
            {{18, 16}, {34, 20}, {1, 6}, true},   {{18, 16}, {34, 20}, {1, 3}, false}, // one column; hardly one
            {{10, 20}, {12, 30}, {1, 12}, false}, {{20, 20}, {50, 44}, {1, 8}, false}, // narrow letters; icons
            {{18, 40}, {60, 200}, {1, 1}, false}, {{18, 16}, {34, 23}, {8, 8}, true},  // wide spacing
            {{18, 16}, {21, 22}, {8, 8}, false},  {{4, 60}, {90, 62}, {3, 6}, false},  // either way; rules
        };
        for (const auto &[letter, pitch, count, expected] : rows) {
            QImage picture = plain({600, 500}, 255);
            QRect all;
            for (int column = 0; column < count.width(); ++column)
                for (int i = 0; i < count.height() - column; ++i) { // and the last one is short
                    const QRect box(QPoint(40 + column * pitch.width(), 30 + i * pitch.height()), letter);
                    fill(picture, box, 0);
                    all |= box;
                }
            const QList<Columns> found = columnsAmong(Components::dark(picture, darkBelow));
            const QString row = QStringLiteral("%1 %2").arg(pitch.width()).arg(pitch.height());
            QVERIFY2(found.size() == expected, qPrintable(row));
            if (expected)
                QVERIFY2(found[0].box == all && found[0].em == letter.width(), qPrintable(row));
        }
    }

    // Two characters made of bars, which are 2 and 4 pixels apart; a sentence cut by an underscore; and an icon.
    void doubts()
    {
        QImage picture = plain({600, 200}, 255);
        for (int x : {20, 36})
            for (int y : {20, 24, 30})
                fill(picture, {x, y, 14, 2}, 0);
        for (int i = 0; i < 24; ++i)
            if (i != 8)
                fill(picture, {200 + 12 * i - (i > 8 ? 6 : 0), 80, 10, 12}, 0);
        fill(picture, {294, 92, 8, 1}, 0);
        for (int i = 0; i < 5; ++i)
            fill(picture, {200 + 12 * i, 110, 10, 12}, 0); // the next line
        fill(picture, {20, 150, 10, 10}, 0);
        const QList<QRect> rows = rowsAmong(Components::dark(picture, darkBelow), 9);
        const QRect bars(20, 20, 30, 12), sentence(200, 80, 280, 13), below(200, 110, 58, 12);
        QVERIFY(rows.size() == 4 && rows.contains(bars) && rows.contains(sentence) && rows.contains(below));

        const auto read = [](const QRect &box, const QString &text, double confidence) {
            return Line{box, text, {}, {{.text = text, .box = box, .confidence = confidence}}};
        };
        const Line upper = read({20, 20, 30, 6}, QStringLiteral("="), 95);
        const Line lower = read({20, 30, 30, 2}, QStringLiteral("="), 95);
        const Line left = read({200, 80, 94, 12}, QStringLiteral("旅"), 95);
        const Line right = read({302, 80, 178, 12}, QStringLiteral("京"), 95);
        const Line sure = read(below, QStringLiteral("sure"), 90), unsure = read(below, QStringLiteral("unsure"), 70);
        const std::tuple<QList<Line>, QList<QRect>, QList<qsizetype>> cases[] = {
            {{right, upper, sure, left, lower}, {bars, sentence}, {1, 4, 3, 0}}, // fragments
            {{left, right, unsure}, {bars, sentence, below}, {0, 1, 2}},         // bars, too, as nothing is read there
        };
        for (const auto &[lines, areas, indexes] : cases) {
            QList<QRect> gotAreas;
            QList<qsizetype> gotIndexes;
            for (const Doubt &doubt : doubtsAmong(lines, rows, 9)) {
                gotAreas += doubt.area;
                gotIndexes += doubt.lines;
                QCOMPARE(doubt.isJapanese, doubt.area != below);
            }
            std::sort(gotAreas.begin(), gotAreas.end(), [](auto &a, auto &b) { return a.top() < b.top(); });
            QCOMPARE(gotAreas, areas);
            QCOMPARE(gotIndexes, indexes);
        }
    }

    void charactersApart()
    {
        const std::tuple<QSize, int, int> rows[] = {
            {{20, 20}, 44, 1},
            {{12, 20}, 40, 1}, // in the cells of a terminal
            {{20, 20}, 56, 5},
            {{40, 20}, 64, 5}, // icons; cells with two characters each
        };
        for (const auto &[size, pitch, expected] : rows) {
            QImage picture = plain({400, 60}, 255);
            for (int i = 0; i < 5; ++i)
                fill(picture, {QPoint(20 + i * pitch, 20), size}, 0);
            QCOMPARE(rowsAmong(Components::dark(picture, darkBelow), 20).size(), expected);
        }
    }

    // Where each line of a page goes if it alone was left out: between two in its row, or rows; beside higher ones.
    void order()
    {
        const QList<QRect> page{{20, 20, 120, 20},  {220, 24, 120, 20}, {420, 16, 120, 28},
                                {220, 50, 120, 20}, {20, 80, 120, 20},  {220, 74, 300, 30}};
        for (qsizetype missing = 0; missing < page.size(); ++missing) {
            QList<Line> lines;
            for (const QRect &box : page)
                lines += {box, QStringLiteral("x"), {}};
            const Line line = lines.takeAt(missing);
            insertInOrder(lines, line);
            QCOMPARE(lines[missing].box, line.box);
        }
    }

    void lettersHeights()
    {
        const std::tuple<int, QSize, int> rows[] = {
            {30, {6, 12}, 12}, {20, {30, 60}, 60}, {19, {6, 12}, 0},  // too few to tell
            {30, {2, 3}, 0},   {30, {90, 5}, 0},   {30, {90, 90}, 0}, // dust, rules, boxes
        };
        for (const auto &[count, spot, expected] : rows) {
            QImage picture = plain({1000, 1200}, 255);
            for (int i = 0; i < count; ++i)
                fill(picture, {QPoint(10 + i % 10 * 97, 10 + i / 10 * 97), spot}, 0);
            QCOMPARE(textHeight(Components::dark(picture, darkBelow)), expected);
        }
    }

    void readingScales()
    {
        const std::tuple<int, QSize, double> rows[] = {
            {8, {800, 600}, 2.5},
            {4, {800, 600}, 3.0}, // tiny text
            {60, {800, 600}, 1.0},
            {0, {1, 1}, 2.0}, // large text is never shrunk; unknown
            {7, {4000, 2000}, std::sqrt(2.0)},
            {7, {8000, 8000}, 0.5},
            {10, {20000, 10}, 1.6}, // as far as the area, the side goes
        };
        for (const auto &[height, size, expected] : rows)
            QCOMPARE(readingScale(height, size), expected);
    }

    void pieces()
    {
        const std::pair<QSize, bool> rows[] = {
            {{1, 1}, true},        {{2880, 1800}, true}, {{2880, 30000}, false}, // a screen, a scrolling capture
            {{300, 60000}, false}, {{100000, 3}, false}, {{12000, 9000}, false},
        };
        for (const auto &[size, whole] : rows) {
            const QList<QRect> pieces = slices(plain(size, 255));
            QCOMPARE(pieces.size() == 1, whole);
            QRegion covered;
            qint64 read = 0;
            for (int i = 0; i < pieces.size(); ++i) {
                const QRect piece = pieces[i], before = pieces[std::max(0, i - 1)];
                QVERIFY(qint64(piece.width()) * piece.height() < 8'000'000);
                covered += piece;
                read += qint64(piece.width()) * piece.height();
                const bool below = piece.left() == before.left();
                if (i > 0) // neighbours share the overlap
                    QCOMPARE(below ? before.bottom() + 1 - piece.top() : before.right() + 1 - piece.left(), overlap);
            }
            QVERIFY(covered == QRegion(QRect(QPoint(), size)));
            // Pieces cost no more than they must: the parts that are read twice stay small.
            QVERIFY(whole || read < qint64(size.width()) * size.height() * 14 / 10);
        }
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

    // Lines straddle the cut here, as in a page of several columns, where no row is blank. Each piece "reads" the lines it
    // holds, and the stumps of those that it cuts.
    void seams()
    {
        static constexpr int width = 1000, total = 3000, piece = 1000;
        // Pixels from line to line, and of a line; and those by which two readings of it differ.
        const std::tuple<int, int, int> rows[] = {{14, 10, 0}, {14, 10, 2}, {70, 50, 3}, {120, 96, 2}};
        for (const auto &[pitch, height, jitter] : rows)
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
                            read[i] += {seen, seen == line ? expected.last() : QStringLiteral("stump"), {}};
                    }
                }
                for (const Line &line : joined(pieces, read))
                    got += line.text;
                QCOMPARE(got, expected);
            }
    }

    // Rows of words through two cuts; what a piece sees of a word that it cuts reads as "stump".
    void seamsBeside()
    {
        static constexpr int width = 3000, piece = 1200, pitch = 50;
        for (int shift = 0; shift < pitch; ++shift) {
            QList<QRect> pieces;
            for (int left = 0; left + overlap < width; left += piece - overlap)
                pieces += QRect(left, 0, std::min(piece, width - left), 400);
            QList<QList<Line>> read(pieces.size());
            QStringList expected, got;
            for (int row = 0; row < 3; ++row)
                for (int i = 0; i < pieces.size(); ++i) {
                    QList<Symbol> symbols;
                    for (int x = shift + 700 * row; x + 40 <= width - 300 * row; x += pitch) {
                        const QRect word(x + (i % 2 ? 3 : 0), 20 + 60 * row + i % 2, 40, 20), seen = word & pieces[i];
                        const QString text = QStringLiteral("%1:%2").arg(row).arg(x);
                        if (i == 0)
                            expected += text;
                        if (!seen.isEmpty())
                            symbols += {seen == word ? text : QStringLiteral("stump"), seen, true, true};
                    }
                    if (const std::optional<Line> line = lineOf(symbols))
                        read[i] += *line;
                }
            for (const Line &line : joined(pieces, read))
                got += line.text.split(u' ');
            got.sort();
            expected.sort();
            QCOMPARE(got, expected);
        }
    }
};

QTEST_GUILESS_MAIN(tst_OcrPicture)
#include "tst_OcrPicture.moc"
