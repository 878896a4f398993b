#pragma once

#include "helpers/qmocr/WorkerLink.h"

#include <QByteArray>
#include <QDateTime>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace qm::ocr {

// Hands paths out to workers, one at a time each, and turns every path into exactly one line of JSON, in the order in
// which they are done. Lives on the thread of an event loop and never blocks it. A picture that cannot be read, takes too
// long or kills its worker costs an "error" line and nothing else.
class Supervisor
{
public:
    struct Options {
        WorkerProgram worker;
        int workers = 1; // at most so many at once; started as they are needed
        Limits limits;
        std::function<void(const QByteArray &line)> emitLine; // without line end
        std::function<void()> emptied;                        // closed, and the last line is out
        std::function<void()> noData;                         // once, when no language data is installed
    };
    explicit Supervisor(Options options);

    void add(const QByteArray &path); // as it came
    void close();                     // no more will be added

private:
    struct Job {
        QByteArray path;
        bool again = false; // it has killed a worker once
    };

    void handOut();
    void done(const Job &job, const Answer &answer);

    Options m_options;
    std::deque<Job> m_waiting;
    std::vector<std::unique_ptr<WorkerLink>> m_links;
    int m_open = 0; // jobs that have no line yet
    bool m_closed = false;
    bool m_saidNoData = false;
};

// The line for one path. A file that will never be readable and has not changed for an hour counts as read, with no text:
// an error would be asked for again for ever. One that was just written may still be on its way to the disk.
QByteArray resultLine(const QByteArray &path, const Answer &answer, const QDateTime &fileChanged, const QDateTime &now);

} // namespace qm::ocr
