#include "index/TakenAt.h"

#include "config/CaptureNames.h"

#include <QDateTime>
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

// The names that desktops and common screenshot programs give, with a counter behind when a name was taken: GNOME's in
// English and Japanese, KDE's, Xfce's, and the one without seconds that Flameshot writes.
static std::optional<QString> desktopsOwn(const QString &name)
{
    static const QRegularExpression own = compiled(QStringLiteral(
        R"(^(?:(?:Screenshot from |スクリーンショット |Screenshot_)?(\d{4})-(\d{2})-(\d{2})[ _](\d{2})-(\d{2})(?:-(\d{2}))?)"
        R"((?: ?のスクリーンショット)?|Screenshot_(\d{4})(\d{2})(\d{2})_(\d{2})(\d{2})(\d{2})))"
        R"((?:[-_]\d+| \(\d+\))?\.\w+$)"));
    const QRegularExpressionMatch match = own.match(name);
    if (!match.hasMatch())
        return std::nullopt;
    const int first = match.hasCaptured(1) ? 1 : 7;
    const QString second = match.hasCaptured(first + 5) ? match.captured(first + 5) : QStringLiteral("00");
    return QStringLiteral("%1-%2-%3T%4:%5:%6")
        .arg(match.captured(first), match.captured(first + 1), match.captured(first + 2), match.captured(first + 3),
             match.captured(first + 4), second);
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
    if (const std::optional<QString> time = CaptureNames::takenAt(name))
        return *time;
    return desktopsOwn(name).value_or(isoUtc(modifiedMs));
}

QString localTime(const QString &takenAt)
{
    if (!takenAt.endsWith(u'Z'))
        return takenAt;
    const QDateTime time = QDateTime::fromString(takenAt, Qt::ISODate);
    return time.isValid() ? time.toLocalTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")) : QString();
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
