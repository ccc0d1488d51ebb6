#include "privatechat/FileSender.h"

#include "common/Prompts.h"
#include "common/Windows1252.h"
#include "privatechat/FileSlots.h"
#include "privatechat/TransferText.h"
#include "privatechat/TransferView.h"

#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

using Direction = TransferView::Direction;
using namespace TransferText;

namespace {
const QString kTitle = QStringLiteral("Quorvel");

// Hands the first incoming connection to the sender's own socket; listening stops with it.
class SingleAcceptServer : public QTcpServer {
public:
    SingleAcceptServer(std::function<void(qintptr)> accepted, QObject* parent)
        : QTcpServer(parent)
        , m_accepted(std::move(accepted)) {}

protected:
    void incomingConnection(qintptr descriptor) override { m_accepted(descriptor); }

private:
    std::function<void(qintptr)> m_accepted;
};
} // namespace

FileSender::FileSender(QTcpSocket& connection, TransferView& view, FileSlots& fileSlots, Prompts& prompts,
                       QObject* parent)
    : QObject(parent)
    , m_connection(connection)
    , m_view(view)
    , m_slots(fileSlots)
    , m_prompts(prompts)
    , m_listener(new SingleAcceptServer([this](qintptr d) { accept(d); }, this)) {
    connect(&m_connection, &QTcpSocket::readyRead, this, &FileSender::dataArrival);
    connect(&m_connection, &QTcpSocket::disconnected, this, &FileSender::connectionEnded);
    connect(&m_connection, &QTcpSocket::errorOccurred, this, &FileSender::connectionEnded);
    connect(&m_blocks, &BlockingTransfer::progressed, this, &FileSender::showSent);
    connect(&m_blocks, &BlockingTransfer::ended, this, &FileSender::blocksEnded);
}

bool FileSender::isListening() const {
    return m_listener->isListening();
}

quint16 FileSender::listeningPort() const {
    return m_listener->serverPort();
}

bool FileSender::listen(quint16 port, const QString& path, QString* error) {
    // A finished upload whose receiver has not closed yet gives way to the new offer.
    m_blocks.cancel();
    m_state = State::Idle;
    m_listener->close();
    if (m_connection.state() != QAbstractSocket::UnconnectedState)
        m_connection.abort();
    if (!m_listener->listen(QHostAddress::Any, port)) {
        if (error)
            *error = m_listener->errorString();
        return false;
    }
    m_uploadPath = path;
    m_state = State::Listening;
    return true;
}

void FileSender::accept(qintptr descriptor) {
    m_listener->close();
    if (m_state != State::Listening || !m_connection.setSocketDescriptor(descriptor)) {
        // A second request queued behind the first: turned away.
        QTcpSocket extra;
        extra.setSocketDescriptor(descriptor);
        extra.abort();
        return;
    }
    m_connection.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_state = State::Connected;
    m_view.setPath(Direction::Upload, m_uploadPath);
}

void FileSender::dataArrival() {
    // A box opened while answering lets more data arrive without a new signal; it is the next read.
    while (m_state != State::Idle && m_connection.bytesAvailable() > 0)
        answer(m_connection.readAll());
}

void FileSender::answer(const QByteArray& chunk) {
    // The whole read is one command, compared exactly: two answers merged in one read mean nothing.
    if (chunk == More) {
        if (m_state == State::WaitingForMore)
            sendNextBlock();
    } else if (chunk == Info) {
        m_connection.write(description());
        m_connection.flush();
    } else if (chunk == Send && m_state == State::Connected) {
        sendfile();
    }
}

