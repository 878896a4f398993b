#include "annotate/render/AnnotationRenderer.h"
#include "annotate/render/RenderCache.h"

#include <QRandomGenerator>
#include <QTest>

#include <cstring>

using namespace qm;
using Kind = Annotation::Kind;

namespace {

// Documents changed at random as an editor changes them.
class RandomEdits
{
public:
    explicit RandomEdits(quint32 seed)
        : m_random(seed)
    {
        doc.source = source();
    }

    AnnotationDoc doc;
    std::optional<double> limit;

    void step()
    {
        const int at = doc.items.isEmpty() ? -1 : int(m_random.bounded(doc.items.size()));
        const int what = int(m_random.bounded(100));
        if (at < 0 || what < 20)
            doc.items.insert(m_random.bounded(doc.items.size() + 1), item());
        else if (what < 26)
            doc.items.removeAt(at);
        else if (what < 60)
            doc.items[at].rect.translate(number(-9, 9), number(-9, 9));
        else if (what < 70)
            doc.items[at].rect.setSize({number(-40, 40), number(-40, 40)});
        else if (what < 78)
            doc.items[at].rotation = m_random.bounded(2) ? number(-4, 4) : 0;
        else if (what < 84)
            doc.items[at].color = color();
        else if (what < 88)
            doc.items[at] = item();
        else if (what < 90)
            doc.items.swapItemsAt(at, 0);
        else if (what < 92)
            doc.items.clear();
        else if (what < 94)
            doc.crop = m_random.bounded(3)
                           ? std::optional(QRectF(number(-20, 60), number(-20, 40), number(1, 60), number(1, 60)))
                           : std::nullopt;
        else if (what < 97)
            limit = m_random.bounded(4) ? std::optional(double(1 + m_random.bounded(200))) : std::nullopt;
        else
            doc.source = source();
    }

private:
    double number(double from, double to) { return from + m_random.generateDouble() * (to - from); }
    QColor color() { return QColor::fromRgba(m_random.generate() | (m_random.bounded(2) ? 0xff000000u : 0)); }

    Annotation item()
    {
        Annotation item{Kind(m_random.bounded(6)),
                        QRectF(number(-20, 90), number(-20, 70), number(-50, 50), number(-50, 50)),
                        color(),
                        number(0, 9),
                        {},
                        Annotation::BlurShape(m_random.bounded(2)),
                        0};
        if (item.kind == Kind::blur)
            item.rect = m_random.bounded(4) ? item.rect.normalized() : item.rect.normalized().toRect().toRectF();
        if (item.kind == Kind::text)
            item.text = QStringLiteral("Tg注釈").left(m_random.bounded(5));
        if (m_random.bounded(3) == 0)
            item.rotation = number(-4, 4);
        return item;
    }

    Image source()
    {
        const int scale = 1 + int(m_random.bounded(2));
        QImage pixels(QSize(80, 60) * scale, QImage::Format_ARGB32);
        for (int y = 0; y < pixels.height(); ++y) {
            for (int x = 0; x < pixels.width(); ++x)
                pixels.setPixel(x, y, m_random.generate());
        }
        const QImage::Format formats[] = {QImage::Format_RGB32, QImage::Format_RGB32, QImage::Format_RGB888,
                                          QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied};
        return {pixels.convertToFormat(formats[m_random.bounded(5)]), QSizeF(80, 60)};
    }

    QRandomGenerator m_random;
};

} // namespace

static void copyRect(const QImage &from, QImage &to, const QRect &rect)
{
    if (to.size() != from.size() || to.format() != from.format())
        to = QImage(from.size(), from.format());
    for (int y = rect.top(); y <= rect.bottom(); ++y)
        std::memcpy(to.scanLine(y) + rect.left() * 4, from.constScanLine(y) + rect.left() * 4,
                    size_t(rect.width()) * 4);
}

class tst_RenderCache : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void samePixelsWithAndWithout()
    {
        int shown = 0;
        for (quint32 seed = 1; seed <= 40; ++seed) {
            RandomEdits edits(seed);
            RenderCache cache;
            Image held; // now and then a caller keeps a frame
            QImage heldCopy, shownFrame;
            for (int step = 0; step < 120; ++step) {
                edits.step();
                const Image fresh = AnnotationRenderer::render(edits.doc, edits.limit);
                const Image kept = AnnotationRenderer::render(edits.doc, edits.limit, &cache);
                QVERIFY2(kept.pixels == fresh.pixels && kept.pixels.format() == fresh.pixels.format(),
                         qPrintable(QStringLiteral("seed %1, step %2").arg(seed).arg(step)));
                QCOMPARE(kept.size, fresh.size);
                for (const QRect &rect : cache.changed)
                    copyRect(kept.pixels, shownFrame, rect);
                QCOMPARE(shownFrame, kept.pixels); // a canvas that shows only what changed shows everything
                QCOMPARE(held.pixels, heldCopy);
                if (step % 10 == 0) {
                    held = kept;
                    heldCopy = kept.pixels.copy();
                }
                shown += !edits.doc.items.isEmpty();
            }
        }
        QVERIFY(shown > 3000);
    }

    void keepsWhatDidNotChange()
    {
        RandomEdits edits(3);
        for (int i = 0; i < 12; ++i)
            edits.step();
        AnnotationDoc doc = edits.doc;
        doc.items = {Annotation{Kind::blur, {10, 10, 40, 30}, {}, 3, {}, {}, 0},
                     Annotation{Kind::text, {10, 10, 40, 12}, Qt::red, 3, QStringLiteral("still"), {}, 0}};
        RenderCache cache;
        AnnotationRenderer::render(doc, 70, &cache);
        const uchar *frame = cache.frame.constBits();
        const qint64 base = cache.base.cacheKey(), patch = cache.items[0].patch.pixels.cacheKey();
        doc.items[1].rect.translate(3, 3);
        AnnotationRenderer::render(doc, 70, &cache);
        QCOMPARE(cache.frame.constBits(), frame); // painted in place
        QVERIFY(cache.changed.boundingRect().height() < cache.frame.height() / 2);
        QCOMPARE(cache.base.cacheKey(), base);
        QCOMPARE(cache.items[0].patch.pixels.cacheKey(), patch);
    }
};

QTEST_MAIN(tst_RenderCache)
#include "tst_RenderCache.moc"
