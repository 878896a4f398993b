#include "imaging/ImageFile.h"
#include "imaging/Pasteboard.h"

#include <QBuffer>
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QTemporaryDir>
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
        QCOMPARE(QGuiApplication::clipboard()->image(), pixels);

        QByteArray png = data->data(QStringLiteral("image/png"));
        QVERIFY(data->data(QStringLiteral("image/png")).isSharedWith(png)); // not encoded again
        QBuffer buffer(&png);
        QVERIFY(buffer.open(QIODevice::ReadOnly));
        const Image pasted = ImageFile::load(buffer).image;
        QCOMPARE(pasted.pixels.convertToFormat(QImage::Format_RGB32), pixels);
        QCOMPARE(pasted.size, QSizeF(20, 15)); // as large as it was on the screen
    }

    void aFilesOwnBytesAreHandedOver()
    {
        const QImage pixels(8, 6, QImage::Format_RGB32);
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("a.png"));
        QVERIFY(pixels.save(path, "png", 0)); // not as our writer would
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        Pasteboard::setContent(Pasteboard::contentOf(path));
        QCOMPARE(QGuiApplication::clipboard()->mimeData()->data(QStringLiteral("image/png")), file.readAll());

        const QString photo = folder.filePath(QStringLiteral("a.jpg"));
        QVERIFY(pixels.save(photo));
        const Pasteboard::Content content = Pasteboard::contentOf(photo);
        QVERIFY(!content.image.isNull() && content.png.isEmpty());
    }
};

QTEST_MAIN(tst_Pasteboard)
#include "tst_Pasteboard.moc"
