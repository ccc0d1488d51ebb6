#include "privatechat/FileReceiver.h"

#include "common/Prompts.h"
#include "common/Windows1252.h"
#include "privatechat/FileSlots.h"
#include "privatechat/TransferText.h"
#include "privatechat/TransferView.h"

#include <QDir>
#include <QFileInfo>
#include <QTcpSocket>

using Direction = TransferView::Direction;
using namespace TransferText;

namespace {
const QString kTitle = QStringLiteral("Quorvel");

QList<QByteArray> splitFields(const QByteArray& chunk) {
    QList<QByteArray> fields;
    qsizetype from = 0;
    for (qsizetype at; (at = chunk.indexOf(FieldSeparator, from)) >= 0; from = at + FieldSeparator.size())
        fields.append(chunk.mid(from, at - from));
    fields.append(chunk.mid(from));
    return fields;
}
} // namespace

FileReceiver::FileReceiver(QTcpSocket& connection, TransferView& view, FileSlots& fileSlots, Prompts& prompts,
                           std::function<QString()> downloadFolder, QObject* parent)
    : QObject(parent)
    , m_connection(connection)
    , m_view(view)
    , m_slots(fileSlots)
    , m_prompts(prompts)
    , m_downloadFolder(std::move(downloadFolder)) {
    connect(&m_connection, &QTcpSocket::connected, this, &FileReceiver::connected);
    connect(&m_connection, &QTcpSocket::readyRead, this, &FileReceiver::dataArrival);
    connect(&m_connection, &QTcpSocket::disconnected, this, [this] {
        if (m_state != State::Idle)
            close();
    });
    connect(&m_connection, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError e) {
        // The peer closing is the close event, reported by disconnected().
        if (e != QAbstractSocket::RemoteHostClosedError && m_state != State::Idle)
            report(true);
    });
    connect(&m_blocks, &BlockingTransfer::progressed, this,
            [this](qint64 received) { showReceived(m_receivedBefore + received); });
    connect(&m_blocks, &BlockingTransfer::ended, this, &FileReceiver::blocksEnded);
}

bool FileReceiver::start(const QString& host, quint16 port) {
    if (m_state != State::Idle) {
        m_prompts.message(
            kTitle,
            QStringLiteral("A file from this member is still being received. Ask for the new one "
                           "again when it has finished."),
            Prompts::Icon::Exclamation);
        return false;
    }
    m_state = State::Connecting;
    m_connection.connectToHost(host, port);
    return true;
}

void FileReceiver::connected() {
    m_connection.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_state = State::Asked;
    m_connection.write(Info);
    m_connection.flush();
}

void FileReceiver::dataArrival() {
    // A box opened meanwhile lets more data arrive without a new signal; it is the next read.
    while (m_state != State::Idle && m_connection.bytesAvailable() > 0)
        handleChunk(m_connection.readAll());
}

void FileReceiver::handleChunk(const QByteArray& chunk) {
    // Each read is one message: a chunk whose text before the first "|@|" is a command word is that
    // command, even in the middle of the data.
    if (isCommand(chunk, Info))
        describe(splitFields(chunk));
    else if (isCommand(chunk, Done))
        close();
    else
        write(chunk);
}

void FileReceiver::describe(const QList<QByteArray>& fields) {
    if (!m_file.isOpen()) {
        const QString senderPath = Windows1252::decode(fields.value(1));
        const QString name = saveName(senderPath);
        if (name.isEmpty()) {
            endQuietly(QStringLiteral("The file offered as \"") + senderPath +
                       QStringLiteral("\" has no name that can be saved here. Nothing was written."));
            return;
        }
        if (!m_slots.claimDownload()) {
            endQuietly(QStringLiteral(
                "Another file is being received. Ask for this one again when it has finished."));
            return;
        }
        m_holdsSlot = true;
        // The name is the last piece of the sender's path, so the file always lands in the download folder.
        const QString folder = m_downloadFolder();
        const QString destination = QDir::cleanPath(folder + u'/' + name);
        // A folder removed since it was chosen is made again rather than losing the file.
        QDir().mkpath(folder);
        QFile::remove(destination);
        m_file.setFileName(destination);
        if (!m_file.open(QIODevice::WriteOnly)) {
            const QString why = m_file.errorString();
            endQuietly(QStringLiteral("Unable to save ") + destination + QStringLiteral(": ") + why);
            Q_EMIT notSaved(QStringLiteral("Could not save ") + name + QStringLiteral(": ") + why +
                            QStringLiteral(". Nothing was received."));
            return;
        }
        const QString size = Windows1252::decode(fields.value(2));
        m_view.setStatus(Direction::Download, QStringLiteral("Connected..."));
        m_view.setPath(Direction::Download, destination);
        m_view.setSize(Direction::Download, size);
        m_view.setMaximum(Direction::Download, leadingNumber(size));
    }
    m_state = State::Receiving;
    m_connection.write(Send);
    m_connection.flush();
    m_receivedBefore = m_view.count(Direction::Download);
    if (m_file.isOpen())
        m_blocks.startReceiving(m_connection, m_file);
}

