#include "ui/AppLocale.h"

#include <QLocale>
#include <QStringList>

namespace qm {

bool AppLocale::isJapanese(const QStringList &preferredLanguages)
{
    return !preferredLanguages.isEmpty() && preferredLanguages.first().toLower().startsWith(u"ja");
}

bool AppLocale::isJapanese()
{
    static const bool japanese = isJapanese(QLocale::system().uiLanguages());
    return japanese;
}

QString AppLocale::text(QStringView english, QStringView japanese)
{
    return (isJapanese() ? japanese : english).toString();
}

} // namespace qm
