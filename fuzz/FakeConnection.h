#pragma once

#include <QList>
#include <QTcpSocket>

#include <unistd.h>

// A connection with no socket under it, for driving protocol code without the network: each
// deliver() is one arrival from the peer (what is not read stays for the next), each write of ours
// is kept in `written`. Connecting succeeds at once; a descriptor handed over by a listener is
// closed and the connection counts as made.
class FakeConnection : public QTcpSocket {
public:
    using QTcpSocket::connectToHost;
    QList<QByteArray> written;

    void deliver(const QByteArray& read) {
        m_pending += read;
        Q_EMIT readyRead();
    }
    // What the peer sent and was not read, and what we wrote, go.
    void forget() {
        m_pending.clear();
        written.clear();
    }
    void connectToHost(const QString&, quint16, OpenMode mode, NetworkLayerProtocol) override {
        pretendConnected(mode);
        Q_EMIT connected();
    }
    bool setSocketDescriptor(qintptr descriptor, SocketState, OpenMode mode) override {
        ::close(int(descriptor));
        pretendConnected(mode);
        return true;
    }
    qint64 bytesAvailable() const override { return m_pending.size() + QTcpSocket::bytesAvailable(); }

protected:
    qint64 readData(char* data, qint64 maxSize) override {
        const qint64 n = std::min<qint64>(maxSize, m_pending.size());
        std::copy_n(m_pending.constData(), n, data);
        m_pending.remove(0, n);
        return n;
    }
    qint64 writeData(const char* data, qint64 size) override {
        written.append(QByteArray(data, size));
        return size;
    }

private:
    void pretendConnected(OpenMode mode) {
        setOpenMode(mode);
        setSocketState(ConnectedState);
    }
    QByteArray m_pending;
};
