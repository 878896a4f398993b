#pragma once

#include "helpers/qmscroll/ScrollBar.h"
#include "helpers/qmscroll/Stitcher.h"
#include "helpers/qmscroll/TallPicture.h"

#include <QDeadlineTimer>
#include <QList>

#include <memory>
#include <optional>

namespace qm {

// One way down the page: frames are joined, and the rows go into a file as time allows. A scroll bar at the frames' right edge
// is left out, if it is known for one when the first rows are written, and nothing else shows there up to the end: until then
// there is a second file, with all columns, and of a process that is killed one of the two becomes a picture. One thread. Pixels.
class Take
{
public:
    struct Options {
        QString path;
        QSize frame;
        double dpi = 72;
        int heightLimit = 0;
        std::optional<ScrollBar> bar = {}; // as an earlier take has seen it
    };
    // Once more, if there is an earlier one: of a process that is killed only one of the two becomes a picture.
    explicit Take(const Options &options, const Take *earlier = nullptr);

    Stitcher::Step join(const QImage &frame, Heading heading); // the frame's pixels must not change later
    const Stitcher &stitcher() const { return m_stitcher; }
    std::optional<ScrollBar> bar() const; // std::nullopt before it is decided
    int height() const;                   // of the picture, if it were finished now; after that, of what is in the file

    bool hasUnwritten() const { return !m_pending.isEmpty(); }
    void write(QDeadlineTimer until); // all of it but the last second survives a failure, and the process
    QImage thumbnail() const;         // of all rows
    Outcome finish(); // reports any earlier failure, too, after which height() may be 0; call nothing else afterwards

private:
    bool accept(const QImage &rows);
    void append(const QImage &rows);
    void keep();
    void keepNarrow();
    void check(const QImage &frame);
    void decideBar();
    QImage held() const;
    QImage unwritten() const;
    const TallPicture &picture() const { return m_narrow ? *m_narrow : *m_picture; }

    const Options m_options;
    std::unique_ptr<TallPicture> m_picture;
    std::unique_ptr<TallPicture> m_narrow; // the same without the scroll bar, if there is one
    ScrollBar m_bar;
    std::optional<int> m_barWidth; // empty before it is decided; 0 without a bar
    int m_position = 0;            // the picture's row with which the last joined frame begins
    Stitcher m_stitcher;
    QList<QImage> m_pending; // rows not yet in the file; written while the view scrolls
    int m_rows = 0;          // delivered by the stitcher, including pending ones
    bool m_writes = true;    // no write has failed so far
    bool m_isFinished = false;
    int m_keptHeight = 0;      // when what there was last began to survive
    QDeadlineTimer m_nextKeep; // due at once
};

} // namespace qm
