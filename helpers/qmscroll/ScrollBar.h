#pragma once

#include <QImage>

#include <vector>

namespace qm {

// Tells a scroll bar at the right edge of the frames from what they show of the page. What proves one is how it moves: between
// frames of different places nothing differs in it but where its thumb lies on a plain track, in proportion to the shift
// and not further than a thumb of that length goes. Bars that lie over the page have no track, and are none here; nor is
// anything that does not reach from the top of the frame to its bottom. One thread.
class ScrollBar
{
public:
    struct Sample {
        QImage edge;
        int at;
    };

    // A frame that lies at the picture's row `at`; RGB32, all of the same size. Keeps a copy of its right edge, if it tells
    // anything new.
    void see(const QImage &frame, int at);

    // In pixels, from the right edge; 0 if there is none for certain. At least three places have to be seen.
    int width() const;

    // False if so many columns at the frame's right edge show anything but the bar as it has been seen. What is at its ends may
    // change, such as a button, if it is set off from the page.
    bool isAllOf(const QImage &frame, int width) const;

private:
    std::vector<Sample> m_samples; // by place
};

} // namespace qm
