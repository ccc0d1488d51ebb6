#pragma once

#include "FakeServices.h"
#include "ScriptedChatServer.h"

#include "app/Form1.h"

#include <QByteArray>
#include <memory>

// A main window signed on as "me" to a scripted chat server, with the LOGIN already taken off the wire.
struct SignedOnClient {
    TestServices t;
    ScriptedChatServer server;
    std::unique_ptr<Form1> w;
    // False when the client never connected or its LOGIN never arrived.
    bool ready = false;

    SignedOnClient();
    // Sends one read to the client and returns once the client has handled it.
    bool deliver(const QByteArray& read);
    // Waits until the client has sent at least `bytes` in total since the last take.
    bool waitForSent(qsizetype bytes);
    // Everything the client sent since the last take, proven complete by a marker sent after it;
    // "<timeout>" when the marker never arrived.
    QByteArray sentSoFar();
};
