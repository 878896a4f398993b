#include "ui/AppLocale.h"

#include "platform/Workspace.h"

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

QString AppLocale::annotateTitle()
{
    return text(u"Annotate…", u"注釈…");
}

QString AppLocale::trashTitle()
{
    return text(u"Move to Trash", u"ゴミ箱に入れる");
}

QString AppLocale::showInFolderTitle()
{
    const QString browser = Workspace::fileBrowserName();
    return browser.isEmpty() ? text(u"Show in Folder", u"フォルダーで表示")
                             : text(u"Show in %1", u"%1 で表示").arg(browser);
}

} // namespace qm
