#include "imaging/PrefixCode.h"
#include "tests/imaging/DeflaterDriver.h"
#include "tests/support/PngForge.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cmath>

using namespace qm;

static QByteArray noise(qsizetype size, int values = 256)
{
    QRandomGenerator random(11);
    QByteArray bytes(size, Qt::Uninitialized);
    for (char &byte : bytes)
        byte = char(random.bounded(values));
    return bytes;
}

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
            const QByteArray stream = deflatedInSteps(part, pixel, row, step);
            const PngForge::Inflated back = PngForge::inflated(stream, part.size());
            QVERIFY2(back.whole && back.taken == stream.size() && back.raw == part, qPrintable(QString::number(step)));
            QVERIFY2(step < 4000 || stream.size() <= largest, qPrintable(QString::number(stream.size())));
            QCOMPARE(deflatedInSteps(part, pixel, row, step), stream);
        }
    }

    // Where positions no longer fit 32 bits. What has gone before is the window's last zeros.
    void beyondFourGigabytes()
    {
        const QByteArray bytes = noise(300'000, 3), zeros(32'768, 0);
        for (const qint64 before : {qint64(zeros.size()), (qint64(1) << 32) - 150'000, qint64(1) << 40}) {
            const QByteArray stream = deflatedInSteps(bytes, 3, 3001, 4097, before);
            QCOMPARE(PngForge::inflated(stream, bytes.size(), zeros).raw, bytes);
        }
    }

    // Whatever is counted: some symbols never, others so seldom that their codes would be too long.
    void codesAreCompleteAndWithinTheLimit()
    {
        QRandomGenerator random(3);
        for (int round = 0; round < 500; ++round) {
            const bool few = round % 2;
            const int longest = few ? 7 : 15;
            std::vector<quint32> counts(size_t(random.bounded(2, few ? 20 : 287)));
            for (quint32 &count : counts)
                count = random.bounded(3) ? quint32(std::exp2(random.bounded(20.0))) : 0;
            const PrefixCode code = PrefixCode::of(counts, longest);
            double claimed = 0;
            for (size_t i = 0; i < counts.size(); ++i) {
                QVERIFY(code.lengths[i] <= longest && (counts[i] == 0 || code.lengths[i] > 0));
                claimed += code.lengths[i] ? std::exp2(-code.lengths[i]) : 0;
                for (size_t k = 0; k < counts.size(); ++k)
                    QVERIFY2(counts[i] <= counts[k] || counts[k] == 0 || code.lengths[i] <= code.lengths[k],
                             "the more often, the shorter");
            }
            QCOMPARE(claimed, 1.0);
        }
    }
};

QTEST_GUILESS_MAIN(tst_Deflater)
#include "tst_Deflater.moc"
