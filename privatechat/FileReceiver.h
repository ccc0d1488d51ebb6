#pragma once

#include "privatechat/BlockingTransfer.h"

#include <QFile>
#include <QObject>
#include <QString>

#include <functional>

class FileSlots;
class Prompts;
class QTcpSocket;
class TransferView;

// The receiving end of a direct file transfer: connects to the sender, asks for the description,
// saves every chunk exactly as it arrives into the download folder and answers each with "MORE".
// The outcome is judged by the received count against the announced size.
class FileReceiver : public QObject {
    Q_OBJECT
public:
    FileReceiver(QTcpSocket& connection, TransferView& view, FileSlots& fileSlots, Prompts& prompts,
                 std::function<QString()> downloadFolder, QObject* parent = nullptr);

    bool isBusy() const { return m_state != State::Idle; }
    // Connects to the sender of an accepted offer; false (after telling the user) while this window
    // still receives another file.
    bool start(const QString& host, quint16 port);
    // Ends the download and reports its outcome, whether or not one was running.
    void close();

Q_SIGNALS:
    // The file could not be saved here; the text tells the sender why, without the local path.
    void notSaved(const QString& forSender);

private:
    enum class State { Idle, Connecting, Asked, Receiving };
    void connected();
    void dataArrival();
    void handleChunk(const QByteArray& chunk);
    void describe(const QList<QByteArray>& fields);
    void write(const QByteArray& chunk);
    void showReceived(qint64 received);
    void blocksEnded(BlockingTransfer::Ending how);
    // Takes the file and the count back from the blocks' thread, if it runs.
    void stopBlocks();
    void endQuietly(const QString& why);
    // Closes the socket and the file; the counts stay in the view for the outcome.
    void stop();
    // The outcome: a close event (or a direct call) and the error event differ in titles and status.
    void report(bool onError);
    // Writing the file failed: says so and ends the transfer.
    void saveFailed();
    void clearView(const QString& status);

    QTcpSocket& m_connection;
    TransferView& m_view;
    FileSlots& m_slots;
    Prompts& m_prompts;
    std::function<QString()> m_downloadFolder;
    QFile m_file;
    // Declared after the file it writes, so that it has stopped before the file goes.
    BlockingTransfer m_blocks;
    // The received count the view held when the blocks' thread took over.
    qint64 m_receivedBefore = 0;
    State m_state = State::Idle;
    bool m_holdsSlot = false;
};
