#include "imaging/DecoderProcess.h"
#include "imaging/ImageFile.h"
#include "imaging/RowStream.h"
#include "imaging/Thumbnailer.h"
#include "tests/support/TempHome.h"

#include <QBuffer>
#include <QColorSpace>
#include <QDir>
#include <QImageReader>
#include <QProcess>
#include <QtTest>

using namespace qm;
using namespace Qt::StringLiterals;

namespace {

// Takes everything.
class Taken : public RowSink
{
public:
    bool begin(const PictureHeader &) override { return true; }
    bool add(const uchar *) override { return ++rows > 0; }
    bool addWhole(const QImage &image) override { return !(whole = image).isNull(); }

    int rows = 0;
    QImage whole;
};

// 3 x 2 pixels that come by rows, or as a whole.
PictureHeader header(QImage::Format format)
{
    return {.size = {3, 2}, .rows = {3, 2}, .format = format, .colorSpace = {}, .delivering = 100, .whole = 24};
}

} // namespace

class tst_DecoderProcess : public QObject
{
    Q_OBJECT

    TempHome m_home;

private Q_SLOTS:
    void cleanup()
    {
        DecoderProcess::use({});
        qunsetenv("QM_CONFINED");
    }

    // Where nothing else can be done.
    void equalsWhatIsDecodedHere()
    {
        qputenv("QM_CONFINED", "1");
        QImage image(300, 200, QImage::Format_ARGB32);
        for (int i = 0; i < 300 * 200; ++i)
            image.setPixel(i % 300, i / 300, QRgb(i) * 0x02040103u);
        image.setColorSpace(QColorSpace::DisplayP3);
        QStringList paths;
        for (const auto pixels :
             {QImage::Format_ARGB32, QImage::Format_RGB32, QImage::Format_Mono, QImage::Format_RGBA64}) {
            paths += m_home.file(u"%1.tiff"_s.arg(pixels));
            QVERIFY(image.convertToFormat(pixels).save(paths.last()));
        }
        paths += m_home.file(u"cut.webp"_s);
        QVERIFY(image.save(paths.last()) && QFile::resize(paths.last(), 20'000));
        for (const QFileInfo &file : QDir(QStringLiteral(QM_TEST_DATA "/formats")).entryInfoList(QDir::Files))
            paths += file.filePath();
        for (const QString &path : paths) {
            DecoderProcess::use({});
            const ImageFile::Result here = ImageFile::load(path);
            const QImage small = Thumbnailer::make(path, 20),
                         part = Thumbnailer::makePart(path, {30, 20}, {5, 5, 9, 3});
            DecoderProcess::use(QStringLiteral(QM_PROGRAMS "/qmdecode"));
            const ImageFile::Result there = ImageFile::load(path);
            QVERIFY2(!here.image.isNull() && !small.isNull() && !part.isNull(), qPrintable(path));
            QVERIFY2(there.image.pixels == here.image.pixels, qPrintable(path));
            QCOMPARE(there.image.pixels.format(), here.image.pixels.format());
            QCOMPARE(there.image.pixels.colorSpace(), here.image.pixels.colorSpace());
            QCOMPARE(there.image.scale(), here.image.scale());
            QCOMPARE(there.isCut, here.isCut);
            QCOMPARE(Thumbnailer::make(path, 20), small);
            QCOMPARE(Thumbnailer::makePart(path, {30, 20}, {5, 5, 9, 3}), part);
        }
        QFile file(QStringLiteral(QM_TEST_DATA "/formats/quarters.gif"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QByteArray gif = file.readAll();
        gif.replace(6, 4, "\xff\xff\xff\xff"); // of the screen, and of the picture on it
        m_home.write(u"large.gif"_s, gif.replace(gif.indexOf(',') + 5, 4, "\xff\xff\xff\xff"));
        QCOMPARE(ImageFile::load(m_home.file(u"large.gif"_s)).failure, ImageFile::Failure::tooLarge);
    }

    // Nothing of it is decoded here: whatever becomes of the process, there is no picture.
    void aDecoderThatFails()
    {
        const QString gif = QStringLiteral(QM_TEST_DATA "/formats/quarters.gif");
        const char *const scripts[] = {"kill -SEGV $$", "exit 0", "echo hello", "while :; do echo rrrrrrrrr; done"};
        for (const char *script : scripts) {
            DecoderProcess::use(m_home.script(u"decoder"_s, script));
            QVERIFY2(Thumbnailer::make(gif, 20).isNull(), script);
        }
        DecoderProcess::use(m_home.file(u"nowhere"_s));
        QCOMPARE(ImageFile::load(gif).failure, ImageFile::Failure::undecodable);
    }

    void aDecoderThatLies_data()
    {
        QTest::addColumn<QByteArray>("said");
        QTest::addColumn<int>("believed");
        using Saying = std::function<void(RowStream::Writer &)>;
        const auto row = [](const char *name, Decoded believed, const PictureHeader &header, const Saying &say) {
            QBuffer pipe;
            pipe.open(QIODevice::WriteOnly);
            RowStream::Writer writer(pipe);
            writer.begin(header);
            say(writer);
            QTest::newRow(name) << pipe.data() << int(believed);
        };
        const uchar pixels[12] = {};
        const auto rows = [&](int count, Decoded end = Decoded::whole) -> Saying {
            return [=](RowStream::Writer &writer) {
                for (int i = 0; i < count; ++i)
                    writer.add(pixels);
                writer.end(end);
            };
        };
        const auto whole = [](QSize size, QImage::Format format = QImage::Format_RGB32) -> Saying {
            QImage image(size, format);
            image.fill(0);
            return [=](RowStream::Writer &writer) {
                writer.addWhole(image);
                writer.end(Decoded::whole);
            };
        };
        const PictureHeader byRows = header(QImage::Format_RGBA8888), atOnce = header(QImage::Format_Invalid);
        const auto with = [](PictureHeader header, const auto &change) {
            change(header);
            return header;
        };
        row("the truth", Decoded::whole, byRows, rows(2));
        row("the truth, at once", Decoded::whole, atOnce, whole({3, 2}));
        row("a row less", Decoded::cut, byRows, rows(1));
        row("no row", Decoded::nothing, byRows, rows(0));
        row("a row more", Decoded::nothing, byRows, rows(3));
        row("no end", Decoded::nothing, byRows, [&](RowStream::Writer &writer) { writer.add(pixels); });
        row("an end that only a sink can bring about", Decoded::nothing, byRows, rows(2, Decoded::stopped));
        row("rows where none were announced", Decoded::nothing, atOnce, rows(2));
        row("a whole where rows were announced", Decoded::nothing, byRows, whole({3, 2}));
        row("another size", Decoded::nothing, atOnce, whole({3, 1}));
        row("more bytes than announced", Decoded::nothing, atOnce, whole({3, 2}, QImage::Format_RGBA64));
        row("bytes that only fill the rows up", Decoded::nothing,
            with(atOnce,
                 [](PictureHeader &header) {
                     header.size = header.rows = {1, 24};
                 }),
            whole({1, 24}, QImage::Format_Mono));
        row("more rows than the picture has", Decoded::nothing,
            with(byRows, [](PictureHeader &header) { header.rows.setHeight(3); }), rows(3));
        row("rows that take more than announced", Decoded::nothing,
            with(byRows, [](PictureHeader &header) { header.delivering = 11; }), rows(2));
        row("less than no memory", Decoded::nothing, with(atOnce, [](PictureHeader &header) { header.decoding = -1; }),
            whole({3, 2}));
        row("pixels of no format", Decoded::nothing,
            with(byRows, [](PictureHeader &header) { header.format = QImage::Format_Indexed8; }), rows(2));
        QTest::newRow("a header of 4 GB") << QByteArray("h\xff\xff\xff\xff ") << int(Decoded::nothing);
    }
    void aDecoderThatLies()
    {
        QFETCH(QByteArray, said);
        QFETCH(int, believed);
        QBuffer pipe(&said);
        pipe.open(QIODevice::ReadOnly);
        Taken taken;
        QCOMPARE(int(RowStream::read(pipe, taken)), believed);
        QVERIFY(taken.rows <= 2);
        pipe.seek(0); // once more, and too late
        QCOMPARE(RowStream::read(pipe, taken, QDeadlineTimer(0)), Decoded::nothing);
    }
};

QTEST_GUILESS_MAIN(tst_DecoderProcess)
#include "tst_DecoderProcess.moc"
