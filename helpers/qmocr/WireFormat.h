#pragma once

#include "helpers/qmocr/Line.h"

#include <QByteArray>
#include <QJsonArray>
#include <QList>

namespace qm::ocr {

// Protocol between the parent and a worker over the worker's standard input and output: messages terminated by NUL,
// which occurs neither in paths nor in texts. A request is a path, byte for byte as it was passed in.

struct Reply {
    enum class Kind : char {
        begun = 'b',        // work has started: the language data is loaded
        pixels = 'p',       // the picture is open; payload: number of pixels in decimal
        places = 'l',       // of the lines of the text that follows: placesOf() as JSON
        firstText = 'f',    // result of the first pass; stands if nothing follows
        text = 't',         // the whole text; completes the request
        passingError = 'e', // completes it; the reason may be gone next time
        lastingError = 'x', // completes it; the reason lies in the file
        noData = 'n',       // completes it; no language data is installed
    };
    Kind kind;
    QByteArray payload; // UTF-8
};

QByteArray encoded(const QByteArray &request);
QByteArray encoded(const Reply &reply);

// The lines' places as the program prints them: for each {"box": [x, y, w, h], "words": [[start, length, x, y, w, h]]}.
QJsonArray placesOf(const QList<Line> &lines);

// Splits the incoming stream into complete messages.
class MessageSplitter
{
public:
    explicit MessageSplitter(char end = '\0')
        : m_end(end)
    {
    }

    QList<QByteArray> take(const QByteArray &piece);
    QByteArray rest() const { return m_rest; } // incomplete message at the end

private:
    char m_end;
    QByteArray m_rest;
};

Reply decodedReply(const QByteArray &message); // kind is none of the above for an empty message

} // namespace qm::ocr
