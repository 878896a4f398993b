#include "helpers/qmscroll/Take.h"

#include <QPainter>

#include <algorithm>
#include <chrono>

namespace qm {

static constexpr int thumbnailWidth = 160; // pixels, same as TallPicture's
static constexpr int rowsAtOnce = 48;      // written between two looks at the clock
static constexpr auto keepInterval = std::chrono::seconds(1);

Take::Take(const Options &options, const Take *earlier)
    : m_options(options)
    , m_picture(earlier ? std::make_unique<TallPicture>(*earlier->m_picture, options.frame.width())
                        : std::make_unique<TallPicture>(options.path, options.frame.width(), options.dpi))
    , m_bar(options.bar.value_or(ScrollBar()))
    , m_stitcher(options.frame, [this](const QImage &rows) { return accept(rows); })
{
    if (options.bar)
        m_barWidth = m_bar.width();
}

Stitcher::Step Take::join(const QImage &frame, Heading heading)
{
    if (m_pending.size() > 1)
        write(QDeadlineTimer(QDeadlineTimer::Forever)); // the file is slower than the view
    const Stitcher::Step step = m_stitcher.add(frame, heading);
    switch (step) {
    case Stitcher::Step::joined: m_position += m_stitcher.lastShift(); [[fallthrough]];
    case Stitcher::Step::first:
    case Stitcher::Step::renewed:
    case Stitcher::Step::still: check(frame); break;
    default: break;
    }
    return step;
}

std::optional<ScrollBar> Take::bar() const
{
    return m_barWidth ? std::optional(m_bar) : std::nullopt;
}

// What is in the picture now must not be cut.
void Take::check(const QImage &frame)
{
    if (!m_barWidth) {
        m_bar.see(frame, m_position);
    } else if (*m_barWidth > 0 && !m_bar.isAllOf(frame, *m_barWidth)) {
        m_bar = {};
        m_barWidth = 0;
        m_narrow.reset();
    }
}

// Before the first row is written.
void Take::decideBar()
{
    if (!m_barWidth)
        m_barWidth = m_bar.width();
    if (*m_barWidth == 0 || m_narrow || m_picture->height() > 0)
        return;
    m_narrow = std::make_unique<TallPicture>(*m_picture, m_options.frame.width() - *m_barWidth);
    keepNarrow(); // from its beginning it is whole
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
        append(rows.copy(0, 0, rows.width(), count));
        if (count < rows.height())
            rows = rows.copy(0, count, rows.width(), rows.height() - count);
        else
            m_pending.removeFirst();
    }
    if (m_pending.isEmpty() && m_nextKeep.hasExpired() && m_keptHeight != height())
        keep();
}

// Where there is no room for both, the one with all columns stays.
void Take::append(const QImage &rows)
{
    if (m_narrow && !m_narrow->append(rows.copy(0, 0, rows.width() - *m_barWidth, rows.height())))
        m_narrow.reset();
    m_writes = m_picture->append(rows);
    if (!m_writes)
        m_narrow.reset();
}

// What the stitcher still holds back belongs to it.
void Take::keep()
{
    m_picture->keep(unwritten());
    if (m_narrow)
        keepNarrow();
    m_keptHeight = height();
    m_nextKeep.setRemainingTime(keepInterval);
}

void Take::keepNarrow()
{
    const QImage rows = unwritten();
    m_narrow->keep(rows.copy(0, 0, rows.width() - *m_barWidth, rows.height()));
}

// As wide as the picture is going to be.
QImage Take::held() const
{
    const QImage rows = m_stitcher.heldRows();
    return rows.copy(0, 0, rows.width() - (m_narrow ? *m_barWidth : 0), rows.height());
}

// All that belongs to the picture, and is in no file yet.
QImage Take::unwritten() const
{
    const QImage held = m_stitcher.heldRows();
    const int heldRows = std::min(held.height(), m_options.heightLimit - m_rows);
    int height = heldRows;
    for (const QImage &rows : m_pending)
        height += rows.height();
    if (height == 0)
        return {};
    QImage all(m_options.frame.width(), height, QImage::Format_RGB32);
    QPainter painter(&all);
    int y = 0;
    for (const QImage &rows : m_pending) {
        painter.drawImage(0, y, rows);
        y += rows.height();
    }
    painter.drawImage(0, y, held, 0, 0, -1, heldRows);
    return all;
}

// What is in the file, plus what the stitcher still holds back.
QImage Take::thumbnail() const
{
    const QImage kept = picture().thumbnail();
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
    if (m_narrow && m_narrow->complete())
        m_picture = std::move(m_narrow); // before it has its name no second file is left
    m_narrow.reset();
    return m_picture->finish();
}

} // namespace qm
