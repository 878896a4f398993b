#pragma once

#include "helpers/freeze/Curtain.h"
#include "helpers/freeze/RenderDrawing.h"
#include "helpers/grab/FrozenScreen.h"
#include "helpers/grab/OverlayFrame.h"
#include "helpers/grab/Picker.h"
#include "helpers/grab/ScreenPixels.h"

#include <QElapsedTimer>
#include <QHash>

#include <functional>
#include <optional>

namespace qm {

// Lets a person choose a region or a window of the frozen screen, on the curtain that shows it.
// One thread, which it keeps until the choice is made. It draws with XCB and raster painting alone: Qt's xcb platform takes
// longer to start than all that is done until the dimmed screen is there.
class Overlay
{
public:
    struct Options {
        Picker::Mode mode = Picker::Mode::region;
        Picker::Offer offer = Picker::Offer::both;
        // Called once the screen is dimmed; after it there must be a QGuiApplication, of whatever platform,
        // for the fonts. Starting one takes longer than all that came before it.
        std::function<void()> makeReadyForText;
    };
    struct Choice {
        Picker::Result result = Picker::Result::cancelled;
        QRect area;      // of the region or the window, as it was shown; pixels
        int window = -1; // index into the screen's windows
        QString failure; // why it ended by itself, for stderr; empty otherwise
    };

    Overlay(Curtain &curtain, const Options &options);
    // Lets keyboard and pointer go, once what was pressed is up again.
    ~Overlay();
    Q_DISABLE_COPY_MOVE(Overlay)

    // Returns with the curtain off the screen.
    Choice run();
    FrozenScreen &screen() { return m_screen; }

private:
    void begin();
    QString loop();
    void handle(const xcb_generic_event_t &event);
    Picker::Key key(xcb_keycode_t code) const;
    void refresh();
    OverlayFrame compose();
    void composeRegion(OverlayFrame &frame, const Monitor &monitor);
    void composeWindow(OverlayFrame &frame, const Monitor &monitor);
    QRect windowArea(int index) const;
    const QImage &label(const QString &text, double scale, double maxWidth = 0);
    QString hintText() const;
    void put(const QRegion &region);
    xcb_cursor_t cursor(double scale);

    XConnection &m_server;
    const Options m_options;
    const RenderDrawing m_render;
    Curtain &m_curtain;
    InputGrab &m_input;
    FrozenScreen m_screen;
    ScreenPaint m_paint;
    Reply<xcb_get_keyboard_mapping_reply_t> m_keyboard;
    std::optional<Picker> m_picker;
    bool m_textReady = false;
    bool m_hinted = false;
    bool m_screenChanged = false;
    OverlayFrame m_frame;         // on the screen
    OverlayFrame::Sprite m_loupe; // as long as the pointer rests
    QPoint m_loupePoint;
    double m_loupeScale = 0;
    QHash<QString, QImage> m_labels; // a few: a drag's sizes are dropped as they change
    QHash<QString, xcb_cursor_t> m_cursors;
    xcb_cursor_t m_cursor = XCB_CURSOR_NONE;
};

} // namespace qm
