#include "server/MemberSession.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"
#include "server/AddressRules.h"
#include "server/LineFramer.h"
#include "server/SocketBacklog.h"
#include "server/ServerMetrics.h"

#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <utility>

#ifdef Q_OS_UNIX
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

MemberSession::MemberSession(QTcpSocket* socket, const ServerLimits& limits, NowFunction now, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_limits(limits)
    , m_now(std::move(now))
    , m_address(AddressRules::text(socket->peerAddress())) {
    m_clock.start();
    m_socket->setParent(this);
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    // Qt stops reading from the kernel once this much is buffered, so a sender of an endless
    // line cannot make us hold more than a few lines' worth before we look at it.
    m_socket->setReadBufferSize(4 * m_limits.maxLineBytes);
    connect(m_socket, &QTcpSocket::readyRead, this, &MemberSession::onReadyRead);
    connect(m_socket, &QTcpSocket::disconnected, this, &MemberSession::onDisconnected);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &MemberSession::onDisconnected);
    // What the kernel did not take waited in Qt's buffer; once that is out, the queue goes on.
    SocketBacklog::onWritten(m_socket, this, [this] {
        if (SocketBacklog::unsent(m_socket) == 0)
            flush();
    });
    m_cutReadTimer.setSingleShot(true);
    connect(&m_cutReadTimer, &QTimer::timeout, this, [this] { handleText(m_assembler.release()); });
    // The connection may have waited in the listener's queue, where what it sent and a hang-up
    // were signalled to nobody. Queued, so that whoever made us has connected to gone() first.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_socket->bytesAvailable() > 0)
                onReadyRead();
            if (m_socket->state() == QAbstractSocket::UnconnectedState)
                onDisconnected();
        },
        Qt::QueuedConnection);
#ifdef Q_OS_UNIX
    int segment = 0;
    socklen_t size = sizeof(segment);
    if (::getsockopt(int(m_socket->socketDescriptor()), IPPROTO_TCP, TCP_MAXSEG, &segment, &size) == 0 &&
        segment > 0)
        m_maxWrite = segment;
#endif
}

void MemberSession::send(const QString& message) {
    sendEncoded(Windows1252::encode(message + ChatProtocol::LineEnd));
}

void MemberSession::sendEncoded(const QByteArray& line) {
    sendEncoded(line, DeliveryQueue::classify(line, m_limits.strictDelivery));
}

void MemberSession::sendEncoded(const QByteArray& line, DeliveryQueue::Kind kind) {
    if (m_state == State::Closing || m_socket->state() != QAbstractSocket::ConnectedState)
        return;
    m_queue.append(line, kind, m_clock.elapsed());
    if (!m_flushPosted) {
        m_flushPosted = true;
        QMetaObject::invokeMethod(this, &MemberSession::flush, Qt::QueuedConnection);
    }
}

void MemberSession::flush() {
    m_flushPosted = false;
    if (m_state == State::Closing || m_socket->state() != QAbstractSocket::ConnectedState)
        return;
    while (SocketBacklog::unsent(m_socket) == 0) {
        const QList<QByteArray> batch =
            m_queue.takeWrite(m_maxWrite, m_clock.elapsed(), [this] { return pingLine(); });
        if (batch.isEmpty())
            break;
        if (m_metrics)
            m_metrics->deliveryWait.observe(m_queue.lastWriteWaitMs() * 1000);
        write(batch);
    }
    // Counted once the kernel has taken what it will: a burst larger than the allowance is fine
    // for a member that reads.
    if (pendingOutputBytes() > m_limits.maxPendingOutputBytes)
        drop(QStringLiteral("not reading"));
}

qint64 MemberSession::pendingOutputBytes() const {
    return m_queue.queuedBytes() + SocketBacklog::unsent(m_socket);
}

quint16 MemberSession::peerPort() const {
    return m_socket->peerPort();
}

void MemberSession::write(const QList<QByteArray>& lines) {
    const QByteArray data = lines.size() == 1 ? lines.first() : lines.join();
    qsizetype sent = 0;
#ifdef Q_OS_UNIX
    // With nothing waiting in Qt's buffer, the data goes straight to the kernel: one system call
    // and no trip through Qt's write buffer and signals, which cost several times the call itself.
    // What the kernel does not take, and any error, is left to the socket's own write path.
    if (SocketBacklog::isPlain(m_socket) && m_socket->bytesToWrite() == 0) {
        const auto n = ::send(int(m_socket->socketDescriptor()), data.constData(), std::size_t(data.size()),
                              MSG_DONTWAIT | MSG_NOSIGNAL);
        if (n > 0)
            sent = n;
    }
#endif
    if (sent < data.size()) {
        m_socket->write(data.constData() + sent, data.size() - sent);
        m_socket->flush();
    }
}

