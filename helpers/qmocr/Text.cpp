#include "helpers/qmocr/Text.h"

#include <QRegularExpression>

namespace qm::ocr {

// Kana, ideographs, and the punctuation written among them without blanks: U+3001 to 303F (、。「」々), kana with the long
// vowel mark, ideographs and their compatibility forms, full-width punctuation, half-width kana, the supplementary
// planes. Full-width letters and digits are left out: words written in them are separated by blanks like any others.
#define JAPANESE                                                                                                       \
    "[\\x{3001}-\\x{30ff}\\x{31f0}-\\x{31ff}\\x{3400}-\\x{4dbf}\\x{4e00}-\\x{9fff}\\x{f900}-\\x{faff}"                 \
    "\\x{ff01}-\\x{ff0f}\\x{ff1a}-\\x{ff20}\\x{ff3b}-\\x{ff40}\\x{ff5b}-\\x{ff9f}\\x{20000}-\\x{3ffff}]"

QString tidied(const QString &line)
{
    static const QRegularExpression control(QStringLiteral("[\\p{Cc}\\p{Cf}]+"));
    static const QRegularExpression between(QStringLiteral("(?<=" JAPANESE ")\\s+(?=" JAPANESE ")"));
    QString text = line.simplified(); // line ends and tabs count as blanks
    text.remove(control);
    text.remove(between);
    return text.normalized(QString::NormalizationForm_C);
}

static QString folded(const QString &text)
{
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

static QString withoutBlanks(QString text)
{
    return text.remove(u' ');
}

QStringList merged(const QStringList &first, const QStringList &second)
{
    QStringList result = first;
    const QString known = folded(first.join(u' '));
    const QString knownLetters = withoutBlanks(known);
    for (const QString &line : second) {
        const QString text = folded(line);
        if (knownLetters.contains(withoutBlanks(text)))
            continue;
        const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
        const bool adds = std::any_of(words.begin(), words.end(),
                                      [&](const QString &word) { return word.size() >= 2 && !known.contains(word); });
        if (adds)
            result += line;
    }
    return result;
}

} // namespace qm::ocr
