#pragma once

#include "imaging/RowSink.h"

#include <QByteArray>
#include <QDeadlineTimer>

class QIODevice;

namespace qm {

// A picture on its way from the process that decodes it to the one that wants it: what a RowSink is told, as messages of a
// type, a length and so many bytes. One thread.
namespace RowStream {

// The decoding process's end. Rows are only taken as RGB888 and RGBA8888, whole pictures in every format.
class Writer : public RowSink
{
public:
    explicit Writer(QIODevice &pipe)
        : m_pipe(pipe)
    {
    }

    bool begin(const PictureHeader &header) override; // at once, as the reader may refuse
    bool add(const uchar *row) override;
    bool addWhole(const QImage &image) override;

    void end(Decoded decoded); // what came of it; the last message

private:
    bool write(char type, const void *bytes, qsizetype count);
    bool flush();

    QIODevice &m_pipe;
    QByteArray m_waiting; // small messages go together
    qsizetype m_rowBytes = 0;
};

// The other end. A picture may have taken over the process that writes: nothing is handed on that a reader in this process
// could not have said, and no more memory is taken than the header announced and the sink agreed to. Blocks. False promises,
// an end without a last message, and a picture that is not complete by the deadline are Decoded::nothing.
Decoded read(QIODevice &pipe, RowSink &sink, QDeadlineTimer deadline = QDeadlineTimer::Forever);

} // namespace RowStream
} // namespace qm
