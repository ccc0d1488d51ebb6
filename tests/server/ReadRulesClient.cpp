#include "ReadRulesClient.h"

#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"

using namespace ChatProtocol;

ReadRulesClient::ReadRulesClient(const QStringList& nickAnswers, QObject* parent)
    : QObject(parent)
    , m_nickAnswers(nickAnswers) {
    connect(&m_socket, &QTcpSocket::readyRead, this, &ReadRulesClient::onReadyRead);
}

bool ReadRulesClient::connectAndLogin(quint16 port, const QString& name, const QString& password) {
    m_socket.connectToHost(QHostAddress::LocalHost, port);
    if (!m_socket.waitForConnected(5000))
        return false;
    send(Windows1252::encode(QString(Login) + Separator + name + Separator + password));
    return true;
}

void ReadRulesClient::send(const QByteArray& bytes) {
    m_socket.write(bytes);
    m_socket.flush();
}

void ReadRulesClient::setBusy(bool busy) {
    m_busy = busy;
    if (!m_busy && m_socket.bytesAvailable() > 0)
        handleRead(m_socket.readAll());
}

void ReadRulesClient::onReadyRead() {
    if (!m_busy)
        handleRead(m_socket.readAll());
}

void ReadRulesClient::handleRead(const QByteArray& read) {
    const QStringList pieces = Windows1252::decode(read).split(LineEnd);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        const bool last = i == pieces.size() - 1;
        if (last && !pieces[i].isEmpty())
            m_lost.append(QStringLiteral("cut: ") + pieces[i]);
        if (last || handlePiece(pieces[i]))
            continue;
        for (const QString& behind : pieces.mid(i + 1)) {
            if (!behind.isEmpty() && !behind.startsWith(Ping))
                m_lost.append(behind);
        }
        return;
    }
}

bool ReadRulesClient::handlePiece(const QString& piece) {
    const QStringList fields = piece.split(Separator);
    const QString word = fields.first();
    const QString arg = fields.value(1);
    if (word == Ping) {
        send(Windows1252::encode(QString(Ping) + Separator + QStringLiteral("12:00:00") + LineEnd));
        return true;
    }
    if (word == Msg) {
        const QStringList words = arg.split(u' ');
        if (m_ignored.contains(words.first()))
            return false;
        m_handled.append(piece);
        return words.value(1).toLower() != QLatin1String("/me");
    }
    m_handled.append(piece);
    if (word == List || word == Join) {
        m_users.append(arg);
    } else if (word == Part) {
        return !m_users.removeOne(arg);
    } else if (word == Nick) {
        send(Windows1252::encode(QString(Nick) + Separator + m_nickAnswers.value(0)));
        if (!m_nickAnswers.isEmpty())
            m_nickAnswers.removeFirst();
        return false;
    }
    return word != Invalid && word != Done && word != PrivateMsg;
}
