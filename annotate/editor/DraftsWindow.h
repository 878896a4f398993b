#pragma once

#include "annotate/editor/Draft.h"

#include <QDialog>

#include <functional>

namespace qm {

// Offers what earlier editors left, once the application has been started again: each picture with "Continue" and "Discard".
// It comes up without taking the focus. What is not decided stays for the next start, and is offered when the picture is
// opened. Main thread; deletes itself when closed.
class DraftsWindow : public QDialog
{
public:
    explicit DraftsWindow(std::function<void(const QString &sourcePath)> resume);

    void refresh(); // closes when nothing is left

private:
    QWidget *row(const Draft::Left &left);

    const std::function<void(const QString &)> m_resume;
    QWidget *m_rows = nullptr;
};

} // namespace qm