void FileSender::sendfile() {
    if (!m_slots.claimUpload()) {
        m_prompts.message(
            kTitle, QStringLiteral("Another file is being sent. Offer this one again when it has finished."),
            Prompts::Icon::Exclamation);
        close();
        return;
    }
    m_holdsSlot = true;
    m_file.setFileName(m_uploadPath);
    if (!m_file.open(QIODevice::ReadOnly)) {
        unreadable();
        return;
    }
    m_length = m_file.size();
    m_endOfFile = false;
    m_state = State::WaitingForMore;
    m_view.setSize(Direction::Upload, QString::number(m_length));
    m_view.setMaximum(Direction::Upload, m_length);
    m_view.setStatus(Direction::Upload, QStringLiteral("Connected..."));
    m_sentBefore = m_view.count(Direction::Upload);
    if (!m_blocks.startSending(m_connection, m_file, description()))
        sendNextBlock();
}

QByteArray FileSender::description() const {
    return Info + FieldSeparator + Windows1252::encode(m_uploadPath) + FieldSeparator +
           QByteArray::number(QFileInfo(m_uploadPath).size());
}

void FileSender::blocksEnded(BlockingTransfer::Ending how) {
    switch (how) {
    case BlockingTransfer::Ending::Finished:
        finish();
        break;
    case BlockingTransfer::Ending::FileFailed:
        unreadable();
        break;
    case BlockingTransfer::Ending::PeerClosed:
    case BlockingTransfer::Ending::Failed:
        close();
        break;
    }
}

void FileSender::sendNextBlock() {
    if (m_endOfFile) {
        finish();
        return;
    }
    if (m_connection.state() != QAbstractSocket::ConnectedState) {
        close();
        return;
    }
    QByteArray block = m_file.read(BlockSize);
    // A read that fails is not the end of the file: what follows was never sent.
    if (m_file.error() != QFileDevice::NoError) {
        unreadable();
        return;
    }
    if (block.size() < BlockSize) {
        // A short read marks the end; the rest of the block is filler.
        m_endOfFile = true;
        block.append(QByteArray(BlockSize - block.size(), '\0'));
    }
    m_state = State::WaitingForMore;
    m_connection.write(block);
    m_connection.flush();
    // The view follows once the block is on its way, so that it never delays the exchange.
    showSent(m_view.count(Direction::Upload) - m_sentBefore + BlockSize);
}

void FileSender::showSent(qint64 sent) {
    // The sent count grows by a whole block for each block, so it ends above the file's length; a
    // progress value above the maximum is dropped.
    const qint64 count = m_sentBefore + sent;
    m_view.setCount(Direction::Upload, count);
    if (count <= m_length)
        m_view.setProgress(Direction::Upload, count);
}

void FileSender::unreadable() {
    m_prompts.message(kTitle,
                      QStringLiteral("Unable to read ") + m_uploadPath + QStringLiteral(": ") +
                          m_file.errorString(),
                      Prompts::Icon::Exclamation);
    close();
}

void FileSender::finish() {
    // Reached when the receiver has answered the last block, so "DONE" never shares a read with data.
    m_state = State::Finishing;
    m_prompts.message(QStringLiteral("Complete..."),
                      QStringLiteral("File Transfer Complete - ") + m_uploadPath, Prompts::Icon::None);
    if (m_state != State::Finishing)
        return; // the connection ended while the box was open
    m_connection.write(Done);
    m_connection.flush();
    m_uploadBusy = false;
    m_file.close();
    m_slots.releaseUpload();
    m_holdsSlot = false;
    // The socket stays open; the receiver closes it.
}

void FileSender::connectionEnded() {
    if (m_state != State::Idle && m_state != State::Listening)
        close();
}

void FileSender::close() {
    m_blocks.cancel();
    m_state = State::Idle;
    m_listener->close();
    if (m_connection.state() != QAbstractSocket::UnconnectedState)
        m_connection.abort();
    m_uploadBusy = false;
    m_file.close();
    if (m_holdsSlot)
        m_slots.releaseUpload();
    m_holdsSlot = false;
    m_view.setSize(Direction::Upload, QStringLiteral("0"));
    m_view.setCount(Direction::Upload, 0);
    m_view.setPath(Direction::Upload, QString());
    m_view.setProgress(Direction::Upload, 0);
    m_view.setStatus(Direction::Upload, QStringLiteral("Disonnected..."));
}
