#pragma once

#include <QString>

class QMimeData;

namespace qm {

// The general clipboard, also for programs whose windows are not in use. Main thread.
namespace Clipboard {

// Replaces the content, and owns it until something else replaces it.
void set(QMimeData *content);
void setText(const QString &text);

bool holds(const QMimeData *content); // is it the present content?
void clear();

} // namespace Clipboard
} // namespace qm
