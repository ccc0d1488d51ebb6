#include "server/MemberSession.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"
#include "server/AddressRules.h"
#include "server/LineFramer.h"

#include <QTcpSocket>
#include <QTimer>

#ifdef Q_OS_UNIX
#include <sys/socket.h>
#endif

MemberSession::MemberSession(QTcpSocket* socket, const ServerLimits& limits, NowFunction now, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_limits(limits)
    , m_now(std::move(now))
    , m_address(AddressRules::text(socket->peerAddress())) {
    m_socket->setParent(this);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    // Qt stops reading from the kernel once this much is buffered, so a sender of an endless
    // line cannot make us hold more than a few lines' worth before we look at it.
    m_socket->setReadBufferSize(4 * m_limits.maxLineBytes);
    connect(m_socket, &QTcpSocket::readyRead, this, &MemberSession::onReadyRead);
    connect(m_socket, &QTcpSocket::disconnected, this, &MemberSession::onDisconnected);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &MemberSession::onDisconnected);
}

void MemberSession::send(const QString& message) {
    sendEncoded(Windows1252::encode(message + ChatProtocol::LineEnd));
}

void MemberSession::sendEncoded(const QByteArray& line) {
    if (m_state == State::Closing || m_socket->state() != QAbstractSocket::ConnectedState)
        return;
    // One write per message, flushed at once: the client stops reading a batch after some
    // messages, so we never gather several into one write on purpose.
    qsizetype sent = 0;
#ifdef Q_OS_UNIX
    // With nothing queued, the line goes straight to the kernel: one system call and no trip
    // through Qt's write buffer and signals, which cost several times the call itself. What the
    // kernel does not take, and any error, is left to the socket's own write path.
    if (m_socket->bytesToWrite() == 0) {
        const auto n = ::send(int(m_socket->socketDescriptor()), line.constData(), std::size_t(line.size()),
                              MSG_DONTWAIT | MSG_NOSIGNAL);
        if (n > 0)
            sent = n;
    }
#endif
    if (sent < line.size()) {
        m_socket->write(line.constData() + sent, line.size() - sent);
        m_socket->flush();
    }
    if (m_socket->bytesToWrite() > m_limits.maxPendingOutputBytes)
        drop(QStringLiteral("not reading"));
}

void MemberSession::closeAfterSending() {
    if (m_state == State::Closing)
        return;
    m_state = State::Closing;
    m_socket->disconnectFromHost();
    // A member that does not read would keep its connection, and all that is queued for it,
    // for as long as it likes; after a short grace it is cut off.
    QTimer::singleShot(m_limits.closeGraceMs, this, [this] {
        m_socket->abort();
        onDisconnected();
    });
}

void MemberSession::drop(const QString& reason) {
    if (m_state == State::Closing && m_socket->state() == QAbstractSocket::UnconnectedState)
        return;
    m_state = State::Closing;
    setProperty("dropReason", reason);
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_socket->abort();
            onDisconnected();
        },
        Qt::QueuedConnection);
}

void MemberSession::keepAliveTick() {
    if (m_state == State::Closing)
        return;
    m_silentTicks = m_heardSinceTick ? 0 : m_silentTicks + 1;
    m_heardSinceTick = false;
    if (m_silentTicks >= 3) {
        drop(QStringLiteral("silent"));
        return;
    }
    send(ChatMessage::build(ChatProtocol::Ping, {m_now().toString(QStringLiteral("HH:mm:ss"))}));
}

void MemberSession::onReadyRead() {
    const QByteArray segment = m_socket->readAll();
    if (m_state == State::Closing)
        return;
    m_heardSinceTick = true;
    for (const QByteArray& piece : segment.split('\n')) {
        if (piece.size() > m_limits.maxLineBytes) {
            send(ChatMessage::build(ChatProtocol::ServerMsg,
                                    {QStringLiteral("Line too long; disconnected.")}));
            drop(QStringLiteral("line too long"));
            return;
        }
    }
    for (const QString& message : LineFramer::messagesOf(segment)) {
        if (m_state == State::Closing)
            return;
        const QStringList fields = ChatMessage::splitFields(message);
        if (fields.first() != ChatProtocol::Ping && !admitByFloodRule())
            continue;
        emit messageReceived(this, fields);
    }
}

bool MemberSession::admitByFloodRule() {
    const QDateTime now = m_now();
    const QDateTime windowStart = now.addMSecs(-m_limits.floodWindowMs);
    while (!m_recentMessages.isEmpty() && m_recentMessages.first() <= windowStart)
        m_recentMessages.removeFirst();
    if (m_recentMessages.size() >= m_limits.floodLines) {
        if (!m_floodNoticeSent) {
            m_floodNoticeSent = true;
            send(ChatMessage::build(
                ChatProtocol::ServerMsg,
                {QStringLiteral("You are sending too fast; some of your lines were dropped.")}));
        }
        return false;
    }
    m_floodNoticeSent = false;
    m_recentMessages.append(now);
    return true;
}

void MemberSession::onDisconnected() {
    if (m_goneReported)
        return;
    if (m_socket->state() != QAbstractSocket::UnconnectedState && m_state != State::Closing)
        return; // a transient error on a live socket; the disconnect that follows reports it
    m_goneReported = true;
    m_state = State::Closing;
    emit gone(this);
}
