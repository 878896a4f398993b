#include "app/TextCapture.h"

#include "ui/AppLocale.h"
#include "ui/HelperReason.h"

namespace qm {

// About a line of it.
static QString firstWords(const QString &text)
{
    constexpr qsizetype most = 60;
    const QString line = text.simplified();
    if (line.size() <= most)
        return line;
    qsizetype end = line.lastIndexOf(u' ', most);
    if (end < most / 2) // a long word, or Japanese
        end = line[most].isLowSurrogate() ? most - 1 : most;
    return line.left(end) + QStringLiteral(" …");
}

TextCapture TextCapture::of(const CaptureResult &result)
{
    if (!result.text)
        return {.title = AppLocale::text(u"The text could not be read", u"文字を読み取れませんでした"),
                .details = HelperReason::shown(result.textError)};
    const QString text = result.text->trimmed();
    if (text.isEmpty())
        return {.title = AppLocale::text(u"No text found", u"文字が見つかりませんでした")};
    return {.copied = text, .title = AppLocale::text(u"Copied: %1", u"コピーしました: %1").arg(firstWords(text))};
}

} // namespace qm
