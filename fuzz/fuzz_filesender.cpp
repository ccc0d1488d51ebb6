// Any bytes from a file's receiver, cut into reads at each NUL byte, as the sending end of a private
// transfer handles them once the receiver has connected. What goes out is only the description
// (asked for at any time), whole blocks of the file in order, and after the last one "DONE".
#include "FakeConnection.h"
#include "FakeServices.h"
#include "TransferViewRecord.h"

#include "common/Windows1252.h"
#include "privatechat/FileSender.h"
#include "privatechat/FileSlots.h"
#include "privatechat/TransferText.h"

#include <QCoreApplication>
#include <QFile>
#include <QTcpServer>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

using namespace TransferText;

namespace {
struct Sending {
    QTemporaryDir folder;
    QString file = folder.filePath(QStringLiteral("three blocks.bin"));
    QByteArray content;
    FakeConnection connection;
    TransferViewRecord view;
    FileSlots fileSlots;
    FakePrompts prompts;
    FileSender sender{connection, view, fileSlots, prompts};

    Sending() {
        for (int i = 0; i < 2500; ++i)
            content.append(char(i * 7));
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
            __builtin_trap();
    }

    // Listens for the receiver and lets one in, as the offer's answer would. The peer resets its end
    // at once, so that nothing lingers from input to input.
    bool receiverConnects() {
        QString error;
        if (!sender.listen(0, file, &error))
            return false;
        const int peer = ::socket(AF_INET, SOCK_STREAM, 0);
        if (peer < 0)
            return false;
        const linger reset{1, 0};
        ::setsockopt(peer, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(sender.listeningPort());
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        // libFuzzer's timeout alarm may interrupt connect(); the connection goes on all the same.
        const bool connecting =
            ::connect(peer, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0 || errno == EINTR;
        const bool accepted = connecting && sender.findChild<QTcpServer*>()->waitForNewConnection(5000);
        ::close(peer);
        return accepted;
    }
};
} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Sending s;
    if (!s.receiverConnects())
        __builtin_trap();
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const QByteArray& read : bytes.split('\0'))
        s.connection.deliver(read);
    const QByteArray description =
        Info + FieldSeparator + Windows1252::encode(s.file) + FieldSeparator + QByteArray::number(s.content.size());
    QByteArray sent;
    bool done = false;
    for (const QByteArray& write : s.connection.written) {
        if (write == Done || write.size() == BlockSize) {
            if (done)
                __builtin_trap();
            done = write == Done;
            if (!done)
                sent += write;
        } else if (write != description) {
            __builtin_trap();
        }
    }
    if (sent.left(s.content.size()) != s.content.left(sent.size()) || (done && sent.size() < s.content.size()))
        __builtin_trap();
    s.sender.close();
    if (!s.fileSlots.claimUpload())
        __builtin_trap();
    s.fileSlots.releaseUpload();
    s.connection.forget();
    s.prompts.shown.clear();
    // What Qt deferred (deletions, queued calls) is done now, as the event loop would, so that
    // each input frees what it allocated.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
