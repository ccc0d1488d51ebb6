// Any bytes from the chat server, cut into reads at each NUL byte, handled one read after another by
// a signed-on main window exactly as its data-arrival handler would.
#include "SignedOnClient.h"

#include "common/Windows1252.h"

#include <QApplication>
#include <QListWidget>
#include <QTextEdit>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::unique_ptr<SignedOnClient> c;
    // INVALID signs the client off: every input starts from a signed-on client.
    if (!c || !c->w->isConnected()) {
        c.reset();
        c = std::make_unique<SignedOnClient>();
        if (!c->ready)
            __builtin_trap();
    }
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const QByteArray& read : bytes.split('\0'))
        c->w->handleRead(Windows1252::decode(read));
    // The display, the lists and the records start empty for the next input.
    c->w->rtb->clear();
    c->w->LV1->clear();
    c->t.prompts.shown.clear();
    c->t.sounds.played.clear();
    c->t.desktop.started.clear();
    c->t.desktop.opened.clear();
    if (QTcpSocket* peer = c->server.client())
        peer->waitForReadyRead(0);
    c->server.take();
    return 0;
}
