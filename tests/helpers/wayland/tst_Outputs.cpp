// Monitors as compositors describe them: turned pixels of any format, places of any scale, sway's tree of windows.

#include "helpers/wayland/OutputPicture.h"
#include "helpers/wayland/ShmBuffer.h"
#include "helpers/wayland/overlay/SwayTree.h"

#include <QTest>

#include <wayland-client-protocol.h>

using namespace qm;
using namespace Qt::StringLiterals;

using Outputs = QList<OutputLayout::Output>;
Q_DECLARE_METATYPE(Outputs)

class tst_Outputs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each letter is a pixel; the content is turned against the clock, after being mirrored left and right.
    void transforms_data()
    {
        QTest::addColumn<int>("transform");
        QTest::addColumn<bool>("isBottomUp");
        QTest::addColumn<QByteArray>("raw");
        const auto row = [](const char *name, int transform, bool isBottomUp, const char *raw) {
            QTest::newRow(name) << transform << isBottomUp << QByteArray(raw);
        };
        row("upright", 0, false, "abc/def");
        row("by 90", 1, false, "cf/be/ad");
        row("by 180", 2, false, "fed/cba");
        row("by 270", 3, false, "da/eb/fc");
        row("mirrored", 4, false, "cba/fed");
        row("mirrored, by 90", 5, false, "ad/be/cf");
        row("mirrored, by 180", 6, false, "def/abc");
        row("mirrored, by 270", 7, false, "fc/eb/da");
        row("bottom up", 0, true, "def/abc");
        row("bottom up, by 90", 1, true, "ad/be/cf");
    }
    void transforms()
    {
        QFETCH(int, transform);
        QFETCH(bool, isBottomUp);
        QFETCH(QByteArray, raw);
        const QByteArrayList rows = raw.split('/');
        const int padding = 2; // pixels after each row, which mean nothing
        std::shared_ptr<uint32_t> pixels(new uint32_t[64], std::default_delete<uint32_t[]>());
        const int line = int(rows[0].size()) + padding;
        for (int i = 0; i < rows.size() * line; ++i)
            pixels.get()[i] = i % line < rows[0].size() ? uint32_t(uchar(rows[i / line][i % line])) : uint32_t('?');
        const OutputPicture picture = upright({.size = {int(rows[0].size()), int(rows.size())},
                                               .bytesPerLine = line * 4,
                                               .format = WL_SHM_FORMAT_XRGB8888,
                                               .transform = transform,
                                               .isBottomUp = isBottomUp,
                                               .pixels = pixels});
        QByteArray seen;
        for (int y = 0; y < picture.size.height(); ++y) {
            for (int x = 0; x < picture.size.width(); ++x)
                seen += char(picture.row(y)[x] & 0xff);
            seen += '/';
        }
        QCOMPARE(seen, QByteArray("abc/def/"));
    }

    void formats_data()
    {
        QTest::addColumn<uint>("format");
        QTest::addColumn<uint>("raw");
        QTest::addColumn<bool>("isKnown");
        QTest::newRow("XRGB8888") << uint(WL_SHM_FORMAT_XRGB8888) << 0x00112233U << true;
        QTest::newRow("ARGB8888") << uint(WL_SHM_FORMAT_ARGB8888) << 0x7f112233U << true;
        QTest::newRow("XBGR8888") << uint(WL_SHM_FORMAT_XBGR8888) << 0x00332211U << true;
        QTest::newRow("ABGR8888") << uint(WL_SHM_FORMAT_ABGR8888) << 0x7f332211U << true;
        QTest::newRow("XRGB2101010") << uint(WL_SHM_FORMAT_XRGB2101010) << (0x047U << 20 | 0x08bU << 10 | 0x0cfU)
                                     << true;
        QTest::newRow("ABGR2101010") << uint(WL_SHM_FORMAT_ABGR2101010)
                                     << (1U << 30 | 0x0cfU << 20 | 0x08bU << 10 | 0x047U) << true;
        QTest::newRow("RGB565") << uint(WL_SHM_FORMAT_RGB565) << 0x1234U << false;
        QTest::newRow("of tomorrow") << 0x20202020U << 0x112233U << false;
    }
    void formats()
    {
        QFETCH(uint, format);
        QFETCH(uint, raw);
        QFETCH(bool, isKnown);
        for (const int transform : {0, 2}) {
            const OutputPicture picture = upright({.size = {1, 1},
                                                   .bytesPerLine = 4,
                                                   .format = format,
                                                   .transform = transform,
                                                   .pixels = std::make_shared<uint32_t>(raw)});
            QCOMPARE(picture.pixels != nullptr, isKnown);
            if (isKnown)
                QCOMPARE(*picture.row(0), 0xff112233U);
        }
    }

    // What a compositor may ask for, and nobody can give: rows too short or not of whole pixels, too many of them.
    void impossibleBuffers()
    {
        for (const auto &[size, bytesPerLine] :
             {std::pair(QSize(0, 10), 40), std::pair(QSize(10, -1), 40), std::pair(QSize(10, 10), 36),
              std::pair(QSize(10, 10), 42), std::pair(QSize(10, 10), -40), std::pair(QSize(30000, 30000), 120000)})
            QVERIFY2(!ShmBuffer::create(nullptr, size, bytesPerLine, WL_SHM_FORMAT_XRGB8888),
                     qPrintable(u"%1"_s.arg(bytesPerLine)));
    }

    void layouts_data()
    {
        QTest::addColumn<Outputs>("outputs");
        QTest::addColumn<QList<QPoint>>("corners");
        const Outputs::value_type plain{{0, 0, 800, 600}, {800, 600}};
        QTest::newRow("one, wherever it is") << Outputs{{{300, 200, 800, 600}, {800, 600}}} << QList<QPoint>{{0, 0}};
        QTest::newRow("fine right of plain")
            << Outputs{plain, {{800, 0, 600, 400}, {1200, 800}}} << QList<QPoint>{{0, 0}, {800, 0}};
        QTest::newRow("fine left of plain, somewhat lower")
            << Outputs{plain, {{-600, 100, 600, 400}, {1200, 800}}} << QList<QPoint>{{1200, 0}, {0, 100}};
        QTest::newRow("1.25 above turned") << Outputs{{{0, 0, 640, 480}, {800, 600}}, {{0, 480, 300, 400}, {300, 400}}}
                                           << QList<QPoint>{{0, 0}, {0, 600}};
        QTest::newRow("three in a row, of all scales") << Outputs{{{0, 0, 500, 400}, {1000, 800}},
                                                                  {{500, 0, 640, 480}, {800, 600}},
                                                                  {{1140, 0, 800, 600}, {800, 600}}}
                                                       << QList<QPoint>{{0, 0}, {1000, 0}, {1800, 0}};
        QTest::newRow("with a gap") << Outputs{plain, {{1000, 0, 800, 600}, {800, 600}}}
                                    << QList<QPoint>{{0, 0}, {1000, 0}};
        QTest::newRow("below the second")
            << Outputs{plain, {{800, 0, 600, 400}, {1200, 800}}, {{800, 400, 800, 600}, {800, 600}}}
            << QList<QPoint>{{0, 0}, {800, 0}, {800, 800}};
    }
    void layouts()
    {
        QFETCH(Outputs, outputs);
        QFETCH(QList<QPoint>, corners);
        const OutputLayout layout(outputs);
        for (int i = 0; i < outputs.size(); ++i) {
            QCOMPARE(layout.areas()[i], QRect(corners[i], outputs[i].pixels));
            // The whole of it, and its last pixel, from wherever the pointer was pressed.
            QCOMPARE(layout.pixels(outputs[i].logical), layout.areas()[i]);
            const QPointF last =
                outputs[i].logical.bottomRight() + QPointF(0.999, 0.999) - outputs[0].logical.topLeft();
            QCOMPARE(layout.pixelAt(0, last), layout.areas()[i].bottomRight());
        }
        QCOMPARE(layout.pixelAt(0, {-5000, -5000}), layout.areas()[0].topLeft());
        QCOMPARE(layout.pixels({-5000, -5000, 10, 10}), QRect());
    }

    // As sway 1.7 describes them; the monitor is of scale 2.
    void windows_data()
    {
        QTest::addColumn<QByteArray>("content");  // of a workspace
        QTest::addColumn<QList<QRect>>("frames"); // logical, bottom first
        const auto window = [](const QRect &rect, const QRect &bar, const char *more = "\"visible\": true",
                               const char *type = "con") -> QByteArray {
            const auto text = [](const QRect &r) {
                return u"{\"x\": %1, \"y\": %2, \"width\": %3, \"height\": %4}"_s.arg(r.x())
                    .arg(r.y())
                    .arg(r.width())
                    .arg(r.height())
                    .toUtf8();
            };
            return QByteArray("{\"pid\": 7, \"type\": \"") + type + "\", \"rect\": " + text(rect) +
                   ", \"deco_rect\": " + text(bar) + ", " + more + "}";
        };
        const auto container = [](const char *layout, const QByteArrayList &nodes,
                                  const QByteArrayList &floating = {}) {
            return QByteArray("{\"layout\": \"") + layout +
                   "\", \"rect\": {\"x\": 0, \"y\": 0, \"width\": 640, \"height\": 400}, \"nodes\": [" +
                   nodes.join(',') + "], \"floating_nodes\": [" + floating.join(',') + "]}";
        };
        const char shown[] = "\"visible\": true", hidden[] = "\"visible\": false",
                   full[] = "\"visible\": true, \"fullscreen_mode\": 1";
        const QRect half(0, 25, 320, 375), all(0, 25, 640, 375), stacked(0, 75, 640, 325);
        QTest::newRow("title bars") << container("splith", {window(half, {0, 0, 320, 25}),
                                                            window(half.translated(320, 0), {320, 0, 320, 25})})
                                    << QList<QRect>{{0, 0, 320, 400}, {320, 0, 320, 400}};
        QTest::newRow("without") << container("splith", {window({0, 0, 640, 400}, {})})
                                 << QList<QRect>{{0, 0, 640, 400}};
        QTest::newRow("tabs") << container("tabbed",
                                           {window(all, {0, 0, 320, 25}, hidden), window(all, {320, 0, 320, 25})})
                              << QList<QRect>{all};
        QTest::newRow("in a stack") << container("stacked", {window(stacked, {0, 0, 640, 25}, hidden),
                                                             window(stacked, {0, 25, 640, 25}),
                                                             window(stacked, {0, 50, 640, 25}, hidden)})
                                    << QList<QRect>{stacked};
        QTest::newRow("in a floating stack")
            << container(
                   "splith", {},
                   {container("stacked", {window(stacked, {0, 0, 640, 25}, hidden), window(stacked, {0, 25, 640, 25}),
                                          window(stacked, {0, 50, 640, 25}, hidden)})})
            << QList<QRect>{stacked};
        QTest::newRow("last of a stack") << container("stacked", {window(stacked, {0, 25, 640, 25}, hidden),
                                                                  window(stacked, {0, 50, 640, 25})})
                                         << QList<QRect>{stacked.adjusted(0, -25, 0, 0)};
        QTest::newRow("floating above a stack, full screen above all")
            << container("stacked", {window({0, 0, 640, 400}, {}, full), window(stacked, {0, 50, 640, 25})},
                         {window({100, 125, 200, 100}, {100, 100, 200, 25}, shown, "floating_con")})
            << QList<QRect>{stacked.adjusted(0, -25, 0, 0), {100, 100, 200, 125}, {0, 0, 640, 400}};
        QTest::newRow("of a hidden workspace") << container("splith", {window(all, {}, hidden)}) << QList<QRect>();
    }
    void windows()
    {
        QFETCH(QByteArray, content);
        QFETCH(QList<QRect>, frames);
        const OutputLayout layout({{{0, 0, 640, 400}, {1280, 800}}});
        const auto tree = [&](const QByteArray &output) -> QByteArray {
            return "{\"nodes\": [{\"name\": \"__i3\", \"nodes\": [" + content + "]}, {\"name\": \"" + output +
                   "\", \"nodes\": [" + content + "]}]}";
        };
        const auto found = swayWindows(tree("DP-1"), {u"DP-1"_s}, layout);
        QVERIFY(found);
        QCOMPARE(found->size(), frames.size());
        for (int i = 0; i < frames.size(); ++i)
            QCOMPARE((*found)[i].frame, layout.pixels(frames[i]));
        QVERIFY(!swayWindows(tree("HDMI-A-1"), {u"DP-1"_s}, layout)); // another sway
        QVERIFY(!swayWindows(tree("DP-1").chopped(1), {u"DP-1"_s}, layout));
    }
};

QTEST_APPLESS_MAIN(tst_Outputs)
#include "tst_Outputs.moc"
