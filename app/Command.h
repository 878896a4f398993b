#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace qm {

// A request to quillmere: from its menu, a second start or the desktop's own shortcuts.
struct Command {
    enum class Verb {
        open,
        captureRegion,
        captureWindow,
        captureScroll,
        captureScreen,
        captureLast,
        captureText, // of a region; the text and no picture
        openStore,   // the capture folder; from the menu only
        library,
        settings,
        annotate,
        quit
    };

    Verb verb = Verb::open; // a plain start; shows the library if an instance is already running
    QString file = {};      // annotate only; absolute

    // For captures only.
    std::chrono::seconds delay{0};
    bool isWholeDesktop = false; // captureScreen: all monitors
    bool isFromMenu = false;     // the user chose it from a menu that is only just disappearing

    QString activation = {}; // of another process; see WindowActivation. Not among the words

    // Parses the command line after the program name; std::nullopt if it is not a command.
    static std::optional<Command> fromWords(const QStringList &words);

    // Message format between processes: one line of JSON. std::nullopt if the line is not a command.
    QByteArray toMessage() const;
    static std::optional<Command> fromMessage(const QByteArray &message);

    bool operator==(const Command &) const = default;
};

} // namespace qm
