#pragma once

#include <QByteArray>
#include <QList>

namespace qm::ocr {

// What the parent and a worker say to each other over the worker's standard input and output: messages that end with a
// NUL, which neither a path nor a text can hold. A request is a path, byte for byte as it was asked for.

struct Reply {
    enum class Kind : char {
        begun = 'b',        // the request is taken up: the language data is loaded
        pixels = 'p',       // the picture is open; its number of pixels in decimal
        firstText = 'f',    // what the first pass read; stands if nothing follows
        text = 't',         // all that was read: the request is done
        passingError = 'e', // done, with a reason that may be gone the next time
        lastingError = 'x', // done, with a reason that lies in the file
        noData = 'n',       // done: no language data is installed
    };
    Kind kind;
    QByteArray payload; // UTF-8
};

QByteArray encoded(const QByteArray &request);
QByteArray encoded(const Reply &reply);

// Takes the stream in pieces as they come and gives the messages that are complete.
class MessageSplitter
{
public:
    explicit MessageSplitter(char end = '\0')
        : m_end(end)
    {
    }

    QList<QByteArray> take(const QByteArray &piece);
    QByteArray rest() const { return m_rest; } // what no end has followed yet

private:
    char m_end;
    QByteArray m_rest;
};

Reply decodedReply(const QByteArray &message); // an empty message gives a kind of none of the above

} // namespace qm::ocr
