// Sends a 20 MB file from one client process to another over 127.0.0.1 with the real transfer ends and
// transfer windows, and compares the rate with the limit of the protocol: a minimal pair of processes
// bouncing 1,028-byte blocks and 4-byte answers over a loopback connection with blocking sockets.
// Both are measured twice: each end on a processor of its own, as two players' machines are, where a
// block's cost is mostly the wake-up of the other side; and both ends sharing one processor, where
// each side's own work per block counts in full. Where the scheduler puts two busy processes decides
// which of the two a run without placement measures, so the ratio swung between them from run to run.
#include "FakeServices.h"

#include "common/QtEventLoop.h"

#include "privatechat/FileReceiver.h"
#include "privatechat/FileSender.h"
#include "privatechat/FileSlots.h"
#include "privatechat/Form11.h"
#include "privatechat/TransferText.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTcpSocket>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
constexpr qint64 kFileSize = 20 * 1024 * 1024;
constexpr qint64 kBlock = TransferText::BlockSize;

bool full(int fd, char* data, qint64 size, bool reading) {
    for (qint64 done = 0; done < size;) {
        const ssize_t n = reading ? ::read(fd, data + done, size_t(size - done))
                                  : ::write(fd, data + done, size_t(size - done));
        if (n <= 0)
            return false;
        done += n;
    }
    return true;
}

// Where the sending end (this process) and the receiving end (its child) run.
struct Placement {
    const char* name;
    cpu_set_t sender;
    cpu_set_t receiver;
};

void placeOn(const cpu_set_t& cpus) {
    ::sched_setaffinity(0, sizeof cpus, &cpus);
}

// Bytes per second of the bare stop-and-wait exchange, with as many blocks as the file needs.
double bounceRate(const Placement& placement) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(listener, reinterpret_cast<sockaddr*>(&address), length);
    ::listen(listener, 1);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    const qint64 blocks = TransferText::blocksFor(kFileSize);

    // The answering end runs in a second process, as the receiving client does.
    const pid_t receiver = ::fork();
    if (receiver == 0) {
        placeOn(placement.receiver);
        const int fd = ::accept(listener, nullptr, nullptr);
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        char block[kBlock];
        char more[] = "MORE";
        for (qint64 i = 0; i < blocks && full(fd, block, kBlock, true) && full(fd, more, 4, false); ++i) {
        }
        ::_exit(0);
    }
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    char block[kBlock] = {};
    char answer[4];
    QElapsedTimer t;
    t.start();
    for (qint64 i = 0; i < blocks && full(fd, block, kBlock, false) && full(fd, answer, 4, true); ++i) {
    }
    const double seconds = double(t.nsecsElapsed()) / 1e9;
    ::waitpid(receiver, nullptr, 0);
    ::close(fd);
    ::close(listener);
    return double(kFileSize) / seconds;
}

// The receiving client: connects, saves into the folder, and exits 0 when the outcome is complete.
int receive(quint16 port, const QString& folder) {
    FakePrompts prompts;
    FileSlots fileSlots;
    Form11 view;
    QTcpSocket socket;
    FileReceiver receiver(socket, view, fileSlots, prompts, [folder] { return folder; });
    prompts.whileOpen = [](const FakePrompts::Shown& shown) {
        QCoreApplication::exit(shown.text == u"File Transfer Complete" ? 0 : 1);
    };
    receiver.start(QStringLiteral("127.0.0.1"), port);
    return QCoreApplication::exec();
}

// The sending client: offers the file, starts the receiving client, and times the transfer from the
// receiver's connection to the answer of the last block.
double sendRate(const QString& path, const QString& folder, const Placement& placement) {
    FakePrompts prompts;
    FileSlots fileSlots;
    Form11 view;
    QTcpSocket socket;
    FileSender sender(socket, view, fileSlots, prompts);
    sender.setUploadBusy(true);
    if (!sender.listen(0, path, nullptr))
        return 0;
    QElapsedTimer t;
    double seconds = 0;
    // The clock starts with the receiver's first request, so the child's start-up is not counted.
    QObject::connect(&socket, &QTcpSocket::readyRead, [&] {
        if (!t.isValid())
            t.start();
    });
    prompts.whileOpen = [&](const FakePrompts::Shown&) { seconds = double(t.nsecsElapsed()) / 1e9; };
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    child.setChildProcessModifier([&placement] { placeOn(placement.receiver); });
    QObject::connect(&child, &QProcess::finished, [&](int code) { QCoreApplication::exit(code); });
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--receive"), QString::number(sender.listeningPort()), folder});
    if (QCoreApplication::exec() != 0 || seconds == 0)
        return 0;
    const qint64 saved = QFile(folder + QStringLiteral("/file.bin")).size();
    if (saved != TransferText::blocksFor(kFileSize) * kBlock) {
        std::fprintf(stderr, "saved file has %lld bytes\n", static_cast<long long>(saved));
        return 0;
    }
    return double(kFileSize) / seconds;
}
} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Both clients run the event loop the program runs.
    useQtEventLoop();
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.value(1) == u"--receive")
        return receive(args.value(2).toUShort(), args.value(3));

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("file.bin"));
    {
        QFile f(path);
        QByteArray bytes(kFileSize, Qt::Uninitialized);
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32*>(bytes.data()), kFileSize / 4);
        if (!f.open(QIODevice::WriteOnly) || f.write(bytes) != kFileSize)
            return 1;
    }
    QTemporaryDir downloads;
    cpu_set_t all;
    ::sched_getaffinity(0, sizeof all, &all);
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &all))
            cpus.push_back(cpu);
    }
    const auto only = [](int cpu) {
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(cpu, &set);
        return set;
    };
    std::vector<Placement> placements;
    if (cpus.size() > 1)
        placements.push_back({"each end on its own processor", only(cpus[0]), only(cpus[1])});
    placements.push_back({"both ends on one processor", only(cpus[0]), only(cpus[0])});

    constexpr int kRounds = 5;
    std::printf("20 MB file, 1028-byte blocks, best of %d rounds; ratio goals: 0.95 on processors of their "
                "own, 0.85 on one\n",
                kRounds);
    std::printf("%-30s | %-19s | %-19s | %s\n", "placement", "limit (bounce)", "transfer", "ratio");
    bool failed = false;
    for (const Placement& placement : placements) {
        placeOn(placement.sender);
        double bestBounce = 0, bestTransfer = 0;
        for (int round = 0; round < kRounds; ++round) {
            bestBounce = std::max(bestBounce, bounceRate(placement));
            bestTransfer = std::max(bestTransfer, sendRate(path, downloads.path(), placement));
        }
        std::printf("%-30s | %10.1f MB/s     | %10.1f MB/s     | %.2f\n", placement.name, bestBounce / 1e6,
                    bestTransfer / 1e6, bestTransfer / bestBounce);
        failed = failed || bestTransfer == 0;
    }
    placeOn(all);
    return failed ? 1 : 0;
}
