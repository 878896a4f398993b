#pragma once

#include "helpers/qmocr/WorkerLink.h"

#include <QByteArray>
#include <QDateTime>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace qm::ocr {

// Distributes paths to workers, one each at a time, and turns every path into exactly one line of JSON, in order of
// completion. Lives on the thread of an event loop and never blocks it. A picture that cannot be read, takes too long
// or kills its worker costs no more than an "error" line.
class Supervisor
{
public:
    struct Options {
        WorkerProgram worker;
        int workers = 1; // maximum at once; started on demand
        Limits limits;
        Boxes boxes = Boxes::no;                              // as the workers' arguments say
        std::function<void(const QByteArray &line)> emitLine; // without line end
        std::function<void()> emptied;                        // closed, and the last line has been emitted
        std::function<void()> noData;                         // called once, if no language data is installed
    };
    explicit Supervisor(Options options);

    void add(const QByteArray &path); // bytes as received
    void close();                     // nothing more will be added

private:
    struct Job {
        QByteArray path;
        bool again = false; // has already killed a worker once
    };

    void handOut();
    void done(const Job &job, const Answer &answer);

    Options m_options;
    std::deque<Job> m_waiting;
    std::vector<std::unique_ptr<WorkerLink>> m_links;
    int m_open = 0; // jobs without a line yet
    bool m_closed = false;
    bool m_saidNoData = false;
};

// Whether a file has not changed for an hour: it is complete then, as complete as it will ever be. A time in the future
// means a wrong clock, not a file still being written.
bool isSettled(const QDateTime &fileChanged, const QDateTime &now);

// The line for one path. A settled file that will never be readable counts as read, with no text: an error would be
// retried forever.
QByteArray resultLine(const QByteArray &path, const Answer &answer, const QDateTime &fileChanged, const QDateTime &now,
                      Boxes boxes);

} // namespace qm::ocr
