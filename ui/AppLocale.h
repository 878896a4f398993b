#pragma once

#include <QString>
#include <QStringView>

namespace qm {

// The language of every text shown to the user. Any thread; determined once per process.
namespace AppLocale {

bool isJapanese();                                       // the first preferred language begins with "ja"
bool isJapanese(const QStringList &preferredLanguages);  // the same for a given list; an empty list means English
QString text(QStringView english, QStringView japanese); // picks the text to show

QString showInFolderTitle(); // of the command that shows a file in the desktop's file browser

} // namespace AppLocale
} // namespace qm
