#pragma once

#include <QtGlobal>

#include <optional>

namespace qm {

// The looks further up that a capture ends with, to see whether the page is still as it was taken. What has grown
// above the view shows in no frame on the way down, as browsers keep in place what is looked at; but from where the page ends,
// the same wheel clicks then no longer lead to the same rows. Rows in pixels.
class LookBack
{
public:
    // While the page is captured: a step of so many clicks has moved it by that much. The last may be a short one.
    void measure(int clicks, int shift);
    void measureNone();  // a step of which that is not known
    void reachEnd();     // then a short step was the last one, even if more is loaded
    bool isEven() const; // the steps went the same way per click, but for a few short ones

    // By how much so many clicks move the page, as the latest two steps have done alike; 0: they have not.
    int shiftOf(int clicks) const;

    // From the frame whose first row is the picture's row `position`. A sample of a few looks, or nearly every row of a page
    // that has changed while it was taken, unless it is a long one; or of its last few heights. False if the wheel's effect is
    // not known.
    enum class Extent { sample, thorough, end };
    bool begin(int position, int frameHeight, Extent extent = Extent::sample);
    int nextClicks(); // to go back for the next look; 0: that was the last one
    // Where the last look showed rows further down than expected, browsers may have lost a click or two of many. So many
    // forth again, for a look that tells; 0: no look can.
    int clicksToVerify(std::optional<int> seen);
    int clicksBack(int clicks); // so many, which show no more than whether the view answers; the count is lost
    int clicksHome();           // to go back to the beginning; where that has been tried, a look further
    int clicksForth();          // to where they began; no looks follow

    int clicksOver(int rows) const;

    int expected() const; // the row that the frame's first row should show now
    bool agrees(std::optional<int> seen) const;
    // True if a frame that begins with that row is so much further down that clicks turned before may have come late.
    bool isBehind(int seen, int clicks, int frameHeight) const;
    void beginAgain();                                            // the same page, from its beginning
    void loseCount() { m_isCountLost = true; }                    // of this look back: somebody else may have scrolled
    bool isCounted() const { return isEven() && !m_isCountLost; } // expected() is

private:
    int rounding() const;

    int m_clicks = 0, m_pixels = 0; // measured
    bool m_hasShort = false;        // the latest step was shorter than the others
    int m_steps = 0, m_shorts = 0;  // the latter in the midst of others
    bool m_isUneven = false;        // a step went further than the same clicks before, or it is not known how far
    int m_lastClicks = 0, m_lastShift = 0;
    bool m_isLastAlike = false; // the latest step went the same way per click as the one before
    bool m_isCountLost = false;
    int m_position = 0, m_back = 0, m_left = 0, m_atOnce = 1, m_looks = 0;
    int m_base = 0, m_backAtBase = 0; // the row that is expected m_back - m_backAtBase clicks further down
    int m_last = 0, m_verified = 0;
};

} // namespace qm
