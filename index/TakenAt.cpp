#include "index/TakenAt.h"

#include "config/CaptureNames.h"

#include <QRegularExpression>

#include <chrono>
#include <cstdio>

namespace qm {

// Names contain typographic blanks (macOS puts U+202F before PM), so use Unicode character classes.
static QRegularExpression compiled(const QString &pattern)
{
    QRegularExpression expression(pattern, QRegularExpression::CaseInsensitiveOption |
                                               QRegularExpression::UseUnicodePropertiesOption);
    expression.optimize();
    return expression;
}

static std::optional<QString> matched(const QRegularExpression &expression, const QString &name)
{
    const QRegularExpressionMatch match = expression.match(name);
    if (!match.hasMatch() || match.lastCapturedIndex() != 6)
        return std::nullopt;
    QString text;
    text.reserve(19);
    const char16_t separators[] = u"--T::";
    for (int group = 1; group <= 6; ++group) {
        text += match.capturedView(group);
        if (group < 6)
            text += separators[group - 1];
    }
    return text;
}

QString parseTakenAt(const QString &name, qint64 modifiedMs)
{
    // Compiled once: a scan calls this for every new file.
    static const QRegularExpression at =
        compiled(QStringLiteral(R"((\d{4})-(\d{2})-(\d{2})\s*at\s*(\d{2})[.:](\d{2})[.:](\d{2}))"));
    static const QRegularExpression general =
        compiled(QStringLiteral(R"((\d{4})-(\d{2})-(\d{2})\D+(\d{2})[.:](\d{2})[.:](\d{2}))"));

    if (const std::optional<QString> time = matched(at, name))
        return *time;
    if (const std::optional<QString> time = matched(general, name))
        return *time;
    return CaptureNames::takenAt(name).value_or(isoUtc(modifiedMs));
}

QString isoUtc(qint64 msSince1970)
{
    using namespace std::chrono;
    const sys_time<milliseconds> time{milliseconds(msSince1970)};
    const sys_days day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(floor<seconds>(time - day));
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int(date.year()), unsigned(date.month()),
                  unsigned(date.day()), int(clock.hours().count()), int(clock.minutes().count()),
                  int(clock.seconds().count()));
    return QString::fromLatin1(text);
}

} // namespace qm
