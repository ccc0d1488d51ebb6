#include "chat/ChatSession.h"

#include "chat/ChatAddress.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "common/TlsGuard.h"
#include "common/Windows1252.h"

#include <QSignalBlocker>
#include <QSslSocket>
#include <QTimer>

#include <utility>

ChatSession::ChatSession(QObject* parent)
    : QObject(parent)
    , m_socket(new QSslSocket(this))
    , m_port(ChatProtocol::DefaultChatPort) {
    m_socket->setObjectName(QStringLiteral("Winsock1"));
    // Over TLS the server is reached once the connection is encrypted; not a byte goes before.
    connect(m_socket, &QTcpSocket::connected, this, [this] {
        if (m_socket->mode() == QSslSocket::UnencryptedMode)
            onConnected();
    });
    connect(m_socket, &QSslSocket::encrypted, this, &ChatSession::onConnected);
    connect(m_socket, &QTcpSocket::disconnected, this, &ChatSession::hungUp);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &ChatSession::onError);
    connect(m_socket, &QTcpSocket::readyRead, this, &ChatSession::onReadyRead);
}

ChatSession::~ChatSession() {
    if (m_guard)
        m_guard->disconnect(this);
    // Whoever observes us may be gone already: the socket's end is not news any more.
    m_socket->disconnect(this);
}

QTcpSocket& ChatSession::socket() { return *m_socket; }

bool ChatSession::isConnected() const { return m_socket->state() == QAbstractSocket::ConnectedState; }

bool ChatSession::send(const QString& message) { return ChatMessage::send(*m_socket, message); }

void ChatSession::setServerAddress(const QString& host, quint16 port) {
    m_host = host;
    m_port = port;
}

void ChatSession::connectToServer() {
    closeQuietly();
    m_reachedServer = false;
    const ChatAddress address = ChatAddress::parse(m_host, m_port);
    if (!address.tls) {
        m_socket->connectToHost(address.host, address.port);
        return;
    }
    if (m_guard)
        m_guard->setServer(TlsTrust::serverKey(address.host, address.port));
    m_socket->connectToHostEncrypted(address.host, address.port);
}

void ChatSession::setTlsTrust(const QString& trustFile, Prompts& prompts) {
    m_trust = std::make_unique<TlsTrustStore>(trustFile);
    m_guard = new TlsGuard(*m_socket, *m_trust, prompts, this);
    connect(m_guard, &TlsGuard::refused, this, &ChatSession::tlsRefused);
    // Accepted by the person: the handshake that asked was ended, so the connection starts again.
    connect(m_guard, &TlsGuard::accepted, this, &ChatSession::connectToServer);
}

QString ChatSession::encryption() const {
    if (!m_socket->isEncrypted())
        return {};
    switch (m_socket->sessionProtocol()) {
    case QSsl::TlsV1_2:
        return QStringLiteral("TLS 1.2");
    case QSsl::TlsV1_3:
        return QStringLiteral("TLS 1.3");
    default:
        return QStringLiteral("TLS");
    }
}

void ChatSession::closeQuietly() {
    const QSignalBlocker blocker(m_socket);
    m_socket->abort();
}

void ChatSession::signOn() {
    m_wantsAccount = false;
    connectToServer();
    Q_EMIT signingOn();
}

void ChatSession::requestAccountConnection() {
    // Whatever was signed on ends here: this connection is not a sign-on.
    clearMembers();
    m_wantsAccount = true;
    connectToServer();
}

void ChatSession::signedOff() {
    m_wantsAccount = false;
    m_requestedAccount.reset();
    clearMembers();
}

void ChatSession::onConnected() {
    m_reachedServer = true;
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    const bool forAccount = std::exchange(m_wantsAccount, false);
    if (!forAccount) {
        send(ChatMessage::build(ChatProtocol::Login, {m_nickname, m_password}));
        clearMembers();
    }
    Q_EMIT connected(forAccount);
}

void ChatSession::onError() {
    if (m_socket->error() == QAbstractSocket::RemoteHostClosedError)
        return; // reported as hungUp()
    if (!std::exchange(m_reachedServer, true))
        Q_EMIT unreachable(m_socket->errorString());
    else
        Q_EMIT lost();
}

void ChatSession::onReadyRead() {
    if (m_handlingRead)
        return;
    m_handlingRead = true;
    Q_EMIT readArrived(Windows1252::decode(m_socket->readAll()));
    m_handlingRead = false;
    Q_EMIT readHandled();
    if (m_socket->bytesAvailable() > 0)
        QTimer::singleShot(0, this, &ChatSession::onReadyRead);
}

void ChatSession::setNickname(const QString& nickname) {
    if (nickname == m_nickname)
        return;
    m_nickname = nickname;
    Q_EMIT nicknameChanged(nickname);
}

void ChatSession::setIdentificationEntries(const QStringList& entries) {
    m_identification = entries;
    Q_EMIT identificationChanged();
}

void ChatSession::addMember(const QString& name) {
    m_members.append(name);
    Q_EMIT memberAdded(name);
}

bool ChatSession::removeMember(const QString& name) {
    const int index = int(m_members.indexOf(name));
    if (index < 0)
        return false;
    m_members.removeAt(index);
    Q_EMIT memberRemoved(index, name);
    return true;
}

void ChatSession::clearMembers() {
    m_members.clear();
    Q_EMIT membersCleared();
}

void ChatSession::ignore(const QString& bracketedName) {
    m_ignored.append(bracketedName);
    Q_EMIT ignoredChanged();
}

void ChatSession::unignore(const QString& bracketedName) {
    if (m_ignored.removeOne(bracketedName))
        Q_EMIT ignoredChanged();
}

void ChatSession::clearIgnored() {
    m_ignored.clear();
    Q_EMIT ignoredChanged();
}