QByteArray MemberSession::pingLine() const {
    return Windows1252::encode(
        ChatMessage::build(ChatProtocol::Ping, {m_now().toString(QStringLiteral("HH:mm:ss"))}) +
        ChatProtocol::LineEnd);
}

void MemberSession::closeAfterSending() {
    if (m_state == State::Closing)
        return;
    // The connection ends here, so what is queued goes now, read rules aside.
    if (m_socket->state() == QAbstractSocket::ConnectedState) {
        const QList<QByteArray> rest = m_queue.takeAll();
        if (!rest.isEmpty())
            write(rest);
    }
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
    // A PING the client handled is answered at once, and a client that sends nothing for three
    // intervals is dropped; so a PING unanswered for that long was lost.
    if (m_queue.forgetOlderThan(m_clock.elapsed() - 3 * qint64(m_limits.keepAliveMs)))
        flush();
    // While a read is awaited nothing may be written; the probe's answer shows the client alive.
    if (!m_queue.awaitingRead())
        sendEncoded(pingLine(), DeliveryQueue::Kind::Ping);
}

void MemberSession::onReadyRead() {
    const QByteArray read = m_socket->readAll();
    if (m_state == State::Closing)
        return;
    // A TLS client on the plain port: its hello is no message, and it would wait for an answer
    // that never comes. Cut off at once, so that it fails at once and says why.
    if (!std::exchange(m_heardAnything, true) && read.startsWith("\x16\x03")) {
        drop(QStringLiteral("TLS on the plain port"));
        return;
    }
    m_heardSinceTick = true;
    handleText(m_assembler.take(read));
    if (m_assembler.heldBytes() > m_limits.maxLineBytes)
        dropForLongLine();
    else if (m_assembler.isHolding())
        m_cutReadTimer.start(m_limits.cutReadWaitMs);
    else
        m_cutReadTimer.stop();
}

void MemberSession::handleText(const QByteArray& text) {
    for (const QByteArray& piece : text.split('\n')) {
        if (piece.size() > m_limits.maxLineBytes) {
            dropForLongLine();
            return;
        }
    }
    for (const QString& message : LineFramer::messagesOf(text)) {
        if (m_state == State::Closing)
            return;
        const QStringList fields = ChatMessage::splitFields(message);
        const bool isPing = fields.first() == ChatProtocol::Ping;
        if (!admitByFloodRule(isPing))
            continue;
        if (!isPing) {
            emit messageReceived(this, fields);
        } else if (m_queue.pingAnswered()) {
            flush();
        }
    }
}

void MemberSession::dropForLongLine() {
    // The notice has to leave before the connection ends, or the member never learns why.
    setProperty("dropReason", QStringLiteral("line too long"));
    send(ChatMessage::build(ChatProtocol::ServerMsg, {QStringLiteral("Line too long; disconnected.")}));
    closeAfterSending();
}

bool MemberSession::admitByFloodRule(bool isPing) {
    // The answer to a PING we wrote costs the client nothing; a PING nobody asked for is a line.
    if (isPing && m_queue.unansweredPings() > 0)
        return true;
    const QDateTime now = m_now();
    const QDateTime windowStart = now.addMSecs(-m_limits.floodWindowMs);
    while (!m_recentMessages.isEmpty() && m_recentMessages.first() <= windowStart)
        m_recentMessages.removeFirst();
    // A connection that has not signed on has nothing to say but a sign-on: a tiny allowance.
    const bool signedOn = m_state == State::SignedOn;
    const int allowed =
        signedOn ? m_limits.floodLines : std::min(m_limits.floodLines, m_limits.preSignOnLines);
    if (m_recentMessages.size() >= allowed) {
        if (!signedOn) {
            send(ChatMessage::build(ChatProtocol::ServerMsg,
                                    {QStringLiteral("Too many messages before sign-on; disconnected.")}));
            closeAfterSending();
            return false;
        }
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
    // The peer closed right behind its last message: that message is whole.
    if (m_state != State::Closing && m_assembler.isHolding())
        handleText(m_assembler.release());
    m_goneReported = true;
    m_state = State::Closing;
    emit gone(this);
}
