#include "helpers/qmocr/WireFormat.h"

#include <QJsonObject>

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

QJsonArray placesOf(const QList<Line> &lines)
{
    QJsonArray places;
    for (const Line &line : lines) {
        QJsonArray words;
        for (const Word &word : line.words)
            words +=
                QJsonArray{word.start, word.length, word.box.x(), word.box.y(), word.box.width(), word.box.height()};
        const QJsonArray box{line.box.x(), line.box.y(), line.box.width(), line.box.height()};
        places += QJsonObject{{QStringLiteral("box"), box}, {QStringLiteral("words"), words}};
    }
    return places;
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
