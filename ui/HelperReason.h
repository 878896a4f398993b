#pragma once

#include <QString>

namespace qm {

// Most of what the helper programs say of a failure is English, and the index keeps it like that. What is already in the
// user's language stays as it is. Any thread.
namespace HelperReason {

QString shown(const QString &english);    // in the user's language
QString japanese(const QString &english); // empty if it is none of the helpers'

} // namespace HelperReason
} // namespace qm
