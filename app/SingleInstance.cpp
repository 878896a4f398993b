#include "app/SingleInstance.h"

#include "config/ConfigStore.h"

#include <QFileInfo>
#include <QLocalSocket>
#include <QLockFile>
#include <QTimer>

namespace qm {

using namespace std::chrono_literals;

static constexpr int connectLimit = 1000; // ms
static constexpr int writeLimit = 5000;   // ms
static constexpr auto readLimit = 5s;
static constexpr qint64 longestMessage = 16 * 1024; // a path has at most 4096 bytes, each of which JSON may escape

static QString homeSocketPath()
{
    return ConfigStore::homeFolder() + QStringLiteral("/socket");
}

static QString socketPath()
{
    const QString folder = ConfigStore::runtimeFolder();
    return folder == ConfigStore::homeFolder() ? homeSocketPath() : folder + QStringLiteral("/quillmere.sock");
}

bool SingleInstance::handOver(const Command &command)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(connectLimit)) {
        socket.connectToServer(homeSocketPath()); // of one that was started where there was no runtime folder
        if (!socket.waitForConnected(connectLimit))
            return false;
    }
    socket.write(command.toMessage());
    while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(writeLimit)) {
    }
    socket.disconnectFromServer();
    return true;
}

bool SingleInstance::listen(Received received)
{
    const QString path = socketPath();
    ConfigStore::createFolder(QFileInfo(path).path());
    // Only the holder of this lock may remove a socket that nobody answers on.
    QLockFile lock(path + QStringLiteral(".lock"));
    lock.setStaleLockTime(0);
    lock.tryLock(connectLimit);
    QLocalSocket probe;
    probe.connectToServer(path);
    if (probe.waitForConnected(connectLimit))
        return false;

    m_received = std::move(received);
    QLocalServer::removeServer(path);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    m_server.listen(path);
    QObject::connect(&m_server, &QLocalServer::newConnection, &m_server, [this] { serve(); });
    return true;
}

void SingleInstance::serve()
{
    while (QLocalSocket *socket = m_server.nextPendingConnection()) {
        QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        QTimer::singleShot(readLimit, socket, [socket] { socket->abort(); });
        socket->setReadBufferSize(longestMessage + 1);
        const auto read = [this, socket] {
            if (!socket->canReadLine()) {
                if (socket->bytesAvailable() > longestMessage)
                    socket->abort();
                return;
            }
            const std::optional<Command> command = Command::fromMessage(socket->readLine());
            socket->close();
            if (command)
                m_received(*command);
        };
        QObject::connect(socket, &QLocalSocket::readyRead, socket, read);
        read();
    }
}

} // namespace qm
