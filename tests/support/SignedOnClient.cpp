#include "SignedOnClient.h"
#include "chat/ChatDisplay.h"

#include <QLineEdit>
#include <QtTest>

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

bool SignedOnClient::deliver(const QByteArray& read) {
    QSignalSpy handled(w.get(), &Form1::readHandled);
    server.send(read);
    return handled.wait(5000);
}

bool SignedOnClient::waitForSent(qsizetype bytes) {
    return QTest::qWaitFor([&] { return server.received().size() >= bytes; }, 5000);
}

QByteArray SignedOnClient::sentSoFar() {
    w->send(QStringLiteral("MARK"));
    if (!QTest::qWaitFor([this] { return server.received().endsWith("MARK"); }, 5000))
        return QByteArrayLiteral("<timeout>");
    QByteArray all = server.take();
    all.chop(4);
    return all;
}
