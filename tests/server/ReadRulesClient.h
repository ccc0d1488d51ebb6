#pragma once

#include <QByteArray>
#include <QObject>
#include <QStringList>
#include <QTcpSocket>

// A member's client that handles reads the way the real client does: each read split on CR LF,
// no reassembly across reads, and the pieces behind a read-ending message (INVALID, DONER, NICK,
// a PART that removed a name, a MSG from an ignored member, a "/me" line, every PMSG) dropped.
// While busy (a message box is open) it reads nothing; what arrived meanwhile is one read later.
class ReadRulesClient : public QObject {
    Q_OBJECT
public:
    // nickAnswers: what is typed at each NICK demand, in turn.
    explicit ReadRulesClient(const QStringList& nickAnswers = {}, QObject* parent = nullptr);

    bool connectAndLogin(quint16 port, const QString& name, const QString& password);
    void send(const QByteArray& bytes);
    void setBusy(bool busy);
    void setIgnored(const QStringList& bracketedNames) { m_ignored = bracketedNames; }
    QTcpSocket& socket() { return m_socket; }

    QStringList users() const { return m_users; }
    // Every piece handled, PINGs left out.
    QStringList handled() const { return m_handled; }
    // Pieces other than PINGs dropped behind a read-ending message or cut across two reads.
    QStringList lost() const { return m_lost; }

private:
    void onReadyRead();
    void handleRead(const QByteArray& read);
    bool handlePiece(const QString& piece); // false: the read ends here

    QTcpSocket m_socket;
    QStringList m_nickAnswers;
    bool m_busy = false;
    QStringList m_ignored;
    QStringList m_users;
    QStringList m_handled;
    QStringList m_lost;
};
