#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace qm {

// What quillmere can be asked to do: from its menu, by a second start, by the desktop's own shortcuts.
struct Command {
    enum class Verb {
        open,
        captureRegion,
        captureWindow,
        captureScroll,
        openStore, // the capture folder; from the menu only
        library,
        settings,
        annotate,
        quit
    };

    Verb verb = Verb::open; // a plain start: the library, where an instance runs already
    QString file;           // annotate only; absolute

    // From the words behind the program's name; nothing for words that are no command.
    static std::optional<Command> fromWords(const QStringList &words);

    // Between processes: one line of JSON. Nothing for a line that is no command.
    QByteArray toMessage() const;
    static std::optional<Command> fromMessage(const QByteArray &message);

    bool operator==(const Command &) const = default;
};

} // namespace qm
