#pragma once

#include <QString>
#include <QStringView>

namespace qm {

// The language of every text a person sees. Any thread; chosen once per process.
namespace AppLocale {

bool isJapanese();                                       // the first preferred language begins with "ja"
bool isJapanese(const QStringList &preferredLanguages);  // the same rule for a given list; an empty one is English
QString text(QStringView english, QStringView japanese); // the form to show

} // namespace AppLocale
} // namespace qm
