// The single-instance module: a local server for the first instance, a socket for later ones.
#include "instancechannel.h"

#include <QDataStream>
#include <QDeadlineTimer>
#include <QLocalServer>
#include <QLocalSocket>
#include <QThread>

#include <algorithm>

namespace {

// Both ends are the same program, but a fixed version keeps the frame independent of Qt's default.
constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_6_0;
const char kAck = '\x06';
constexpr qint64 kRetryMs = 50;

int Remaining(const QDeadlineTimer& deadline)
{
    return deadline.isForever() ? -1 : int(deadline.remainingTime());
}

class LocalInstanceChannel : public InstanceChannel
{
public:
    bool ServerAnswers(const QString& serverPath, int timeoutMs) override
    {
        QLocalSocket socket;
        socket.connectToServer(serverPath);
        return socket.waitForConnected(timeoutMs);
    }

    void Listen(const QString& serverPath, bool replaceLeftover,
                const MessageHandler& onMessage) override
    {
        m_onMessage = onMessage;
        QObject::connect(&m_server, &QLocalServer::newConnection, &m_server,
                         [this] { OnNewConnection(); });
        if (!m_server.listen(serverPath) && replaceLeftover) {
            QLocalServer::removeServer(serverPath);
            m_server.listen(serverPath);
        }
    }

    bool Send(const QString& serverPath, const QString& message, int timeoutMs) override;

private:
    void OnNewConnection();
    void OnReadyRead(QLocalSocket* socket);

    QLocalServer m_server;
    MessageHandler m_onMessage;
};

void LocalInstanceChannel::OnNewConnection()
{
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        QObject::connect(socket, &QLocalSocket::readyRead, socket,
                         [this, socket] { OnReadyRead(socket); });
        QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void LocalInstanceChannel::OnReadyRead(QLocalSocket* socket)
{
    QDataStream in(socket);
    in.setVersion(kStreamVersion);
    in.startTransaction();
    QString message;
    in >> message;
    if (!in.commitTransaction()) {
        // An incomplete frame waits for more data; a corrupt one will never make sense.
        if (in.status() == QDataStream::ReadCorruptData)
            socket->abort();
        return;
    }
    // Confirm before reacting, so the later start does not wait on whatever the reaction does.
    socket->write(&kAck, 1);
    socket->flush();
    m_onMessage(message);
}

bool LocalInstanceChannel::Send(const QString& serverPath, const QString& message, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    QLocalSocket socket;
    // The running instance takes its lock before it listens, so it may not be listening yet.
    for (;;) {
        socket.connectToServer(serverPath);
        if (socket.waitForConnected(Remaining(deadline)))
            break;
        if (deadline.hasExpired())
            return false;
        const qint64 left = deadline.remainingTime();
        QThread::msleep(left < 0 ? kRetryMs : std::min(kRetryMs, left));
    }

    QByteArray frame;
    QDataStream out(&frame, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << message;
    socket.write(frame);
    while (socket.bytesToWrite() > 0) {
        if (!socket.waitForBytesWritten(Remaining(deadline)))
            return false;
    }
    // A frozen instance still accepts connections at the socket level; only its answer shows
    // that it is alive.
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(Remaining(deadline)))
            return false;
    }
    char answer = 0;
    return socket.getChar(&answer) && answer == kAck;
}

} // namespace

extern "C" Q_DECL_EXPORT InstanceChannel* CreateInstanceChannel()
{
    return new LocalInstanceChannel;
}
