#include "imaging/Deflater.h"
#include "imaging/PrefixCode.h"
#include "tests/support/PngForge.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cmath>

using namespace qm;

namespace {

QByteArray deflated(const QByteArray &bytes, int pixel, qint64 row, qsizetype step)
{
    QByteArray out;
    Deflater deflater(pixel, row, size_t(step), [&](const uchar *part, size_t count) {
        out.append(reinterpret_cast<const char *>(part), qsizetype(count));
    });
    for (qsizetype at = 0; at < bytes.size(); at += step) {
        const size_t count = size_t(qMin(step, bytes.size() - at));
        std::memcpy(deflater.room(), bytes.constData() + at, count);
        deflater.add(count);
    }
    deflater.finish();
    return out;
}

QByteArray noise(qsizetype size, int values = 256)
{
    QRandomGenerator random(11);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = char(random.bounded(values));
    return bytes;
}

} // namespace

class tst_Deflater : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void comesBack_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("pixel");
        QTest::addColumn<int>("row");
        QTest::addColumn<int>("largest"); // bytes it may take
        const auto row = [](const QByteArray &name, const QByteArray &bytes, int pixel, int distance,
                            qsizetype largest) {
            QTest::newRow(name.constData()) << bytes << pixel << distance << int(largest);
        };
        row("nothing", {}, 3, 10, 20);
        row("one byte", "a", 3, 10, 20);
        row("zeros, as before the beginning", QByteArray(1'000'000, 0), 4, 401, 1200);
        row("noise", noise(300'000), 3, 3001, 302'000);
        row("few values", noise(300'000, 3), 3, 3001, 100'000);
        QByteArray grain = noise(300'000, 9), more = noise(300'001, 9).mid(1);
        for (int i = 0; i < grain.size(); ++i)
            grain[i] = char(grain[i] + more[i] - 8);
        row("what a filter leaves of a photograph", grain, 3, 12'001, 150'000); // 145,346 by its entropy
        row("rows beyond the window", noise(50'000) + noise(50'000), 4, 50'000, 102'000);
        for (const int distance : {1, 2, 3, 4, 5, 31, 32, 33, 257, 258, 259, 32'766, 32'767, 32'768, 40'000}) {
            const QByteArray repeated = noise(distance).repeated(100'000 / distance + 1);
            const qsizetype fresh = distance <= 32'768 ? distance : repeated.size();
            // The hash remembers few places, fewer where nothing repeats for long, and none as far as can be.
            row("every " + QByteArray::number(distance) + " bytes, by hash", repeated, 4, 999,
                distance == 32'768 ? repeated.size() + 1200 : fresh * 135 / 100 + 1200);
            row("every " + QByteArray::number(distance) + " bytes, a row", repeated, 4, distance,
                fresh * 103 / 100 + 600);
        }
    }

    void comesBack()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, pixel);
        QFETCH(int, row);
        QFETCH(int, largest);
        for (const int step : {1, 61, 4097, 131'072}) {
            const QByteArray part = bytes.left(step == 1 ? 3000 : bytes.size());
            const QByteArray stream = deflated(part, pixel, row, step);
            const PngForge::Inflated back = PngForge::inflated(stream, part.size());
            QVERIFY2(back.whole && back.taken == stream.size() && back.raw == part, qPrintable(QString::number(step)));
            QVERIFY2(step < 4000 || stream.size() <= largest, qPrintable(QString::number(stream.size())));
            QCOMPARE(deflated(part, pixel, row, step), stream);
        }
    }

    void codesAreCompleteAndWithinTheLimit_data()
    {
        using Counts = std::vector<quint32>;
        QTest::addColumn<Counts>("counts");
        QTest::addColumn<int>("longest");
        QTest::addColumn<Counts>("lengths"); // where they are known
        QTest::newRow("textbook") << Counts{5, 9, 12, 13, 16, 45} << 15 << Counts{4, 4, 3, 3, 3, 1};
        QTest::newRow("unused ones between") << Counts{0, 7, 0, 0, 7, 0, 20} << 15 << Counts{0, 2, 0, 0, 2, 0, 1};
        QTest::newRow("none used") << Counts(30) << 15 << Counts{};
        QTest::newRow("only the last") << Counts{0, 0, 9} << 15 << Counts{1, 0, 1};
        QTest::newRow("all alike") << Counts(286, 1) << 15 << Counts{};
        Counts fibonacci{1, 1};
        while (fibonacci.size() < 40)
            fibonacci.push_back(fibonacci.end()[-1] + fibonacci.end()[-2]);
        QTest::newRow("would be 39 deep") << fibonacci << 15 << Counts{};
        QTest::newRow("19 in 7 bits") << Counts(fibonacci.begin(), fibonacci.begin() + 19) << 7 << Counts{};
    }

    void codesAreCompleteAndWithinTheLimit()
    {
        QFETCH(std::vector<quint32>, counts);
        QFETCH(int, longest);
        QFETCH(std::vector<quint32>, lengths);
        const PrefixCode code = PrefixCode::of(counts, longest);
        double claimed = 0;
        for (size_t i = 0; i < counts.size(); ++i) {
            QVERIFY(code.lengths[i] <= longest && (counts[i] == 0 || code.lengths[i] > 0));
            claimed += code.lengths[i] ? std::exp2(-code.lengths[i]) : 0;
            for (size_t k = 0; k < counts.size(); ++k)
                QVERIFY2(counts[i] <= counts[k] || counts[k] == 0 || code.lengths[i] <= code.lengths[k],
                         "the more often, the shorter");
            if (i < lengths.size())
                QCOMPARE(quint32(code.lengths[i]), lengths[i]);
        }
        QCOMPARE(claimed, 1.0);
    }
};

QTEST_GUILESS_MAIN(tst_Deflater)
#include "tst_Deflater.moc"
