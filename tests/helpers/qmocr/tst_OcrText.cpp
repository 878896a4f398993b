#include "helpers/qmocr/Supervisor.h"
#include "helpers/qmocr/Text.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

using namespace qm::ocr;
using namespace Qt::StringLiterals;

// As recognised character by character: each takes ten pixels, blanks too.
static QList<Symbol> symbols(const QString &text)
{
    QList<Symbol> symbols;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isLowSurrogate())
            symbols.last().text += text[i];
        else
            symbols += {.text = text[i], .box = QRectF(10.0 * double(i), 5, 9, 12)};
    }
    return symbols;
}

// Words with their confidence, "such:90 as:80"; between those with a plus there is no blank.
static QList<Symbol> reading(const QString &text)
{
    QList<Symbol> read;
    static const QRegularExpression words(u"([ +]?)(.+?):(\\d+)"_s);
    for (const QRegularExpressionMatch &word : words.globalMatch(text)) {
        const qsizetype start = read.size();
        read += symbols(word.captured(2));
        read[start].beginsWord = true;
        read[start].blankBefore = word.captured(1) == u" ";
        for (qsizetype i = start; i < read.size(); ++i)
            read[i].confidence = word.captured(3).toInt();
    }
    return read;
}

class tst_OcrText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tidiedLines()
    {
        const std::pair<QString, QString> rows[] = {
            {u"  Region \t  Manager \n"_s, u"Region Manager"_s},
            {u"東 京 支 店 サ ー バ ー"_s, u"東京支店サーバー"_s},
            {u"人 々 は 、 「 〆 切 」 。 ・ を （ ！ ）"_s, u"人々は、「〆切」。・を（！）"_s},
            {u"ﾌｧ ｲ ﾙ"_s, u"ﾌｧｲﾙ"_s},
            {u"予定　一覧"_s, u"予定一覧"_s},
            {u"𠮷 野 家"_s, u"𠮷野家"_s},
            {u"Windows 版 の build を 更 新 3 月"_s, u"Windows 版の build を更新 3 月"_s},
            {u"ＡＢＣ ＤＥＦ"_s, u"ＡＢＣ ＤＥＦ"_s}, // full-width words are words
            {u"か\u3099き\u3099 cafe\u0301"_s, u"がぎ caf\u00e9"_s},
            {u"a\u0001z\u007f"_s, u"az"_s},
            {u" \n"_s, u""_s},
        };
        for (const auto &[line, expected] : rows)
            QCOMPARE(lineOf(symbols(line)).value_or(Line()).text, expected);
    }

    void placesOfWords()
    {
        // Each part that can be pointed at, as its text, first pixel and width.
        const std::pair<QString, QString> rows[] = {
            {u" of the\u0001m "_s, u"of 10 19|them 40 49"_s},
            {u"第 3版beta"_s, u"第 0 9|3 20 9|版 30 9|beta 40 39"_s},
            {u"𠮷 か\u3099"_s, u"𠮷 0 9|が 30 19"_s},
        };
        for (const auto &[text, expected] : rows) {
            const std::optional<Line> line = lineOf(symbols(text));
            QVERIFY(line);
            QStringList words;
            for (const Word &word : line->words) {
                words += line->text.mid(word.start, word.length) + u" %1 %2"_s.arg(word.box.x()).arg(word.box.width());
                QVERIFY(line->box.contains(word.box));
            }
            QCOMPARE(words.join(u'|'), expected);
        }
        // One symbol for several characters is shared out among them.
        QCOMPARE(lineOf({{.text = u"会議"_s, .box = {10, 0, 20, 10}}})->words[1].box, QRect(20, 0, 10, 10));
        QCOMPARE(QJsonDocument(placesOf({*lineOf(symbols(u"ab c"_s))})).toJson(QJsonDocument::Compact),
                 QByteArray(R"([{"box":[0,5,39,12],"words":[[0,2,0,5,19,12],[3,1,30,5,9,12]]}])"));
    }

    void betterOfTwoReadings()
    {
        const std::tuple<QString, QString, QString> rows[] = {
            {u"Follow:90 tbe:60"_s, u"Fo11ow:70 the:96"_s, u"Follow the"_s},
            {u"lib rary:60 card:90"_s, u"library:95 card:96"_s, u"library card"_s}, // words are taken whole
            {u"受信:65+トイ:93"_s, u"受信:96+トレイ:40"_s, u"受信トイ"_s},
            {u"三:60+千:10+冊:92"_s, u"三:96+骨:3+冊:50"_s, u"三千冊"_s},
            {u"page:90 ee:79"_s, u"page:96"_s, u"page"_s}, // an icon, of which the other made nothing
            {u"page:90 See:81"_s, u"page:96"_s, u"page See"_s},
            {u"(:20 園:30 Save:95 ...:60"_s, u""_s, u"Save"_s},
            {u"page:90 See:50"_s, u"page:96 Sea:49"_s, u"page See"_s},                     // nearly agreed on
            {u"/srv/exports:34 ee:20"_s, u"'/srv/exports:37 ee:20"_s, u"'/srv/exports"_s}, // agreed on, though unsure
            {u""_s, u"Save:90"_s, u"Save"_s},
        };
        for (const auto &[one, other, expected] : rows) {
            const std::optional<Line> line = lineOf(withoutNoise(better(reading(one), reading(other))));
            QCOMPARE(line.value_or(Line()).text, expected);
        }
    }

    void messages()
    {
        const QByteArray path = "/pictures/a \"b\"\\ 画面.png";
        const QByteArray stream = encoded(path) + encoded(Reply{Reply::Kind::text, QByteArray("two\nlines\0!", 11)}) +
                                  encoded(Reply{Reply::Kind::begun, {}});
        for (qsizetype size = 1; size <= stream.size(); ++size) { // however the pipe cuts it
            MessageSplitter splitter;
            QByteArrayList got;
            for (qsizetype i = 0; i < stream.size(); i += size)
                got += splitter.take(stream.mid(i, size));
            QCOMPARE(got, QByteArrayList({path, "ttwo\nlines !", "b"}));
            QCOMPARE(splitter.rest(), QByteArray());
        }
        QCOMPARE(decodedReply("ttwo").payload, QByteArray("two"));
        QCOMPARE(decodedReply({}).kind, Reply::Kind{});
    }

    // A file that was just written may not be whole; one that has a time in the future is not being written.
    void whenAFaultIsTheFilesOwn()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const Answer lasting{.error = u"broken"_s, .lasting = true}, passing{.error = u"busy"_s};
        const auto isError = [&](const Answer &answer, const QDateTime &changed) {
            return QJsonDocument::fromJson(resultLine("/x.png", answer, changed, now, Boxes::no))
                .object()
                .contains(u"error"_s);
        };
        QVERIFY(!isError(lasting, now.addSecs(-3600)) && !isError(lasting, now.addSecs(3600)));
        QVERIFY(isError(lasting, now.addSecs(-3599)) && isError(lasting, now.addSecs(5)));
        QVERIFY(isError(lasting, {})); // one that is gone may come back
        QVERIFY(isError(passing, now.addSecs(-1'000'000)));
    }

    void resultLineIsOneLineOfUtf8()
    {
        const Answer answer{.text = u"a\n\"b\"\t\\ \u3042"_s + QChar(0xd800) + QChar(0x2028)};
        const QByteArray line =
            resultLine("/tmp/\xff\xe7\x94\xbb.png", answer, {}, QDateTime::currentDateTimeUtc(), Boxes::no);
        QVERIFY(!line.contains('\n'));
        QCOMPARE(QString::fromUtf8(line).toUtf8(), line);
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        QVERIFY(object[u"text"].toString().startsWith(u"a\n\"b\"\t\\ \u3042"_s));
        QVERIFY(object[u"path"].toString().endsWith(u"画.png"_s));
    }
};

QTEST_GUILESS_MAIN(tst_OcrText)
#include "tst_OcrText.moc"
