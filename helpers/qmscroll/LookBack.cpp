#include "helpers/qmscroll/LookBack.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace qm {

static constexpr double leastRounding = 2; // pixels
static constexpr int sampleLooks = 4;      // looking at every row again takes as long as the capture,
static constexpr int thoroughHeights = 12; // and of a page that is so short it may
static constexpr int stepsPerShort = 8; // at least: a view may lose clicks, or load more before its end is recognised
static constexpr int mostVerified = 3;  // a view that loses more clicks than that is a strange one

void LookBack::measure(int clicks, int shift)
{
    const double expected = m_clicks > 0 ? double(m_pixels) * clicks / m_clicks : shift, away = shift - expected;
    const double rounding =
        std::min<double>(clicks, std::max(leastRounding, expected / 16)); // a pixel a click, as a rule
    ++m_steps;
    m_shorts += m_hasShort;
    m_isUneven |= away > rounding;
    m_hasShort = away < -rounding;
    m_isLastAlike = m_lastClicks > 0 && std::abs(shift - double(m_lastShift) * clicks / m_lastClicks) <= leastRounding;
    m_lastClicks = clicks;
    m_lastShift = shift;
    if (!m_hasShort) {
        m_clicks += clicks;
        m_pixels += shift;
    }
}

void LookBack::measureNone()
{
    m_isUneven = true;
}

bool LookBack::isEven() const
{
    return !m_isUneven && m_shorts * stepsPerShort <= m_steps;
}

void LookBack::reachEnd()
{
    m_hasShort = false;
}

int LookBack::shiftOf(int clicks) const
{
    return m_isLastAlike ? int(std::lround(double(clicks) * m_lastShift / m_lastClicks)) : 0;
}

bool LookBack::begin(int position, int frameHeight, Extent extent)
{
    m_position = m_base = position;
    m_back = m_backAtBase = m_verified = 0;
    m_isCountLost = false;
    m_left = m_pixels > 0 ? int(qint64(position) * m_clicks / m_pixels) : 0;
    if (m_left <= 0)
        return false;
    const int height = std::max(1, int(qint64(frameHeight) * m_clicks / m_pixels)); // clicks
    m_looks = extent == Extent::end ? sampleLooks : std::numeric_limits<int>::max();
    if (extent == Extent::end || (extent == Extent::thorough && m_left <= thoroughHeights * height))
        m_atOnce = std::max(1, 2 * height / 3); // of a frame the upper third does not count, see Stitcher::find()
    else
        m_atOnce = std::max((m_left + sampleLooks - 1) / sampleLooks, height);
    return true;
}

int LookBack::nextClicks()
{
    const int clicks = m_looks-- > 0 ? std::min(m_left, m_atOnce) : 0;
    m_left -= clicks;
    m_back += clicks;
    m_last = clicks;
    return clicks;
}

// From there on all lies further down by what was lost, unless the page has grown. Its end stays where it is: what is seen
// from there at a second try has to be what was expected.
int LookBack::clicksToVerify(std::optional<int> seen)
{
    if (!isCounted() || !seen || *seen <= expected() || m_verified == mostVerified)
        return 0;
    ++m_verified;
    if (m_back > m_last) {
        m_base = *seen;
        m_backAtBase = m_back;
    } else {
        m_verified = mostVerified;
    }
    ++m_looks;
    m_left += m_last;
    m_back -= m_last;
    return m_last;
}

int LookBack::clicksBack(int clicks)
{
    m_isCountLost = true;
    m_back += clicks;
    return clicks;
}

int LookBack::clicksForth()
{
    return std::exchange(m_back, 0);
}

int LookBack::clicksHome()
{
    return std::max(std::exchange(m_left, 0), m_atOnce);
}

void LookBack::beginAgain()
{
    const int clicks = m_clicks, pixels = m_pixels;
    *this = {};
    m_clicks = clicks;
    m_pixels = pixels;
}

int LookBack::clicksOver(int rows) const
{
    return m_pixels > 0 ? int(std::lround(double(rows) * m_clicks / m_pixels)) : 0;
}

int LookBack::expected() const
{
    return m_back > 0 && m_clicks > 0 ? m_base - int(std::lround(double(m_back - m_backAtBase) * m_pixels / m_clicks))
                                      : m_position;
}

int LookBack::rounding() const
{
    constexpr int least = 2, clicksPerPixel = 16; // what adds up
    return least + std::abs(m_back - m_backAtBase) / clicksPerPixel;
}

bool LookBack::agrees(std::optional<int> seen) const
{
    return seen && (!isCounted() || std::abs(*seen - expected()) <= rounding());
}

bool LookBack::isBehind(int seen, int clicks, int frameHeight) const
{
    const int least =
        isCounted() ? std::max(int(qint64(clicks) * m_pixels / m_clicks / 2), rounding()) : frameHeight / 2;
    return seen > expected() + least;
}

} // namespace qm
