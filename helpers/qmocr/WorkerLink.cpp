#include "helpers/qmocr/WorkerLink.h"

#include "helpers/qmocr/ProcessControl.h"

#include <QJsonDocument>

#include <utility>

namespace qm::ocr {

using Kind = Reply::Kind;
using namespace std::chrono_literals;

static constexpr int mostLooks = 20;  // how often a late worker gets more time
static constexpr int patience = 1000; // ms for a killed process to exit

WorkerLink::WorkerLink(const WorkerProgram &program, const Limits &limits)
    : m_program(program)
    , m_limits(limits)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { overdue(); });
}

WorkerLink::~WorkerLink()
{
    if (!m_process)
        return;
    m_process->disconnect(&m_timer);
    m_process->kill(); // safe: it has no state to save
    if (m_process->waitForFinished(patience))
        delete m_process;
}

void WorkerLink::start()
{
    m_process = new QProcess; // deleted when it has exited, possibly after this object
    m_replies = MessageSplitter();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // One thread per worker: the recogniser's own threads make two pictures at once several times slower. OpenMP reads
    // this while loading, hence it is set here and not in the worker.
    environment.insert(QStringLiteral("OMP_THREAD_LIMIT"), QStringLiteral("1"));
    m_process->setProcessEnvironment(environment);
    m_process->setProgram(m_program.program);
    m_process->setArguments(m_program.arguments);
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(m_process, &QProcess::readyReadStandardOutput, &m_timer, [this] {
        const QProcess *process = m_process;
        const QList<QByteArray> messages = m_replies.take(m_process->readAllStandardOutput());
        for (const QByteArray &message : messages)
            if (m_process == process) // otherwise it was abandoned, and another process has the next request
                take(decodedReply(message));
    });
    QObject::connect(m_process, &QProcess::finished, &m_timer, [this] { ended(); });
    QObject::connect(
        m_process, &QProcess::errorOccurred, &m_timer,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart)
                ended();
        },
        Qt::QueuedConnection); // otherwise it could answer from within read()
    m_process->start();
}

void WorkerLink::read(const QByteArray &path, Finished finished)
{
    Q_ASSERT(isIdle());
    m_finished = std::move(finished);
    m_begun = false;
    m_places = {};
    m_first = {};
    if (!m_process)
        start();
    m_limit = m_limits.timeFor(0);
    m_looks = 0;
    lookAfter(m_limits.start);
    m_process->write(encoded(path));
}

void WorkerLink::take(const Reply &reply)
{
    if (!m_process || isIdle())
        return;
    const QString text = QString::fromUtf8(reply.payload);
    switch (reply.kind) {
    case Kind::begun:
        m_begun = true;
        m_usedBefore = processorTime(m_process->processId());
        m_usedAtLook = 0ms;
        m_looks = 0;
        lookAfter(m_limit);
        return;
    case Kind::pixels:
        m_limit = m_limits.timeFor(reply.payload.toLongLong());
        lookAfter(m_limit);
        return;
    case Kind::places: m_places = QJsonDocument::fromJson(reply.payload).array(); return;
    case Kind::firstText: m_first = {.text = text, .places = m_places}; return;
    case Kind::text: return finish({.text = text, .places = m_places});
    case Kind::passingError: return finish({.error = text});
    case Kind::lastingError: return finish({.error = text, .lasting = true});
    case Kind::noData: return finish({.error = QStringLiteral("no language data"), .noData = true});
    }
    abandon(); // protocol error
    failed({.error = QStringLiteral("the reading process failed"), .died = true});
}

void WorkerLink::ended()
{
    if (!m_process)
        return;
    abandon();
    if (isIdle())
        return;
    failed({.error = QStringLiteral("the reading process ended unexpectedly"), .lasting = m_begun, .died = true});
}

void WorkerLink::lookAfter(std::chrono::milliseconds time)
{
    m_timer.start(time);
    m_sinceLook.start();
}

void WorkerLink::overdue()
{
    // Stopped itself for a while, as is the worker with it when a session is frozen.
    const std::chrono::milliseconds wait = m_timer.intervalAsDuration();
    if (m_sinceLook.hasExpired((wait * 3 / 2).count()) && m_looks++ < mostLooks)
        return lookAfter(wait);
    // On a busy machine a low-priority worker gets little done; one that makes progress is limited by CPU time instead.
    const std::chrono::milliseconds used = m_begun ? processorTime(m_process->processId()) - m_usedBefore : 0ms;
    if (used - std::exchange(m_usedAtLook, used) > m_limit / 100 && used < m_limit * 9 / 10 && m_looks++ < mostLooks) {
        lookAfter(std::max(m_limit - used, m_limit / 10));
        return;
    }
    abandon();
    failed({.error = QStringLiteral("took too long"), .lasting = used >= m_limit / 2});
}

void WorkerLink::abandon()
{
    // Not waited for: a process stuck in a system call may take a while to exit.
    QProcess *process = std::exchange(m_process, nullptr);
    process->disconnect(&m_timer);
    if (process->state() == QProcess::NotRunning) {
        process->deleteLater();
        return;
    }
    QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
    process->kill();
}

void WorkerLink::failed(const Answer &failure)
{
    finish(m_first.text ? m_first : failure);
}

void WorkerLink::finish(const Answer &answer)
{
    m_timer.stop();
    std::exchange(m_finished, nullptr)(answer);
}

} // namespace qm::ocr
