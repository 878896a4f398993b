#include "helpers/qmocr/Supervisor.h"
#include "helpers/qmocr/Text.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace qm::ocr;

class tst_OcrText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tidied_data();
    void tidied();
    void merged_data();
    void merged();
    void messages();
    void resultLine_data();
    void resultLine();
    void resultLineIsOneLineOfUtf8();
};

void tst_OcrText::tidied_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const char *line, const char *expected) {
        QTest::newRow(name) << QString::fromUtf8(line) << QString::fromUtf8(expected);
    };
    row("English keeps its blanks", "Good morning to all", "Good morning to all");
    row("runs of blanks and ends", "  Region \t  Manager \n", "Region Manager");
    row("kanji", "東 京 支 店", "東京支店");
    row("kana and long vowel", "サ ー バ ー の ロ グ", "サーバーのログ");
    row("hiragana iteration and closing mark", "人 々 は 〆 切 を", "人々は〆切を");
    row("punctuation", "は い 、 「 保 存 」 。", "はい、「保存」。");
    row("full-width punctuation", "終 了 （ 保 存 ） ！", "終了（保存）！");
    row("middle dot", "リ リ ー ス ・ ノ ー ト", "リリース・ノート");
    row("half-width kana", "ﾌｧ ｲ ﾙ", "ﾌｧｲﾙ");
    row("ideographic blank", "予定　一覧", "予定一覧");
    row("beyond the first plane", "𠮷 野 家", "𠮷野家");
    row("between Japanese and Latin", "Windows 版 の build を 更 新", "Windows 版の build を更新");
    row("between Japanese and digits", "3 月 14 日", "3 月 14 日");
    row("full-width words", "ＡＢＣ ＤＥＦ", "ＡＢＣ ＤＥＦ");
    row("composed", "か\u3099き\u3099 cafe\u0301", "がぎ caf\u00e9");
    row("no control characters", "a\x01z\x7f", "az");
    row("nothing", " \n", "");
}

void tst_OcrText::tidied()
{
    QFETCH(QString, line);
    QTEST(qm::ocr::tidied(line), "expected");
}

void tst_OcrText::merged_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const char *first, const char *second, const char *expected) {
        QTest::newRow(name) << QString::fromUtf8(first) << QString::fromUtf8(second) << QString::fromUtf8(expected);
    };
    row("the same again", "Save|Cancel", "Save|Cancel", "Save|Cancel");
    row("two cells as one line", "Save|Cancel", "Save Cancel", "Save|Cancel");
    row("other blanks and case", "Night light", "NIGHTLIGHT", "Night light");
    row("other widths", "ABC ファイル", "ＡＢＣ ﾌｧｲﾙ", "ABC ファイル");
    row("a new line", "Save", "Cancel", "Save|Cancel");
    row("a new word in a known line", "Save Cancel", "Save Cancel Apply", "Save Cancel|Save Cancel Apply");
    row("known words in another order", "one two three", "three one", "one two three");
    row("single new letters are noise", "Save", "| x Save", "Save");
    row("nothing first", "", "Save", "Save");
    row("nothing second", "Save", "", "Save");
}

static QStringList lines(const QString &joined)
{
    return joined.split(u'|', Qt::SkipEmptyParts);
}

void tst_OcrText::merged()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(QString, expected);
    // "| x Save" above is a line of its own.
    const QStringList secondLines = second.startsWith(u'|') ? QStringList(second) : lines(second);
    QCOMPARE(qm::ocr::merged(lines(first), secondLines), lines(expected));
}

void tst_OcrText::messages()
{
    const QByteArray path = "/pictures/a \"b\"\\ 画面.png";
    const QByteArray stream = encoded(path) + encoded(Reply{Reply::Kind::text, QByteArray("two\nlines\0!", 11)}) +
                              encoded(Reply{Reply::Kind::begun, {}});
    for (qsizetype size = 1; size <= stream.size(); ++size) { // however the pipe cuts it
        MessageSplitter splitter;
        QList<QByteArray> got;
        for (qsizetype i = 0; i < stream.size(); i += size)
            got += splitter.take(stream.mid(i, size));
        QCOMPARE(got.size(), 3);
        QCOMPARE(got[0], path);
        QCOMPARE(decodedReply(got[1]).kind, Reply::Kind::text);
        QCOMPARE(decodedReply(got[1]).payload, "two\nlines !");
        QCOMPARE(decodedReply(got[2]).kind, Reply::Kind::begun);
        QCOMPARE(splitter.rest(), QByteArray());
    }
    MessageSplitter open('\n');
    QCOMPARE(open.take("one\n\nlast").size(), 2);
    QCOMPARE(open.rest(), "last");
}

void tst_OcrText::resultLine_data()
{
    QTest::addColumn<bool>("lasting");
    QTest::addColumn<int>("age"); // seconds since the file's last change
    QTest::addColumn<bool>("isError");
    QTest::newRow("lasting, long unchanged") << true << 3600 << false;
    QTest::newRow("lasting, changed just now") << true << 3599 << true;
    QTest::newRow("lasting, from a future that no clock error explains") << true << -3600 << false;
    QTest::newRow("lasting, a moment ahead") << true << -5 << true;
    QTest::newRow("passing, long unchanged") << false << 1'000'000 << true;
}

void tst_OcrText::resultLine()
{
    QFETCH(bool, lasting);
    QFETCH(int, age);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    Answer answer;
    answer.error = QStringLiteral("broken");
    answer.lasting = lasting;
    const QJsonObject line =
        QJsonDocument::fromJson(qm::ocr::resultLine("/x.png", answer, now.addSecs(-age), now)).object();
    QCOMPARE(line[u"path"].toString(), QStringLiteral("/x.png"));
    QTEST(line.contains(u"error"), "isError");
    QCOMPARE(line.contains(u"text"), !line.contains(u"error"));
    QCOMPARE(line[u"text"].toString(), QString());

    // A file that is gone has no time, and may come back.
    QVERIFY(qm::ocr::resultLine("/x.png", answer, {}, now).contains("error"));
}

void tst_OcrText::resultLineIsOneLineOfUtf8()
{
    Answer answer;
    answer.text = QStringLiteral("a\n\"b\"\t\\ \u3042") + QChar(0xd800) + QChar(0x2028);
    const QByteArray line =
        qm::ocr::resultLine("/tmp/\xff\xe7\x94\xbb.png", answer, {}, QDateTime::currentDateTimeUtc());
    QVERIFY(!line.contains('\n'));
    QVERIFY(QString::fromUtf8(line).toUtf8() == line);
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    QVERIFY(object[u"text"].toString().startsWith(QStringLiteral("a\n\"b\"\t\\ \u3042")));
    QVERIFY(object[u"path"].toString().endsWith(QStringLiteral("画.png")));
}

QTEST_GUILESS_MAIN(tst_OcrText)
#include "tst_OcrText.moc"
