#include "index/TextMatch.h"

#include <QRegularExpression>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

class tst_TextMatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void excerpt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("searched");
        QTest::addColumn<QString>("expected"); // of 20 units, the match in brackets
        const auto row = [](const char *name, const QString &text, const char16_t *searched, const char16_t *expected) {
            QTest::newRow(name) << text << QString::fromUtf16(searched) << QString::fromUtf16(expected);
        };
        const QString filler(30, u'.'), pairs = u"😀"_s.repeated(30);
        row("ASCII in either case", u"the TOTAL"_s, u"total", u"the [TOTAL]");
        row("other letters as they are", u"GRÜSSE"_s, u"ü", u"GRÜSSE");
        row("as short as it can be", u"a1 b2 b3"_s, u"%a%b%", u"[a1 b]2 b3");
        row("any character", u"a😀b"_s, u"a_b", u"[a😀b]");
        row("what expressions have a meaning for", u"15 1.5 [x]\\d"_s, u"1.5", u"15 [1.5] [x]\\d");
        row("and their own marks", u"15 1.5 [x]\\d"_s, u"[x]\\d", u"15 1.5 [[x]\\d]");
        row("beyond the basic plane", u"の𠮷野家 😀"_s, u"𠮷野", u"の[𠮷野]家 😀");
        row("an emoji", u"の𠮷野家 😀"_s, u"😀", u"の𠮷野家 [😀]");
        row("half of one is in no text", u"😀"_s, u"\xd83d", u"😀");
        row("wildcards alone mark nothing", u"a b"_s, u"%_", u"a b");
        row("the line it stands in", u"one\ntwo\nthree"_s, u"two", u"[two]");
        row("the line it begins in", u"one\ntwo\nthree"_s, u"wo%re", u"t[wo]");
        row("the end of a long line is cut", u'x' + filler, u"x", u"[x]..................…");
        row("so is its beginning", filler + u'x', u"x", u"…..................[x]");
        row("both", filler + u'x' + filler, u"x", u"….....[x]............…");
        row("a long match", filler + QString(30, u'x'), u"x%x%x%x%x%x%x%x%x%x%x%x%x%x%x%x", u"….....[xxxxxxxxxxxxx…]");
        row("no character is torn", pairs + u'x' + pairs, u"x", u"…😀😀[x]😀😀😀😀😀😀…");
        row("nor here", pairs + u"axb"_s + pairs, u"x", u"…😀😀a[x]b😀😀😀😀😀…");
    }
    void excerpt()
    {
        QFETCH(QString, text);
        QFETCH(QString, searched);
        QTest::failOnWarning(QRegularExpression(u"."_s));
        const auto [line, match] = TextMatch::excerpt(text, searched, 20);
        QString shown = line;
        if (match.length > 0)
            shown.insert(match.start + match.length, u']').insert(match.start, u'[');
        QTEST(shown, "expected");
    }
};

QTEST_GUILESS_MAIN(tst_TextMatch)
#include "tst_TextMatch.moc"
