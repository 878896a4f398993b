#include "index/LikePattern.h"
#include "index/TextMatch.h"

#include <QRegularExpression>
#include <QTest>

using namespace qm;
using namespace Qt::StringLiterals;

class tst_TextMatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void excerpts()
    {
        QTest::failOnWarning(QRegularExpression(u"."_s));
        const QString filler(30, u'.'), pairs = u"😀"_s.repeated(30);
        const QStringList rows[] = {
            // a text, what is searched, and what is shown in 20 units, the match in brackets
            {u"the TOTAL"_s, u"total"_s, u"the [TOTAL]"_s},
            {u"GRÜSSE"_s, u"ü"_s, u"GRÜSSE"_s},
            {u"a1 b2 b3"_s, u"%a%b%"_s, u"[a1 b]2 b3"_s}, // as short as it can be
            {u"a😀b"_s, u"a_b"_s, u"[a😀b]"_s},
            {u"15 1.5 [x]\\d"_s, u"1.5"_s, u"15 [1.5] [x]\\d"_s}, // what has a meaning in expressions
            {u"15 1.5 [x]\\d"_s, u"[x]\\d"_s, u"15 1.5 [[x]\\d]"_s},
            {u"の𠮷野家 😀"_s, u"𠮷野"_s, u"の[𠮷野]家 😀"_s}, // beyond the basic plane
            {u"の𠮷野家 😀"_s, u"😀"_s, u"の𠮷野家 [😀]"_s},
            {u"😀"_s, QString(QChar(0xd83d)), u"😀"_s},
            {u"a b"_s, u"%_"_s, u"a b"_s}, // wildcards alone mark nothing
            {u"one\ntwo\nthree"_s, u"two"_s, u"[two]"_s},
            {u"one\ntwo\nthree"_s, u"wo%re"_s, u"t[wo]"_s},
            {u'x' + filler, u"x"_s, u"[x]..................…"_s}, // long lines are cut
            {filler + u'x', u"x"_s, u"…..................[x]"_s},
            {filler + u'x' + filler, u"x"_s, u"….....[x]............…"_s},
            {filler + QString(30, u'x'), u"x%"_s.repeated(16), u"….....[xxxxxxxxxxxxx…]"_s},
            {pairs + u'x' + pairs, u"x"_s, u"…😀😀[x]😀😀😀😀😀😀…"_s}, // but no character is torn
            {pairs + u"axb"_s + pairs, u"x"_s, u"…😀😀a[x]b😀😀😀😀😀…"_s},
        };
        for (const QStringList &row : rows) {
            const auto [line, match] = TextMatch::excerpt(row[0], {row[1]}, 20);
            QString shown = line;
            if (match.length > 0)
                shown.insert(match.start + match.length, u']').insert(match.start, u'[');
            QCOMPARE(shown, row[2]);
        }
    }

    // As SQLite's own LIKE reads what is malformed or longer than it need be; fuzz/like.cpp compares far more.
    void oddSpellings()
    {
        const struct {
            const char *pattern, *text;
            bool matches;
        } rows[] = {
            {"%é%", "x\xE0\x83\xA9", true},
            {"%é%", "x\xFB\xA9", true},
            {"%é%", "\xE3\x83\xA9", false}, // ends in the same bytes
            {"%n©", "n\x80\xA9", false},
            {"%_©", "n\x80\xA9", true}, // a byte by itself
            {"%検索%", "\xC6\xA4\x9C\xF0\x87\xB4\xA2", true},
            {"%😀%", "\xDF\x98\x80", true},
            {"%.__q%", ".\x80\x80q", true},
            {"%.__q%", ".\xE3\x80\x80q", false},
        };
        for (const auto &[pattern, text, matches] : rows)
            QVERIFY2(LikePattern(pattern).matches(text) == matches, pattern);
    }
};

QTEST_GUILESS_MAIN(tst_TextMatch)
#include "tst_TextMatch.moc"
