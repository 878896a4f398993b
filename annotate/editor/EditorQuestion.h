#pragma once

#include "annotate/editor/Draft.h"

#include <functional>

class QMessageBox;
class QWidget;

namespace qm {

// Questions on a sheet of the editor window. Main thread. They return at once and call back with the answer; the caller
// must outlive the window. The box deletes itself.
namespace EditorQuestion {

enum class Keep { save, discard, cancel };

QMessageBox *askToKeep(const QString &fileName, QWidget *window, const std::function<void(Keep)> &answered);
// Whether to go on with what an earlier editor of the picture left.
QMessageBox *askToResume(const Draft::Left &left, QWidget *window, const std::function<void(bool resume)> &answered);

} // namespace EditorQuestion
} // namespace qm
