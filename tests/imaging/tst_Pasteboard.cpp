#include "imaging/Pasteboard.h"
#include "tests/support/PngReference.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QtTest>

using namespace qm;

class tst_Pasteboard : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void offersPngOnceEncodedAndTheImageItself()
    {
        QImage pixels(40, 30, QImage::Format_RGB32);
        pixels.fill(0xff123456);
        Pasteboard::setImage({pixels, QSizeF(20, 15)});

        const QMimeData *data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data && data->hasImage());
        QVERIFY(data->hasFormat(QStringLiteral("x-kde-force-image-copy")));
        QCOMPARE(qvariant_cast<QImage>(data->imageData()), pixels);
        QCOMPARE(QGuiApplication::clipboard()->image(), pixels);

        const QByteArray png = data->data(QStringLiteral("image/png"));
        const PngReference read = PngReference::read(png);
        QCOMPARE(read.pixels, pixels.convertToFormat(QImage::Format_RGBA8888));
        QCOMPARE(read.dotsPerMetre, 5669u); // pasted at the size it had on the screen
        QCOMPARE(data->data(QStringLiteral("image/png")).constData(),
                 png.constData()); // the same bytes, not encoded again
    }

    void anEmptyPictureOffersNothingBroken()
    {
        Pasteboard::setImage({});
        const QMimeData *data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data && data->data(QStringLiteral("image/png")).isEmpty());
    }
};

QTEST_MAIN(tst_Pasteboard)
#include "tst_Pasteboard.moc"