void FileReceiver::blocksEnded(BlockingTransfer::Ending how) {
    switch (how) {
    case BlockingTransfer::Ending::Finished:
    case BlockingTransfer::Ending::PeerClosed:
        close();
        break;
    case BlockingTransfer::Ending::Failed:
        report(true);
        break;
    case BlockingTransfer::Ending::FileFailed:
        saveFailed();
        break;
    }
}

void FileReceiver::stopBlocks() {
    if (!m_blocks.isRunning())
        return;
    m_blocks.cancel();
    showReceived(m_receivedBefore + m_blocks.count());
}

void FileReceiver::write(const QByteArray& chunk) {
    // Every read is answered, also a part of a block; the answer goes first so that the sender's
    // next block is on its way while this one is saved.
    m_connection.write(More);
    m_connection.flush();
    if (m_file.isOpen() && m_file.write(chunk) != chunk.size()) {
        saveFailed();
        return;
    }
    showReceived(m_view.count(Direction::Download) + chunk.size());
}

void FileReceiver::showReceived(qint64 received) {
    m_view.setCount(Direction::Download, received);
    m_view.setProgress(Direction::Download, std::min(received, m_view.maximum(Direction::Download)));
}

void FileReceiver::stop() {
    stopBlocks();
    m_state = State::Idle;
    if (m_connection.state() != QAbstractSocket::UnconnectedState)
        m_connection.abort();
    m_file.close();
    if (m_holdsSlot)
        m_slots.releaseDownload();
    m_holdsSlot = false;
}

void FileReceiver::endQuietly(const QString& why) {
    stop();
    m_prompts.message(kTitle, why, Prompts::Icon::Exclamation);
}

void FileReceiver::close() {
    report(false);
}

void FileReceiver::saveFailed() {
    stopBlocks();
    // A full disk or a failing drive: what arrives can no longer be kept, so the transfer ends here
    // and is never called complete. The part saved so far stays for the user to look at.
    // A write cut short gives no reason; trying the rest once more gets the system's.
    m_file.flush();
    const QString reason = m_file.errorString();
    const QString name = QFileInfo(m_file.fileName()).fileName();
    const QString why = QStringLiteral("Unable to save ") + m_file.fileName() + QStringLiteral(": ") + reason;
    stop();
    clearView(QStringLiteral("disconnected..."));
    m_prompts.message(kTitle, why, Prompts::Icon::Exclamation);
    Q_EMIT notSaved(QStringLiteral("Could not save ") + name + QStringLiteral(": ") + reason +
                    QStringLiteral(". The transfer was stopped."));
}

void FileReceiver::report(bool onError) {
    stopBlocks();
    // The file keeps its last blocks in a buffer: they reach the disk before anything is called complete.
    if (m_file.isOpen() && !m_file.flush()) {
        saveFailed();
        return;
    }
    stop();
    const bool complete =
        m_view.count(Direction::Download) >= leadingNumber(m_view.size(Direction::Download));
    const QString text = complete ? QStringLiteral("File Transfer Complete")
                                  : QStringLiteral("File Transfer - Posible Error - Check ") +
                                        m_view.path(Direction::Download);
    if (onError) {
        m_prompts.message(complete ? QStringLiteral("Complete...") : QStringLiteral("Transfer..."), text);
    } else {
        m_prompts.message(kTitle, text, complete ? Prompts::Icon::Information : Prompts::Icon::Critical);
        m_view.setSize(Direction::Download, QStringLiteral("0"));
    }
    clearView(onError ? QStringLiteral("disconnected...") : QStringLiteral("Disconnected..."));
}

void FileReceiver::clearView(const QString& status) {
    m_view.setCount(Direction::Download, 0);
    m_view.setProgress(Direction::Download, 0);
    m_view.setPath(Direction::Download, QString());
    m_view.setStatus(Direction::Download, status);
}
