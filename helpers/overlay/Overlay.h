#pragma once

#include "helpers/overlay/OverlayDesktop.h"
#include "helpers/overlay/OverlayScene.h"

#include <QDeadlineTimer>

#include <chrono>
#include <functional>
#include <optional>

namespace qm {

// Lets the user choose a region or a window of the frozen screen. One thread, blocked until the choice is made. Drawing
// is plain raster painting: Qt's own platforms take longer to start than everything up to the dimmed screen.
class Overlay
{
public:
    struct Options {
        Picker::Mode mode = Picker::Mode::region;
        Picker::Offer offer = Picker::Offer::all;
        QRect lastRegion = {}; // may be taken again; null if there is none
        // How long to wait for keyboard and pointer while another program has them. The screen is frozen all the same.
        std::chrono::milliseconds patience = std::chrono::seconds(1);
        // Called once the screen is dimmed; must create a QGuiApplication, of any platform, for the fonts. Starting one
        // takes longer than everything before it.
        std::function<void()> makeReadyForText;
        std::function<void(Picker::Result)> chosen = {}; // called, if it is there, with the overlay still on the screen
    };
    struct Choice {
        Picker::Result result = Picker::Result::cancelled;
        QRect area;      // of the region, window or monitor as shown, or of the pixel with the colour; pixels
        int window = -1; // index into the screen's windows
        QString failure; // reason of a failure, for stderr; otherwise empty
    };

    Overlay(OverlayDesktop &desktop, const Options &options);

    static QString unreadableScreen(); // the failure where FrozenScreen has no pixels

    Choice run(); // returns with the overlay off the screen

private:
    QString loop();
    void handle(const OverlayDesktop::Input &input);
    void refresh();

    OverlayDesktop &m_desktop;
    FrozenScreen &m_screen;
    const Options m_options;
    OverlayScene m_scene;
    std::optional<Picker> m_picker;
    QString m_failure;
    bool m_inputHeld = false;
    QDeadlineTimer m_idle;
    bool m_textReady = false;
    bool m_hinted = false;
    OverlayFrame m_frame; // on the screen
};

} // namespace qm
