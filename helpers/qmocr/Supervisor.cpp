#include "helpers/qmocr/Supervisor.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>

namespace qm::ocr {

static constexpr qint64 settled = 3600; // seconds without a change after which a file counts as complete

Supervisor::Supervisor(Options options)
    : m_options(std::move(options))
{
}

void Supervisor::add(const QByteArray &path)
{
    m_waiting.push_back({path});
    ++m_open;
    handOut();
}

void Supervisor::close()
{
    m_closed = true;
    if (m_open == 0)
        m_options.emptied();
}

void Supervisor::handOut()
{
    while (!m_waiting.empty()) {
        auto free = std::find_if(m_links.begin(), m_links.end(), [](const auto &link) { return link->isIdle(); });
        if (free == m_links.end()) {
            if (int(m_links.size()) >= m_options.workers)
                return;
            m_links.push_back(std::make_unique<WorkerLink>(m_options.worker, m_options.limits));
            free = m_links.end() - 1;
        }
        const Job job = m_waiting.front();
        m_waiting.pop_front();
        (*free)->read(job.path, [this, job](const Answer &answer) { done(job, answer); });
    }
}

void Supervisor::done(const Job &job, const Answer &answer)
{
    if (answer.died && !answer.text && !job.again) {
        // The picture may not be to blame: someone killed the process, or memory was short. Retry once, immediately.
        m_waiting.push_front({job.path, true});
        return handOut();
    }
    if (answer.noData && !std::exchange(m_saidNoData, true))
        m_options.noData();
    const QDateTime changed = QFileInfo(QFile::decodeName(job.path)).lastModified();
    m_options.emitLine(resultLine(job.path, answer, changed, QDateTime::currentDateTimeUtc(), m_options.boxes));
    --m_open;
    handOut();
    if (m_closed && m_open == 0)
        m_options.emptied();
}

bool isSettled(const QDateTime &fileChanged, const QDateTime &now)
{
    return fileChanged.isValid() && std::abs(fileChanged.secsTo(now)) >= settled;
}

QByteArray resultLine(const QByteArray &path, const Answer &answer, const QDateTime &fileChanged, const QDateTime &now,
                      Boxes boxes)
{
    QJsonObject line{{QStringLiteral("path"), QString::fromUtf8(path)}};
    if (answer.text)
        line[QStringLiteral("text")] = *answer.text;
    else if (answer.lasting && isSettled(fileChanged, now))
        line[QStringLiteral("text")] = QString();
    else
        line[QStringLiteral("error")] = answer.error;
    if (boxes == Boxes::yes && line.contains(QStringLiteral("text")))
        line[QStringLiteral("lines")] = answer.places;
    return QJsonDocument(line).toJson(QJsonDocument::Compact);
}

} // namespace qm::ocr
