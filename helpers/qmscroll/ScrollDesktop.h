#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace qm {

struct PanelPlace;

// What a scrolling capture needs of the desktop, and all that differs between systems: choosing a region, its frames, the
// wheel, the pointer, and what is shown beside the region. One thread. Pixels of the whole desktop, y down.
class ScrollDesktop
{
public:
    enum class Opened { yes, busy, no }; // busy: another capture is being made; no: there is no display
    struct Region {
        QRect area;
        double scale = 1;     // pixels per point where most of it is shown
        int pictureScale = 1; // that the picture is to carry
        QImage before;        // what was seen in it before it was chosen
    };
    struct Pointer {
        QPoint at;
        bool held = false; // a button, or a key that gives the wheel another meaning, is down
    };
    struct Input {
        enum class Kind {
            none, // time is up
            enter,
            escape,
            pointer, // over the panel it is now at, or outside of it
            press,
            release,
            gone // the display
        } kind = Kind::none;
        QPoint at; // from the panel's corner
    };

    ScrollDesktop();
    ~ScrollDesktop();
    Q_DISABLE_COPY_MOVE(ScrollDesktop)

    Opened open(); // first of all

    // The user draws a region. None: cancelled, or failed with a reason. There is a QGuiApplication from then on.
    std::optional<Region> chooseRegion(QString *failure);

    // The chosen region now, RGB32. The memory is used again by the next but one. Null when the display refuses.
    QImage grab();

    Pointer pointer() const;
    void movePointer(QPoint to);
    bool canTurnWheel() const;
    void turnWheel(int clicks); // where the pointer is; negative: up

    // The frame lies around the region, never within. The panel is placed once and shows pictures of one size; from then on
    // Return and Escape are told, whoever has the keyboard.
    PanelPlace showFrame();
    void showPanel(const QImage &picture);
    void hidePanel();
    void hideFrame();

    // What the user does next; none when nothing does for so long, or a signal came.
    Input wait(std::chrono::milliseconds limit);
    // To be called when the capture is over: returns when the keys told are up again, or a while has passed; from then on
    // they are everybody's, and another capture may begin.
    void letGo();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
