#pragma once

#include <QImage>
#include <QRandomGenerator>
#include <QRect>

namespace qm {

// A long page and a window onto it, drawn row by row as a scrolling application would: what a stitcher sees, and the truth
// to hold its picture against. The same seed gives the same pixels. Needs a QGuiApplication for its text.
class ScrollScene
{
public:
    enum class Content {
        mixed,  // paragraphs in English and Japanese, tables, photographs, blank stretches
        text,   // paragraphs only
        photo,  // one photograph with clouds and grain
        shaded, // a smooth gradient with a word here and there
        table,  // rows of a table that differ in one cell
        alike,  // one row of a table over and over
        cards   // one block of text over and over, each two thirds as high as the region usually is
    };

    struct Look {
        QSize size{480, 320};
        int pageHeight = 1800;
        Content content = Content::mixed;
        int header = 0, footer = 0; // rows that stay at the top and bottom
        int headerFrom = 0; // the header is part of the page at this row and begins to stick when that reaches the top
        int headerShrinksTo = 0;   // as soon as the page has moved
        bool footerCounts = false; // shows the position
        int barLater = 0;          // from this offset on a bar lies over the window's last rows, as cookies ask for
        int scrollBar = 0;         // columns at the right
        int sidebar = 0;           // columns at the left that stay
        int sidebarSticks = 0;     // they move along up to this offset
        bool caret = false, animation = false, hover = false;
        bool isEncoded = false;           // with losses, as a remote desktop sends its pictures
        int blankFrom = 0, blankRows = 0; // of the page
        int lateFrom = 0, lateRows = 0;   // a picture on the page that is there after load()
        bool lateGrows = false;           // and has no room reserved before
        int loadsAt = 0;                  // this frame is the first that shows it; 0: none, before load()
    };

    ScrollScene(const Look &look, quint32 seed);

    QImage frame(int offset); // each call is a later moment: carets blink, animations go on
    void load();
    int lastOffset() const;
    // Of the window's rows, the latter exclusive, that differ from the one above at one of the two: how many are alike.
    struct Rows {
        int alike = 0, unlike = 0;
    };
    Rows alikeRows(int offset, int other, int from, int to) const;

    // The first difference between a picture that begins at the offset and the page, in words; empty when it is right.
    QString difference(const QImage &picture, int firstOffset, int furthestOffset) const;

private:
    int contentTop() const { return m_look.headerFrom ? 0 : m_look.header; }
    QImage window(int offset) const; // without what changes from moment to moment
    void addLatePicture();
    void addMoment(QImage &image, int offset);
    void addBars(QImage &image, int offset) const;
    QImage footer(int offset) const;

    const Look m_look;
    QRandomGenerator m_random;
    QImage m_page, m_header, m_laterBar;
    QImage m_loaded;                      // the page after load()
    QRect m_caretPlace, m_animationPlace; // on the page
    int m_moment = 0;
};

} // namespace qm
