#pragma once

#include "annotate/editor/Draft.h"

#include <QDialog>
#include <QSet>

#include <functional>

namespace qm {

// Offers what earlier editors left, once the application has been started again: each picture with "Continue" and "Discard".
// It comes up without taking the focus. What is not decided stays for the next start, and is offered when the picture is
// opened. Main thread; deletes itself when closed.
class DraftsWindow : public QDialog
{
public:
    // resume opens the picture and ends with decided(); look ends with setLeft(), later.
    DraftsWindow(std::function<void(const QString &sourcePath)> resume, std::function<void()> look);

    void setLeft(const QList<Draft::Left> &left); // closes when nothing is left
    void decided(const QString &sourcePath);      // an editor has it, or the picture could not be opened

protected:
    bool event(QEvent *event) override;

private:
    void showRows();
    QWidget *row(const Draft::Left &left);

    const std::function<void(const QString &)> m_resume;
    const std::function<void()> m_look;
    QList<Draft::Left> m_left;
    QSet<QString> m_underWay; // pictures of which a button has been clicked
    QWidget *m_rows = nullptr;
};

} // namespace qm
