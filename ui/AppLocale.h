#pragma once

#include <QString>
#include <QStringView>

namespace qm {

// The language of every text shown to the user. Any thread; determined once per process.
namespace AppLocale {

bool isJapanese();                                       // the first preferred language begins with "ja"
bool isJapanese(const QStringList &preferredLanguages);  // the same for a given list; an empty list means English
QString text(QStringView english, QStringView japanese); // picks the text to show

// Of the commands for one picture, wherever they stand.
QString annotateTitle();
QString showInFolderTitle(); // in the desktop's file browser
QString trashTitle();

} // namespace AppLocale
} // namespace qm
