#include "SignedOnClient.h"

#include "chat/ChatSession.h"

#include <QLineEdit>
#include <QtTest>
#include <QTextEdit>

SignedOnClient::SignedOnClient() : w(std::make_unique<Form1>(t.services())) {
    w->Form_Load();
    w->Text3->setText(QStringLiteral("me"));
    w->setPassword(QStringLiteral("1234"));
    w->setServerAddress(QStringLiteral("127.0.0.1"), server.port());
    w->signOn();
    ready = QTest::qWaitFor([this] { return server.hasClient() && w->isConnected(); }, 5000) &&
            waitForSent(qsizetype(QByteArrayLiteral("LOGIN|\xbf|me|\xbf|1234").size()));
    server.take();
    w->rtb->clear(); // the tests read the room from an empty display, without the first greeting
}

bool SignedOnClient::deliver(const QByteArray& read) { return server.deliver(w->session(), read); }

bool SignedOnClient::waitForSent(qsizetype bytes) { return server.waitForReceived(bytes); }

QByteArray SignedOnClient::sentSoFar() { return server.takeSentBy(w->session()); }
