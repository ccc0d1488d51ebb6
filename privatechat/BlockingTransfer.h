#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

#include <atomic>
#include <thread>

class QFile;
class QTcpSocket;

// The blocks of a direct file transfer, moved on a thread of their own over the connection made
// blocking. Driven by the window's event loop, each block cost each end a wait in poll and a query of
// what was waiting besides its one read and one write; with both ends on one processor that was a
// third of the time a block may take. The exchange before the blocks (INFO, SEND) and after them
// ("DONE", the outcome) stays with the socket object on the window's thread: this class takes the
// connection from it for the blocks in between, and gives it back when the sender has to say "DONE".
//
// The bytes on the wire are those of the event-driven ends: each read of the socket is one message,
// compared whole, and every read of data is answered with "MORE".
class BlockingTransfer : public QObject {
    Q_OBJECT
public:
    enum class Ending {
        Finished,   // sender: the last block was answered; receiver: "DONE" arrived
        PeerClosed, // the other end closed the connection
        Failed,     // the connection failed otherwise
        FileFailed, // the file could not be read or written; its error string says why
    };

    // Whether connections can be taken over here; elsewhere the ends keep moving blocks themselves.
    static bool isAvailable();

    explicit BlockingTransfer(QObject* parent = nullptr);
    // Ends a running transfer as cancel() does.
    ~BlockingTransfer() override;

    bool isRunning() const { return m_thread.joinable(); }
    // Bytes moved so far: sent blocks, or received data.
    qint64 count() const { return m_count.load(std::memory_order_relaxed); }

    // Sends the open file from its current position, block by block, each after the receiver's
    // "MORE" but the first; "INFO" is answered with the description. Ends Finished once the receiver has
    // answered the block that holds the end of the file, with the connection back in the socket.
    // The file belongs to this object until ended() is emitted. False (nothing taken) when the
    // connection cannot be taken over.
    bool startSending(QTcpSocket& connection, QFile& file, const QByteArray& description);
    // Saves every read into the open file after answering it with "MORE"; a read that is "INFO" is
    // answered with "SEND" only. Ends Finished on "DONE", with the connection closed.
    bool startReceiving(QTcpSocket& connection, QFile& file);
    // Ends the transfer without ended(): shuts the connection, which ends the thread's wait at once,
    // and closes it. The file is the caller's again.
    void cancel();

Q_SIGNALS:
    // The count, a few times a second while blocks move.
    void progressed(qint64 count);
    void ended(BlockingTransfer::Ending how);

private:
    enum class Role { Sending, Receiving };
    bool start(Role role, QTcpSocket& connection, QFile& file, const QByteArray& description);
    void run(Role role, QFile* file, QByteArray description);
    Ending sendBlocks(QFile& file, const QByteArray& description);
    Ending receiveBlocks(QFile& file);
    void finished(Ending how, int generation);
    void stopThread();

    std::thread m_thread;
    QTcpSocket* m_connection = nullptr;
    qintptr m_descriptor = -1;
    Role m_role = Role::Sending;
    std::atomic<qint64> m_count = 0;
    // Which start an ending belongs to: one that arrives after a cancel is not reported.
    int m_generation = 0;
    QTimer m_progress;
};
