#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace qm {

struct PanelPlace;

// What a scrolling capture needs from the desktop, covering all differences between systems: choosing a region, its
// frames, the wheel, the pointer, and the windows beside the region. One thread. Pixels of the whole desktop, y down.
class ScrollDesktop
{
public:
    enum class Opened { yes, busy, no }; // busy: another capture is in progress; no: there is no display
    struct Region {
        QRect area;
        double scale = 1;     // pixels per point on the monitor showing most of it
        int pictureScale = 1; // scale to record in the picture
        QImage before;        // the region's pixels before it was chosen
    };
    struct Pointer {
        QPoint at;
        bool held = false;  // a button is down, or a key that changes what the wheel does
        quint32 window = 0; // the topmost one that lies there; 0: none, or unknown
    };
    struct Input {
        enum class Kind {
            none, // timeout
            enter,
            escape,
            pointer, // moved over the panel, or left it
            press,
            release,
            gone // display lost
        } kind = Kind::none;
        QPoint at; // relative to the panel's corner
    };

    ScrollDesktop();
    ~ScrollDesktop();
    Q_DISABLE_COPY_MOVE(ScrollDesktop)

    Opened open(); // call first

    // After a menu was shown there (pixels of the whole desktop): until what lay below is drawn again.
    void waitForRest(const QRect &part);

    // The user draws a region. std::nullopt if cancelled, or if failed, with a reason. A QGuiApplication exists from
    // then on.
    std::optional<Region> chooseRegion(QString *failure);

    // The chosen region's current pixels, RGB32. The second grab after this one reuses the memory. Null if the display
    // refuses.
    QImage grab();

    Pointer pointer() const;
    void movePointer(QPoint to);
    bool canTurnWheel() const;
    void turnWheel(int clicks); // at the pointer; negative: up. Returns after the last; many take 4 ms each

    // The frame lies around the region, never inside. The panel is placed once and shows pictures of one size; from
    // then on Return and Escape are reported, whichever program has the keyboard.
    PanelPlace showFrame();
    void showPanel(const QImage &picture);
    void hidePanel();
    void hideFrame();

    // The user's next input; Kind::none after the limit or on a signal.
    Input wait(std::chrono::milliseconds limit);
    // Call when the capture is over. Returns once the reported keys are up again, or after a while; from then on they
    // belong to other programs again, and another capture may begin.
    void letGo();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qm
