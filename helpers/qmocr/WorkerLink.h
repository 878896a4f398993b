#pragma once

#include "helpers/qmocr/Limits.h"
#include "helpers/qmocr/WireFormat.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace qm::ocr {

// How a worker is started.
struct WorkerProgram {
    QString program;
    QStringList arguments;
};

// Outcome of one request.
struct Answer {
    std::optional<QString> text = std::nullopt;
    QJsonArray places = {}; // of the text's lines, if the worker was asked for them
    QString error = {};     // why there is no text
    bool lasting = false;   // the reason lies in the file and will not go away
    bool died = false;      // the worker exited by itself
    bool noData = false;    // no language data is installed
};

// The parent's end of one worker: starts the process on first use and again after it died or was killed, and watches
// its time, which is wall clock time for an idle process and CPU time for a busy one. One request at a time; the answer
// comes later from the event loop, never from within read().
class WorkerLink
{
public:
    using Finished = std::function<void(const Answer &answer)>;

    WorkerLink(const WorkerProgram &program, const Limits &limits);
    ~WorkerLink(); // ends the process

    bool isIdle() const { return !m_finished; }
    void read(const QByteArray &path, Finished finished);

private:
    void start();
    void take(const Reply &reply);
    void ended();
    void lookAfter(std::chrono::milliseconds time);
    void overdue();
    void abandon();
    void failed(const Answer &failure);
    void finish(const Answer &answer);

    const WorkerProgram m_program;
    const Limits m_limits;
    QProcess *m_process = nullptr;
    MessageSplitter m_replies;
    QTimer m_timer;
    QElapsedTimer m_sinceLook; // or since the timer was started

    // The current request.
    Finished m_finished;
    bool m_begun = false;
    QJsonArray m_places; // of the text to come
    Answer m_first;      // what there is if the worker fails after the first pass
    std::chrono::milliseconds m_limit{0};
    std::chrono::milliseconds m_usedBefore{0}; // CPU time of the process at the start of the request
    std::chrono::milliseconds m_usedAtLook{0}; // CPU time of the request when last found late
    int m_looks = 0;
};

} // namespace qm::ocr
