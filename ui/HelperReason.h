#pragma once

#include <QString>

namespace qm {

// The helper programs say in English why something failed, and the index keeps it like that. Any thread.
namespace HelperReason {

QString shown(const QString &english);    // in the user's language
QString japanese(const QString &english); // empty if it is none of the helpers'

} // namespace HelperReason
} // namespace qm
