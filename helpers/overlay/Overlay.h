#pragma once

#include "helpers/overlay/OverlayDesktop.h"
#include "helpers/overlay/OverlayScene.h"

#include <functional>
#include <optional>

namespace qm {

// Lets a person choose a region or a window of the frozen screen. One thread, which it keeps until the choice is made.
// Drawing is raster painting alone: Qt's own platforms take longer to start than all that is done until the dimmed screen
// is there.
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

    Overlay(OverlayDesktop &desktop, const Options &options);

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
    bool m_textReady = false;
    bool m_hinted = false;
    OverlayFrame m_frame; // on the screen
};

} // namespace qm
