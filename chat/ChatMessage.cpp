#include "chat/ChatMessage.h"

#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"

#include <QTcpSocket>

QString ChatMessage::build(QAnyStringView word, const QStringList& args) {
    QString message = word.toString();
    for (const QString& arg : args) {
        message += ChatProtocol::Separator;
        message += arg;
    }
    return message;
}

QList<QStringList> ChatMessage::splitRead(const QString& read) {
    QList<QStringList> pieces;
    const QStringList raw = read.split(ChatProtocol::LineEnd);
    pieces.reserve(raw.size());
    for (const QString& piece : raw)
        pieces.append(splitFields(piece));
    return pieces;
}

QStringList ChatMessage::splitFields(const QString& piece) {
    return piece.split(ChatProtocol::Separator);
}

QString ChatMessage::field(const QStringList& fields, qsizetype i) {
    return i < fields.size() ? fields.at(i) : QString();
}

bool ChatMessage::send(QTcpSocket& socket, const QString& message) {
    if (socket.state() != QAbstractSocket::ConnectedState)
        return false;
    socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket.write(Windows1252::encode(message));
    socket.flush();
    return true;
}
