#include "annotate/render/AnnotationRenderer.h"
#include "annotate/render/RenderCache.h"

#include "tests/support/Pixels.h"

#include <QPainter>
#include <QRandomGenerator>
#include <QTest>

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
        const int what = at < 0 ? 0 : int(m_random.bounded(100));
        if (what < 20)
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
        else if (what < 93)
            doc.crop.reset();
        else if (what < 95)
            doc.crop = QRectF(number(-20, 60), number(-20, 40), number(1, 60), number(1, 60));
        else if (what < 97)
            limit = m_random.bounded(4) ? std::optional(double(1 + m_random.bounded(200))) : std::nullopt;
        else
            doc.source = source();
    }

    QRect window() { return QRectF(number(-9, 50), number(-9, 50), number(1, 90), number(1, 90)).toRect(); }

private:
    double number(double from, double to) { return from + m_random.generateDouble() * (to - from); }
    QColor color() { return QColor::fromRgba(m_random.generate() | (m_random.bounded(2) ? 0xff000000u : 0)); }

    Annotation item()
    {
        const QRectF rect(number(-20, 90), number(-20, 70), number(-50, 50), number(-50, 50));
        const auto shape = Annotation::BlurShape(m_random.bounded(2));
        Annotation item{
            Kind(m_random.bounded(int(Annotation::lastKind) + 1)), rect, color(), number(0, 9), {}, shape, 0};
        if (item.kind == Kind::blur)
            item.rect = m_random.bounded(4) ? item.rect.normalized() : item.rect.normalized().toRect().toRectF();
        if (item.kind == Kind::text)
            item.text = QStringLiteral("Tg注釈").left(m_random.bounded(5));
        if (item.kind == Kind::number)
            item.text = QString::number(m_random.bounded(120));
        for (int i = item.kind == Kind::pen ? int(m_random.bounded(9)) : 0; i > 0; --i)
            item.points << QPointF(number(0, 1), number(0, 1));
        item.plate = Annotation::Plate(m_random.bounded(3));
        if (m_random.bounded(3) == 0)
            item.rotation = number(-4, 4);
        return item;
    }

    Image source()
    {
        const int scale = 1 + int(m_random.bounded(2));
        QImage pixels(QSize(80, 60) * scale, QImage::Format_ARGB32);
        m_random.fillRange(reinterpret_cast<quint32 *>(pixels.bits()), pixels.sizeInBytes() / 4);
        const QImage::Format formats[] = {QImage::Format_RGB32, QImage::Format_RGB32, QImage::Format_RGB888,
                                          QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied};
        return {pixels.convertToFormat(formats[m_random.bounded(5)]), QSizeF(80, 60)};
    }

    QRandomGenerator m_random;
};

} // namespace

class tst_RenderCache : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void samePixelsWithAndWithout()
    {
        int paintedInPlace = 0;
        for (quint32 seed = 1; seed <= 40; ++seed) {
            RandomEdits edits(seed);
            RenderCache cache;
            Image held; // now and then a caller keeps a frame
            QImage heldCopy, shownFrame;
            for (int step = 0; step < 120; ++step) {
                edits.step();
                const uchar *before = cache.frame.constBits();
                const Image fresh = AnnotationRenderer::render(edits.doc, edits.limit);
                const Image kept = AnnotationRenderer::render(edits.doc, edits.limit, &cache);
                QVERIFY2(kept.pixels == fresh.pixels && kept.pixels.format() == fresh.pixels.format(),
                         qPrintable(QStringLiteral("seed %1, step %2").arg(seed).arg(step)));
                QCOMPARE(kept.size, fresh.size);
                // A part of it is that part, but for rounding.
                const PixelGrid whole = PixelGrid::ofOutput(edits.doc, edits.limit);
                const QRect part = edits.window() & QRect({0, 0}, whole.pixels);
                if (!part.isEmpty())
                    QVERIFY(Pixels::near(AnnotationRenderer::renderPart(edits.doc, whole.part(part)).pixels,
                                         fresh.pixels.copy(part), 2));
                QCOMPARE(held.pixels, heldCopy);
                paintedInPlace += cache.frame.constBits() == before && cache.changed != QRegion(kept.pixels.rect());
                // A canvas that shows only what changed shows everything.
                if (shownFrame.size() != kept.pixels.size() || shownFrame.format() != kept.pixels.format())
                    shownFrame = QImage(kept.pixels.size(), kept.pixels.format());
                QPainter painter(&shownFrame);
                painter.setCompositionMode(QPainter::CompositionMode_Source);
                for (const QRect &rect : cache.changed)
                    painter.drawImage(rect, kept.pixels, rect);
                painter.end();
                QCOMPARE(shownFrame, kept.pixels);
                if (step % 10 == 0) {
                    held = kept;
                    heldCopy = kept.pixels.copy();
                }
            }
        }
        QVERIFY2(paintedInPlace > 3000, qPrintable(QString::number(paintedInPlace)));
    }
};

QTEST_MAIN(tst_RenderCache)
#include "tst_RenderCache.moc"
