#pragma once

#include <QJsonObject>
#include <QString>

namespace qm {

enum class Exit { success = 0, nothingFound = 1, failure = 2 };

// Output of qms: lines for people, or one JSON object per line for programs. Main thread.
class Console
{
public:
    explicit Console(bool json);

    bool json() const { return m_json; }
    int width() const; // characters; 100 if output is not a terminal

    void line(const QString &text);      // to standard output
    void row(const QJsonObject &object); // to standard output
    // A name as it is, or with its control characters spelled out if a terminal would act on them.
    QString printable(const QString &name) const;
    QString strong(const QString &text) const; // highlighted if the terminal can
    QString faint(const QString &text) const;

    // A progress bar on standard error, redrawn in place; only if that is a terminal.
    void progress(int done, int total);
    void endProgress();

    void remark(const QString &message); // to standard error, as "qms: message", like the next
    Exit fail(const QString &message);   // returns Exit::failure

private:
    bool m_json;
    bool m_colors;
    bool m_showsProgress;
    bool m_progressShown = false;
};

} // namespace qm
