#include "helpers/qmocr/LineWriter.h"

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

namespace qm::ocr {

LineWriter::LineWriter(int descriptor)
    : m_descriptor(descriptor)
    , m_context(new QObject)
{
    m_context->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_context, &QObject::deleteLater);
    m_thread.start();
}

LineWriter::~LineWriter()
{
    QMetaObject::invokeMethod(
        m_context, [this] { m_thread.quit(); }, Qt::QueuedConnection);
    m_thread.wait();
}

void LineWriter::write(const QByteArray &bytes)
{
    QMetaObject::invokeMethod(
        m_context,
        [this, bytes] {
            for (qsizetype done = 0; done < bytes.size();) {
                const ssize_t n = ::write(m_descriptor, bytes.constData() + done, size_t(bytes.size() - done));
                if (n < 0 && errno != EINTR)
                    std::_Exit(0);
                done += std::max<ssize_t>(n, 0);
            }
        },
        Qt::QueuedConnection);
}

} // namespace qm::ocr
