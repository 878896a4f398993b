#include "helpers/qmscroll/Take.h"

#include <QPainter>

#include <algorithm>
#include <chrono>

namespace qm {

static constexpr int thumbnailWidth = 160; // pixels, same as TallPicture's
static constexpr int rowsAtOnce = 48;      // written between two looks at the clock
static constexpr auto keepInterval = std::chrono::seconds(1);

Take::Take(const Options &options)
    : m_options(options)
    , m_picture(std::in_place, options.path, options.frame.width() - options.bar.value_or(0), options.dpi)
    , m_bar(options.bar)
    , m_stitcher(options.frame, [this](const QImage &rows) { return accept(rows); })
{
}

Stitcher::Step Take::join(const QImage &frame, Heading heading)
{
    if (m_pending.size() > 1)
        write(QDeadlineTimer(QDeadlineTimer::Forever)); // the file is slower than the view
    const Stitcher::Step step = m_stitcher.add(frame, heading);
    if (step == Stitcher::Step::joined)
        m_position += m_stitcher.lastShift();
    if (!m_bar && (step == Stitcher::Step::first || step == Stitcher::Step::joined))
        m_edge.see(frame, m_position);
    return step;
}

// What was kept so far is lost with the picture, and kept again at once.
void Take::decideBar()
{
    if (m_bar)
        return;
    m_bar = m_edge.width();
    m_edge = {};
    if (*m_bar > 0) {
        m_picture.emplace(m_options.path, m_options.frame.width() - *m_bar, m_options.dpi);
        m_keptHeight = 0;
        m_nextKeep = {};
    }
}

int Take::height() const
{
    return m_isFinished ? m_picture->height() : std::min(m_stitcher.height(), m_options.heightLimit);
}

bool Take::accept(const QImage &rows)
{
    const int count = std::min(rows.height(), m_options.heightLimit - m_rows);
    if (count > 0)
        m_pending.append(rows.copy(0, 0, rows.width(), count));
    m_rows += std::max(count, 0);
    return m_writes;
}

void Take::write(QDeadlineTimer until)
{
    if (!m_pending.isEmpty())
        decideBar();
    while (!m_pending.isEmpty() && m_writes && !until.hasExpired()) {
        QImage &rows = m_pending.first();
        const int count = std::min(rows.height(), rowsAtOnce);
        m_writes = m_picture->append(rows.copy(0, 0, rows.width() - *m_bar, count));
        if (count < rows.height())
            rows = rows.copy(0, count, rows.width(), rows.height() - count);
        else
            m_pending.removeFirst();
    }
    if (m_pending.isEmpty() && m_nextKeep.hasExpired() && m_keptHeight != height())
        keep();
}

// What the stitcher still holds back belongs to it.
void Take::keep()
{
    const QImage held = this->held();
    m_picture->keep(held.copy(0, 0, held.width(), std::min(held.height(), m_options.heightLimit - m_rows)));
    m_keptHeight = height();
    m_nextKeep.setRemainingTime(keepInterval);
}

QImage Take::held() const
{
    const QImage rows = m_stitcher.heldRows();
    return rows.copy(0, 0, rows.width() - m_bar.value_or(0), rows.height());
}

// What is in the file, plus what the stitcher still holds back.
QImage Take::thumbnail() const
{
    const QImage kept = m_picture->thumbnail();
    const QImage held = this->held();
    const int width = kept.isNull() ? std::min(held.width(), thumbnailWidth) : kept.width();
    const QSize size(width, std::max(1, qRound(held.height() * double(width) / held.width())));
    const QImage rest = held.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    QImage all(width, kept.height() + rest.height(), QImage::Format_RGB32);
    QPainter painter(&all);
    painter.drawImage(0, 0, kept);
    painter.drawImage(0, kept.height(), rest);
    return all;
}

Outcome Take::finish()
{
    m_stitcher.finish();
    write(QDeadlineTimer(QDeadlineTimer::Forever));
    m_isFinished = true;
    return m_picture->finish();
}

} // namespace qm
