// At the descriptor limit the server stops accepting instead of spinning, keeps serving the
// members it has, holds no memory for those who wait, and takes them as soon as descriptors
// come back.
#include "ServerTestClient.h"

#include "server/BudgetedListener.h"
#include "server/DescriptorBudget.h"

#include <QtTest>


#include <sys/resource.h>

#include <memory>
#include <vector>

namespace {

const QString S = QStringLiteral("|\u00BF|");
constexpr rlim_t DescriptorLimit = 64;

// Nanoseconds the process has run on a CPU.
qint64 cpuTime(qint64 pid) {
    QFile file(QStringLiteral("/proc/%1/schedstat").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    return file.readAll().split(' ').value(0).toLongLong();
}

QFileInfoList descriptors(qint64 pid) {
    return QDir(QStringLiteral("/proc/%1/fd").arg(pid)).entryInfoList(QDir::Files | QDir::System);
}


int openSockets(qint64 pid) {
    const QFileInfoList open = descriptors(pid);
    return int(std::count_if(open.begin(), open.end(),
                             [](const QFileInfo& fd) { return fd.symLinkTarget().contains(QStringLiteral("socket:")); }));
}

} // namespace

class TestServerDescriptors : public QObject {
    Q_OBJECT
private slots:
    void atTheLimitTheServerWaitsInsteadOfSpinning() {
        QTemporaryDir data;
        QProcess server;
        server.setChildProcessModifier([] {
            const rlimit limit{DescriptorLimit, DescriptorLimit};
            setrlimit(RLIMIT_NOFILE, &limit);
        });
        server.start(QStringLiteral(QUORVEL_SERVER_PATH),
                     QStringList{QStringLiteral("--data"), data.path()} +
                         QStringLiteral("--listen 127.0.0.1 --chat-port 0 --http-port 0 --hash-iterations 1000 "
                                        "--connections-per-address 0 --accounts-per-address 0 --flood-lines 1000000")
                             .split(u' '));
        static const QRegularExpression startLine(
            QStringLiteral("chat port (\\d+).*room for (\\d+) connections \\(descriptor limit (\\d+)\\)"));
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT(
            startLine.match(QString::fromLatin1(output += server.readAllStandardOutput())).hasMatch(), 10000);
        const QRegularExpressionMatch started = startLine.match(QString::fromLatin1(output));
        const auto port = quint16(started.captured(1).toUInt());
        const int room = started.captured(2).toInt();
        QCOMPARE(started.captured(3).toInt(), int(DescriptorLimit));
        QVERIFY(room > 4);

        const auto account = [&](ServerTestClient& client, const QString& name) {
            client.sendSegment(QStringLiteral("NEWACCOUNT") + S + name + S + QStringLiteral("1"));
            return client.waitForLine(QStringLiteral("DONER"), 10000);
        };
        ServerTestClient alice;
        QVERIFY(alice.connectTo(port));
        QVERIFY(account(alice, QStringLiteral("alice")));
        alice.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("alice") + S + QStringLiteral("1"));
        QVERIFY(alice.waitForLine(QStringLiteral("LIST") + S + QStringLiteral("alice")));
        // Round trips of alice's, and the CPU time the server spends on them.
        int said = 0;
        const auto serverCpuForRoundTrips = [&] {
            const qint64 before = cpuTime(server.processId());
            for (int i = 0; i < 100; ++i) {
                const QString text = QStringLiteral("line %1").arg(++said);
                alice.sendSegment(QStringLiteral("MSG") + S + text + QStringLiteral("\r\n"));
                if (!alice.waitForLine(QStringLiteral("MSG") + S + QStringLiteral("<alice> ") + text, 10000))
                    return qint64(-1);
            }
            return cpuTime(server.processId()) - before;
        };
        const qint64 idle = serverCpuForRoundTrips();
        QVERIFY(idle >= 0);

        const int socketsBefore = openSockets(server.processId());
        // Fill the budget and more: the kernel completes the handshakes, the server stops taking them.
        std::vector<std::unique_ptr<ServerTestClient>> crowd;
        for (int i = 0; i < int(DescriptorLimit) + 10; ++i) {
            crowd.push_back(std::make_unique<ServerTestClient>());
            crowd.back()->startConnect(port);
        }
        // Taken all the budget allows: everything but the reserve is in use.
        QTRY_VERIFY_WITH_TIMEOUT(
            descriptors(server.processId()).size() >= int(DescriptorLimit) - DescriptorBudget::Reserve, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(
            std::all_of(crowd.begin(), crowd.end(), [](const auto& c) { return c->isConnected(); }), 10000);
        ServerTestClient bob;
        QVERIFY(bob.connectTo(port));
        bob.sendSegment(QStringLiteral("NEWACCOUNT") + S + QStringLiteral("bob") + S + QStringLiteral("1"));

        // At the limit alice is served as before, and the server does not spin meanwhile: a server
        // retrying accept() in a loop burns its CPU for the whole time the round trips take.
        const qint64 atLimit = serverCpuForRoundTrips();
        QVERIFY(atLimit >= 0);
        QVERIFY2(atLimit < 3 * idle + 20'000'000,
                 qPrintable(QStringLiteral("idle %1 ns, at the limit %2 ns").arg(idle).arg(atLimit)));
        QVERIFY(bob.lines().isEmpty());

        // The crowd leaves: the connections waiting behind it, bob's among them, are taken, and
        // what bob sent while he waited is answered. Every one of the crowd's connections is let go,
        // those that hung up while they waited too.
        for (auto& client : crowd)
            client->socket().abort();
        QVERIFY(bob.waitForLine(QStringLiteral("DONER"), 15000));
        QTRY_COMPARE_WITH_TIMEOUT(openSockets(server.processId()), socketsBefore + 1, 15000);
        server.terminate();
        QVERIFY(server.waitForFinished(10000));
    }

    void aWaitingConnectionIsNotReadUntilThereIsRoom() {
        DescriptorBudget budget(1);
        BudgetedListener listener;
        listener.setBudget(&budget);
        QVERIFY(listener.listen(QHostAddress::LocalHost));
        std::unique_ptr<QTcpSocket> served;
        int taken = 0;
        qint64 heldWhenTaken = -1;
        connect(&listener, &QTcpServer::newConnection, this, [&] {
            while (QTcpSocket* socket = listener.takeConnection()) {
                if (++taken == 2)
                    heldWhenTaken = socket->bytesAvailable();
                served.reset(socket);
            }
        });
        // Both are in the kernel's queue when the listener first looks: it takes one, and Qt
        // accepts the second before it sees the pause.
        ServerTestClient first;
        ServerTestClient second;
        first.startConnect(listener.serverPort());
        second.startConnect(listener.serverPort());
        QTRY_VERIFY(first.isConnected() && second.isConnected() && listener.hasPendingConnections());
        QCOMPARE(taken, 1);
        // The second sends while it waits; the first's round trip lets the event loop see the
        // second's data, were it reading it.
        const QByteArray sent(200'000, 'x');
        second.sendBytes(sent);
        QTRY_COMPARE(second.socket().bytesToWrite(), 0);
        first.sendBytes("ping");
        QTRY_VERIFY(served->bytesAvailable() > 0);

        served.reset();
        QTRY_COMPARE(taken, 2);
        QVERIFY2(heldWhenTaken <= 1, qPrintable(QString::number(heldWhenTaken)));
        QByteArray received;
        QTRY_COMPARE((received += served->readAll()).size(), sent.size());
        QCOMPARE(received, sent);
    }
};

QTEST_GUILESS_MAIN(TestServerDescriptors)
#include "tst_serverdescriptors.moc"
