#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <chrono>
#include <memory>
#include <optional>

namespace qm {

struct PanelPlace;

// What a scrolling capture needs from the desktop, covering all differences between display servers: choosing a region, its
// frames, the wheel, the pointer, and the windows beside the region. One thread. Pixels of the whole desktop, y down.
class ScrollDesktop
{
public:
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

    // The one that answers. Null, with a reason, if none does, or if it lets nobody look at a region again and again.
    static std::unique_ptr<ScrollDesktop> open(QString *failure);

    ScrollDesktop() = default;
    virtual ~ScrollDesktop() = default;
    Q_DISABLE_COPY_MOVE(ScrollDesktop)

    virtual bool claim() = 0; // call first. False: another capture is in progress

    // After a menu was shown there (pixels of the whole desktop): until what lay below is drawn again.
    virtual void waitForRest(const QRect &part) = 0;

    // The user draws a region. std::nullopt if cancelled, or if failed, with a reason. A QGuiApplication exists from
    // then on.
    virtual std::optional<Region> chooseRegion(QString *failure) = 0;

    // The chosen region's current pixels, RGB32. The second grab after this one reuses the memory. Null if the display
    // refuses.
    virtual QImage grab() = 0;

    virtual Pointer pointer() = 0;
    virtual void movePointer(QPoint to) = 0;
    virtual bool canTurnWheel() const = 0;  // once a region is chosen
    virtual void turnWheel(int clicks) = 0; // at the pointer; negative: up. Returns after the last; many take 2 ms each
    // Told before the frame is shown, and whenever it changes. Otherwise the region may be kept from the user.
    virtual void setUserScrolls(bool doesSo) = 0;

    // The frame lies around the region, never inside. The panel is placed once and shows pictures of one size; from
    // then on Return and Escape are reported, whichever program has the keyboard.
    virtual PanelPlace showFrame() = 0;
    virtual void showPanel(const QImage &picture) = 0;
    virtual void hidePanel() = 0;
    virtual void hideFrame() = 0;

    // The user's next input; Kind::none after the limit or on a signal.
    virtual Input wait(std::chrono::milliseconds limit) = 0;
    // Call when the capture is over. Returns once the reported keys are up again, or after a while; from then on they
    // belong to other programs again, and another capture may begin.
    virtual void letGo() = 0;
};

} // namespace qm
