#include "helpers/qmocr/WireFormat.h"

namespace qm::ocr {

QByteArray encoded(const QByteArray &request)
{
    return request + '\0';
}

QByteArray encoded(const Reply &reply)
{
    QByteArray payload = reply.payload;
    payload.replace('\0', ' ');
    return char(reply.kind) + payload + '\0';
}

QList<QByteArray> MessageSplitter::take(const QByteArray &piece)
{
    QList<QByteArray> messages;
    qsizetype start = 0;
    for (qsizetype end; (end = piece.indexOf(m_end, start)) >= 0; start = end + 1) {
        messages += m_rest + piece.sliced(start, end - start);
        m_rest.clear();
    }
    m_rest += piece.sliced(start);
    return messages;
}

Reply decodedReply(const QByteArray &message)
{
    return message.isEmpty() ? Reply{Reply::Kind{}, {}} : Reply{Reply::Kind(message[0]), message.sliced(1)};
}

} // namespace qm::ocr
