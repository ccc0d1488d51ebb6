// Real clients against the companion server, in one process, over 127.0.0.1: what the scenario
// suite (tst_scenarios) leaves out.
#include "ChatMember.h"
#include "TestServer.h"

#include "chat/ChatDisplay.h"
#include "privatechat/Form3.h"

#include <QTextEdit>
#include <QtTest>

#include <memory>
#include <vector>

class EndToEndTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void burstsOfReadEndingMessagesAllArrive();
};

void EndToEndTest::burstsOfReadEndingMessagesAllArrive() {
    // Each departure and each private line ends the client's read; none may be lost behind another.
    TestServer server;
    server.addAccount(QStringLiteral("ann"), QStringLiteral("1111"));
    // Made before the departures: the test's own database connection would race the writer thread
    // recording their last-seen times.
    server.addAccount(QStringLiteral("bob"), QStringLiteral("1"));
    ChatMember ann(server.port());
    ann.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    std::vector<std::unique_ptr<ServerTestClient>> six;
    for (int i = 1; i <= 6; ++i) {
        six.push_back(server.signOnNew(QStringLiteral("m%1").arg(i)));
        QVERIFY(six.back());
    }
    QTRY_COMPARE(ann.users().size(), 7);
    for (auto& member : six)
        member->socket().abort();
    QTRY_COMPARE_WITH_TIMEOUT(ann.users(), QStringList{QStringLiteral("ann")}, 10000);
    QCOMPARE(ann.w.rtb->toPlainText().count(QStringLiteral(" Has left...")), 6);

    auto bob = server.signOn(QStringLiteral("bob"), QStringLiteral("1"));
    QVERIFY(bob);
    for (int i = 1; i <= 10; ++i)
        bob->sendSegment(QStringLiteral("PMSG|\u00BF|ann|\u00BF|line %1").arg(i));
    QTRY_VERIFY(ann.w.privateWindow(1));
    QTRY_COMPARE_WITH_TIMEOUT(ann.w.privateWindow(1)->rtb->toPlainText().count(QStringLiteral("<bob> line ")),
                              10, 10000);

    // A second session of ann's account: the name it first answers is taken, so the demand comes
    // twice, and the room's burst that follows arrives whole.
    ChatMember second(server.port());
    second.t.prompts.inputs = {QStringLiteral("ann"), QStringLiteral("ann@2")};
    second.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    QTRY_VERIFY(second.users().contains(QStringLiteral("ann@2")));
    QCOMPARE(second.t.prompts.texts().count(QStringLiteral("Please Select a New Nick...")), 2);
    for (int i = 1; i <= 10; ++i)
        bob->sendSegment(QStringLiteral("MSG|\u00BF|burst %1\r\n").arg(i));
    QTRY_COMPARE_WITH_TIMEOUT(second.w.rtb->toPlainText().count(QStringLiteral("<bob> burst ")), 10, 10000);
}

QTEST_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
