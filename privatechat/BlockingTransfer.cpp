#include "privatechat/BlockingTransfer.h"

#include "privatechat/TransferText.h"

#include <QFile>
#include <QSignalBlocker>
#include <QTcpSocket>

#ifdef Q_OS_UNIX
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

using namespace TransferText;

namespace {
constexpr int kProgressMs = 200;
// More than the other end ever sends at once, so that one read takes everything waiting, as the read
// of a data-arrival event does.
constexpr qsizetype kReadSize = 64 * 1024;

#ifdef Q_OS_UNIX
#ifdef MSG_NOSIGNAL
constexpr int kSendFlags = MSG_NOSIGNAL; // a peer that has gone is an error, not a signal that ends us
#else
constexpr int kSendFlags = 0;
#endif

qint64 readSome(int fd, char* into, qsizetype size) {
    for (;;) {
        const ssize_t n = ::recv(fd, into, size_t(size), 0);
        if (n >= 0 || errno != EINTR)
            return n;
    }
}

bool writeAll(int fd, QByteArrayView data) {
    for (qsizetype done = 0; done < data.size();) {
        const ssize_t n = ::send(fd, data.data() + done, size_t(data.size() - done), kSendFlags);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        done += n;
    }
    return true;
}

// How a failed read or write ended: the peer going away is a close, as the socket object reports it.
BlockingTransfer::Ending lostConnection() {
    return errno == ECONNRESET || errno == EPIPE ? BlockingTransfer::Ending::PeerClosed
                                                 : BlockingTransfer::Ending::Failed;
}
#endif
} // namespace

bool BlockingTransfer::isAvailable() {
#ifdef Q_OS_UNIX
    return true;
#else
    return false;
#endif
}

BlockingTransfer::BlockingTransfer(QObject* parent)
    : QObject(parent) {
    m_progress.setInterval(kProgressMs);
    connect(&m_progress, &QTimer::timeout, this, [this] { Q_EMIT progressed(count()); });
}

BlockingTransfer::~BlockingTransfer() {
    cancel();
}

bool BlockingTransfer::startSending(QTcpSocket& connection, QFile& file, const QByteArray& description) {
    return start(Role::Sending, connection, file, description);
}

bool BlockingTransfer::startReceiving(QTcpSocket& connection, QFile& file) {
    return start(Role::Receiving, connection, file, {});
}

bool BlockingTransfer::start(Role role, QTcpSocket& connection, QFile& file, const QByteArray& description) {
#ifdef Q_OS_UNIX
    // Whatever the socket object holds unread or unsent would be lost with it.
    if (isRunning() || connection.state() != QAbstractSocket::ConnectedState ||
        connection.bytesAvailable() > 0 || connection.bytesToWrite() > 0)
        return false;
    const int fd = ::fcntl(int(connection.socketDescriptor()), F_DUPFD_CLOEXEC, 0);
    if (fd < 0)
        return false;
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0 || ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) < 0) {
        ::close(fd);
        return false;
    }
    {
        // The socket object lets go of its descriptor; the connection goes on in ours, so nothing
        // has ended that it should report.
        const QSignalBlocker quiet(connection);
        connection.abort();
    }
    m_connection = &connection;
    m_descriptor = fd;
    m_role = role;
    m_count.store(0, std::memory_order_relaxed);
    const int generation = ++m_generation;
    m_progress.start();
    m_thread = std::thread([this, role, &file, description, generation] {
        const Ending how = role == Role::Sending ? sendBlocks(file, description) : receiveBlocks(file);
        QMetaObject::invokeMethod(
            this, [this, how, generation] { finished(how, generation); }, Qt::QueuedConnection);
    });
    return true;
#else
    Q_UNUSED(role);
    Q_UNUSED(connection);
    Q_UNUSED(file);
    Q_UNUSED(description);
    return false;
#endif
}

BlockingTransfer::Ending BlockingTransfer::sendBlocks(QFile& file, const QByteArray& description) {
#ifdef Q_OS_UNIX
    const int fd = int(m_descriptor);
    QByteArray block(BlockSize, Qt::Uninitialized);
    QByteArray answer(kReadSize, Qt::Uninitialized);
    for (;;) {
        const qint64 got = file.read(block.data(), BlockSize);
        // A read that fails is not the end of the file: what follows was never sent.
        if (got < 0 || file.error() != QFileDevice::NoError)
            return Ending::FileFailed;
        // A short read marks the end; the rest of the block is filler.
        const bool endOfFile = got < BlockSize;
        if (endOfFile)
            std::memset(block.data() + got, 0, size_t(BlockSize - got));
        if (!writeAll(fd, block))
            return lostConnection();
        m_count.fetch_add(BlockSize, std::memory_order_relaxed);
        // The whole read is one answer, compared exactly: two merged in one read mean nothing.
        for (;;) {
            const qint64 n = readSome(fd, answer.data(), answer.size());
            if (n <= 0)
                return n == 0 ? Ending::PeerClosed : lostConnection();
            const QByteArrayView chunk(answer.constData(), n);
            if (chunk == More)
                break;
            if (chunk == Info && !writeAll(fd, description))
                return lostConnection();
        }
        if (endOfFile)
            return Ending::Finished;
    }
#else
    Q_UNUSED(file);
    Q_UNUSED(description);
    return Ending::Failed;
#endif
}

BlockingTransfer::Ending BlockingTransfer::receiveBlocks(QFile& file) {
#ifdef Q_OS_UNIX
    const int fd = int(m_descriptor);
    QByteArray buffer(kReadSize, Qt::Uninitialized);
    for (;;) {
        const qint64 n = readSome(fd, buffer.data(), buffer.size());
        if (n <= 0)
            return n == 0 ? Ending::PeerClosed : lostConnection();
        const QByteArrayView chunk(buffer.constData(), n);
        if (isCommand(chunk, Info)) {
            // The file is open already: only the go-ahead is repeated.
            if (!writeAll(fd, Send))
                return lostConnection();
            continue;
        }
        if (isCommand(chunk, Done))
            return Ending::Finished;
        // The answer goes first, so that the next block is on its way while this one is saved.
        if (!writeAll(fd, More))
            return lostConnection();
        if (file.write(chunk.data(), n) != n)
            return Ending::FileFailed;
        m_count.fetch_add(n, std::memory_order_relaxed);
    }
#else
    Q_UNUSED(file);
    return Ending::Failed;
#endif
}

void BlockingTransfer::finished(Ending how, int generation) {
    if (generation != m_generation || !isRunning())
        return; // cancelled meanwhile
    stopThread();
#ifdef Q_OS_UNIX
    if (how == Ending::Finished && m_role == Role::Sending) {
        // "DONE" and the receiver's close are the socket object's business again.
        if (m_connection->setSocketDescriptor(m_descriptor))
            m_connection->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        else {
            ::close(int(m_descriptor));
            how = Ending::Failed;
        }
    } else {
        ::close(int(m_descriptor));
    }
#endif
    m_descriptor = -1;
    Q_EMIT progressed(count());
    Q_EMIT ended(how);
}

void BlockingTransfer::cancel() {
    if (!isRunning())
        return;
    ++m_generation;
#ifdef Q_OS_UNIX
    // A shut connection ends the thread's read or write at once; it waits on nothing else but the file.
    ::shutdown(int(m_descriptor), SHUT_RDWR);
    stopThread();
    ::close(int(m_descriptor));
#endif
    m_descriptor = -1;
}

void BlockingTransfer::stopThread() {
    m_thread.join();
    m_progress.stop();
}
