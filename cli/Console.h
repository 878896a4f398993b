#pragma once

#include <QJsonObject>
#include <QString>

namespace qm {

enum class Exit { success = 0, nothingFound = 1, failure = 2 };

// What qms says, and how: people get lines, programs get one JSON object a line. Main thread.
class Console
{
public:
    explicit Console(bool json);

    bool json() const { return m_json; }
    int width() const; // characters; 100 where output is no terminal

    void line(const QString &text);            // to standard output
    void row(const QJsonObject &object);       // to standard output
    QString strong(const QString &text) const; // set off where the terminal can
    QString faint(const QString &text) const;

    // A bar on standard error, drawn over itself; nothing unless that is a terminal.
    void progress(int done, int total);
    void endProgress();

    Exit fail(const QString &message); // to standard error, as "qms: message"; gives Exit::failure

private:
    bool m_json;
    bool m_colors;
    bool m_showsProgress;
    bool m_progressShown = false;
};

} // namespace qm
