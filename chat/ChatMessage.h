#pragma once

#include <QAnyStringView>
#include <QList>
#include <QString>
#include <QStringList>

class QTcpSocket;

// A chat message is its command word followed by "|¿|" and each argument, unquoted and unescaped.
struct ChatMessage {
    static QString build(QAnyStringView word, const QStringList& args = {});

    // One read from the socket: pieces on CR LF, each piece split into fields on "|¿|".
    // Nothing is carried between reads, so a message cut across two reads stays two broken pieces.
    static QList<QStringList> splitRead(const QString& read);
    static QStringList splitFields(const QString& piece);

    // Field i of a piece, or an empty string where the piece is too short.
    static QString field(const QStringList& fields, qsizetype i);

    // One send per message: Windows-1252 bytes written and flushed at once.
    // Returns false (and sends nothing) when the socket is not connected.
    static bool send(QTcpSocket& socket, const QString& message);
};
