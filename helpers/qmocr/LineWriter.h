#pragma once

#include <QByteArray>
#include <QThread>

#include <memory>

namespace qm::ocr {

// Writes to a file descriptor from its own thread, so that a slow reader never blocks the caller. Each write goes out
// at once. The process exits quietly when the other end is closed.
class LineWriter
{
public:
    explicit LineWriter(int descriptor);
    ~LineWriter(); // waits until everything is written

    void write(const QByteArray &bytes); // any thread; returns at once

private:
    const int m_descriptor;
    QThread m_thread;
    QObject *m_context; // lives on the thread
};

} // namespace qm::ocr
