// Any bytes from the chat server, cut into reads at each NUL byte, handled one read after another by
// a signed-on main window exactly as its data-arrival handler would.
#include "SignedOnClient.h"

#include "chat/ChatSession.h"
#include "common/Windows1252.h"

#include <QApplication>
#include <QListWidget>
#include <QTextEdit>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Neither it nor the windows are destroyed: at exit Qt's own teardown would come first.
    new QApplication(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static SignedOnClient* c = nullptr;
    // INVALID signs the client off: every input starts from a signed-on client.
    if (!c || !c->w->isConnected()) {
        delete c;
        c = new SignedOnClient;
        if (!c->ready)
            __builtin_trap();
    }
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const QByteArray& read : bytes.split('\0'))
        c->w->handleRead(Windows1252::decode(read));
    // The display, the lists and the records start empty for the next input.
    c->w->rtb->clear();
    c->w->session().clearMembers();
    c->t.prompts.shown.clear();
    c->t.sounds.played.clear();
    c->t.desktop.started.clear();
    c->t.desktop.opened.clear();
    if (QTcpSocket* peer = c->server.client())
        peer->waitForReadyRead(0);
    c->server.take();
    // What Qt deferred (deletions, queued calls) is done now, as the event loop would, so that
    // each input frees what it allocated.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
