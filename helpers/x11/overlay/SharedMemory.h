#pragma once

#include "helpers/x11/XConnection.h"

#include <memory>

namespace qm {

// Memory shared between the X server and this process (MIT-SHM 1.2, by file descriptor: it has no name, so nothing is
// left behind however the process ends, and it works even with separate System V namespaces).
class SharedMemory
{
public:
    // Null if the server cannot: it is remote, or old.
    static std::unique_ptr<SharedMemory> create(XConnection &server, size_t bytes);
    ~SharedMemory();
    Q_DISABLE_COPY_MOVE(SharedMemory)

    uchar *data() const { return m_data; }
    size_t size() const { return m_size; }
    quint32 segment() const { return m_segment; }

private:
    SharedMemory(XConnection &server, uchar *data, size_t size);

    XConnection &m_server;
    uchar *m_data;
    size_t m_size;
    quint32 m_segment;
};

} // namespace qm
