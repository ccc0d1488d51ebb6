// Any bytes from a file's sender, cut into reads at each NUL byte, as the receiving end of a private
// transfer handles them: the description, the data and the end, in any order. Whatever the sender
// names the file, it may only be saved in the download folder.
#include "FakeConnection.h"
#include "FakeServices.h"
#include "TransferViewRecord.h"

#include "privatechat/FileReceiver.h"
#include "privatechat/FileSlots.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

namespace {
struct Receiving {
    QTemporaryDir downloads;
    FakeConnection connection;
    TransferViewRecord view;
    FileSlots fileSlots;
    FakePrompts prompts;
    FileReceiver receiver{connection, view, fileSlots, prompts, [this] { return downloads.path(); }};
    QString saved;

    Receiving() {
        view.onPath = [this](const QString& path) {
            if (path.isEmpty())
                return;
            if (QFileInfo(path).path() != QDir::cleanPath(downloads.path()))
                __builtin_trap();
            saved = path;
        };
    }
};
} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Receiving r;
    if (!r.receiver.start(QStringLiteral("127.0.0.1"), 1))
        __builtin_trap();
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const QByteArray& read : bytes.split('\0')) {
        if (!r.receiver.isBusy())
            break;
        r.connection.deliver(read);
    }
    r.receiver.close();
    // Whatever happened, the download slot is free again.
    if (!r.fileSlots.claimDownload())
        __builtin_trap();
    r.fileSlots.releaseDownload();
    if (!r.saved.isEmpty())
        QFile::remove(std::exchange(r.saved, QString()));
    r.connection.forget();
    r.prompts.shown.clear();
    // What Qt deferred (deletions, queued calls) is done now, as the event loop would, so that
    // each input frees what it allocated.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
