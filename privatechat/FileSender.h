#pragma once

#include "privatechat/BlockingTransfer.h"

#include <QFile>
#include <QObject>
#include <QString>

class FileSlots;
class Prompts;
class QTcpServer;
class QTcpSocket;
class TransferView;

// The sending end of a direct file transfer: listens for the one peer that accepted the offer, answers
// "INFO" with the file's description, and after "SEND" puts the file on the wire in blocks of 1028 bytes,
// each block but the first released by a "MORE" from the receiver.
class FileSender : public QObject {
    Q_OBJECT
public:
    FileSender(QTcpSocket& connection, TransferView& view, FileSlots& fileSlots, Prompts& prompts,
               QObject* parent = nullptr);

    // Set from the moment the user chooses to send until the upload ends; a second choice meanwhile
    // does nothing.
    bool uploadBusy() const { return m_uploadBusy; }
    void setUploadBusy(bool busy) { m_uploadBusy = busy; }
    QString uploadPath() const { return m_uploadPath; }
    bool isListening() const;
    quint16 listeningPort() const;

    // Listens on every interface for the receiver; false, with the reason, when the port cannot be had.
    bool listen(quint16 port, const QString& path, QString* error);
    // Ends the upload whatever its state: stops listening, drops the connection, frees the file and
    // resets the upload frame. Run for "/cancel", the Cancel button and a lost connection.
    void close();

private:
    enum class State { Idle, Listening, Connected, WaitingForMore, Finishing };
    void accept(qintptr descriptor);
    void dataArrival();
    void answer(const QByteArray& chunk);
    void sendfile();
    void sendNextBlock();
    QByteArray description() const;
    void showSent(qint64 sent);
    void blocksEnded(BlockingTransfer::Ending how);
    // Opening or reading the file failed: says so and ends the send.
    void unreadable();
    void finish();
    void connectionEnded();

    QTcpSocket& m_connection;
    TransferView& m_view;
    FileSlots& m_slots;
    Prompts& m_prompts;
    QTcpServer* m_listener;
    QFile m_file;
    // Declared after the file it reads, so that it has stopped before the file goes.
    BlockingTransfer m_blocks;
    qint64 m_length = 0;
    // The sent count the view held when the blocks began.
    qint64 m_sentBefore = 0;
    QString m_uploadPath;
    State m_state = State::Idle;
    bool m_uploadBusy = false;
    bool m_endOfFile = false;
    bool m_holdsSlot = false;
};
