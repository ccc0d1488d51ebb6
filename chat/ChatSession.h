#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class Prompts;
class QSslSocket;
class QTcpSocket;
class TlsGuard;
class TlsTrustStore;

// One member's time on the chat server, below every window: the connection, who we are, who is in
// the room, whom we ignore and where downloads go. Windows observe it through its signals.
class ChatSession : public QObject {
    Q_OBJECT
public:
    explicit ChatSession(QObject* parent = nullptr);
    ~ChatSession() override;

    // The connection to the chat server (its object name is "Winsock1").
    QTcpSocket& socket();
    bool isConnected() const;
    // Sends one message; false (nothing sent) when not connected.
    bool send(const QString& message);

    QString serverHost() const { return m_host; }
    quint16 serverPort() const { return m_port; }
    void setServerAddress(const QString& host, quint16 port);
    void setServerHost(const QString& host) { m_host = host; }

    // A server box of the form "tls://host[:port]" signs on over TLS (see ChatAddress). Certificates
    // the system's authorities vouch for are accepted; with this, a self-signed one is shown to the
    // person through `prompts` the first time and, once accepted, kept in `trustFile`, and a
    // changed one refused (see TlsGuard). Without it, only vouched-for certificates are accepted.
    void setTlsTrust(const QString& trustFile, Prompts& prompts);
    // "TLS 1.3" while the connection is encrypted; empty otherwise.
    QString encryption() const;

    // Closes an open connection without reporting it, and connects again. A failure to reach the
    // server is reported once, by unreachable().
    void connectToServer();
    // A close we asked for is not the server hanging up: nothing is reported for it.
    void closeQuietly();
    // Sign-on: a new connection whose first message will be the login.
    void signOn();
    // A connection to ask for an account: its first message comes from the account dialog.
    void requestAccountConnection();
    bool wantsAccount() const { return m_wantsAccount; }
    // The account dialog has sent its request for this name; the answer ends the connection.
    void accountRequested(const QString& name) { m_requestedAccount = name; }
    std::optional<QString> requestedAccount() const { return m_requestedAccount; }
    // Back to the plain signed-off state: no account request pending, nobody present.
    void signedOff();

    QString nickname() const { return m_nickname; }
    void setNickname(const QString& nickname);
    QString password() const { return m_password; }
    void setPassword(const QString& password) { m_password = password; }
    // What "who am I" answers with: "Age : 23" and the like.
    QStringList identificationEntries() const { return m_identification; }
    void setIdentificationEntries(const QStringList& entries);

    // The members present, in the order the server named them.
    QStringList members() const { return m_members; }
    void addMember(const QString& name);
    // Removes the first member of that exact name; false when nobody by that name is present.
    bool removeMember(const QString& name);
    void clearMembers();

    // Ignored members, bracketed as chat lines name their senders ("<bob>").
    QStringList ignored() const { return m_ignored; }
    bool isIgnored(const QString& bracketedName) const { return m_ignored.contains(bracketedName); }
    void ignore(const QString& bracketedName);
    void unignore(const QString& bracketedName);
    void clearIgnored();

    bool refusesPrivateMessages() const { return m_refusePrivateMessages; }
    void setRefusesPrivateMessages(bool refuse) { m_refusePrivateMessages = refuse; }
    bool refusesFiles() const { return m_refuseFiles; }
    void setRefusesFiles(bool refuse) { m_refuseFiles = refuse; }

    // Where every download is saved.
    QString downloadFolder() const { return m_downloadFolder; }
    void setDownloadFolder(const QString& folder) { m_downloadFolder = folder; }

Q_SIGNALS:
    void signingOn();
    // Reached the server. The login has gone, unless the connection is for an account request.
    void connected(bool forAccount);
    // The server hung up.
    void hungUp();
    // The connection attempt failed before reaching the server.
    void unreachable(const QString& why);
    // The TLS handshake ended because the certificate was refused; nothing was sent. Why, for the
    // person (empty when they declined the certificate themselves).
    void tlsRefused(const QString& why);
    // The connection failed after reaching the server, other than by the server hanging up.
    void lost();
    // One read from the server, decoded. Data that arrives while it is handled (a box opened in the
    // middle of a read runs the event loop) waits and comes as the next read, once this one ends.
    void readArrived(const QString& read);
    void readHandled();
    void nicknameChanged(const QString& nickname);
    void identificationChanged();
    void memberAdded(const QString& name);
    void memberRemoved(int index, const QString& name);
    void membersCleared();
    void ignoredChanged();

private:
    void onConnected();
    void onError();
    void onReadyRead();

    QSslSocket* m_socket;
    std::unique_ptr<TlsTrustStore> m_trust;
    TlsGuard* m_guard = nullptr;
    QString m_host;
    quint16 m_port;
    bool m_reachedServer = true;
    bool m_handlingRead = false;
    bool m_wantsAccount = false;
    std::optional<QString> m_requestedAccount;
    QString m_nickname;
    QString m_password;
    QStringList m_identification;
    QStringList m_members;
    QStringList m_ignored;
    bool m_refusePrivateMessages = false;
    bool m_refuseFiles = false;
    QString m_downloadFolder;
};
