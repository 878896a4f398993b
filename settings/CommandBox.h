#pragma once

#include <QWidget>

class QLabel;
class QPlainTextEdit;

namespace qm {

// Lines for the user to type or paste elsewhere, with a sentence above that says where, and a button that copies them. Main
// thread.
class CommandBox : public QWidget
{
public:
    CommandBox();

    void set(const QString &where, const QString &lines);

private:
    void copy();

    QLabel *m_where;
    QPlainTextEdit *m_lines;
};

} // namespace qm
