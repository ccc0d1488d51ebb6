// One evening in the room, told in chapters: the companion server and three members' real main
// windows in one process, over 127.0.0.1. Each chapter goes on from where the one before left off.
#include "ChatMember.h"
#include "TestFiles.h"
#include "TestServer.h"

#include "browser/GameStarter.h"
#include "chat/ChatSession.h"
#include "privatechat/Form3.h"
#include "privatechat/Path.h"
#include "privatechat/PrivateChat.h"

#include <QAction>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTcpServer>
#include <QTextEdit>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {
const QString kPassword = u"2468"_s;

ServerLimits roomLimits() {
    ServerLimits limits = TestServer::testLimits();
    limits.accountsPerAddress = 0; // the three members create their accounts from one address
    return limits;
}

quint16 freePort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

QString lastPrompt(const ChatMember& m) {
    return m.t.prompts.shown.isEmpty() ? QString() : m.t.prompts.last().text;
}
} // namespace

class ScenariosTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void threeMembersCreateAccountsAndSignOn();
    void chatWithEmoticonsAndActions();
    void anIgnoredMembersLinesDoNotShow();
    void aPrivateChat();
    void aFileArrivesWholeUnderItsAccentedName();
    void aRefusedOffer();
    void theOperatorKicksThenBans();
    void theServerRestartsAndEveryoneSignsOnAgain();
    void followingAMemberIntoAGame();

private:
    // Signs on and waits until the member sees itself in the room.
    static bool signOn(ChatMember& m, const QString& name) {
        m.signOn(name, kPassword);
        return QTest::qWaitFor([&] { return m.users().contains(name); }, 5000);
    }
    // The member picks a file in a private window, and the port to offer it on.
    static void offer(ChatMember& from, Form3* window, const QString& path) {
        from.t.prompts.files.push_back(path);
        from.t.prompts.inputs.push_back(QString::number(freePort()));
        window->mnuSNDFile_Click();
    }

    TestServer server{roomLimits()};
    ChatMember ann{server.port()};
    ChatMember bob{server.port()};
    ChatMember carol{server.port()};
    const QList<ChatMember*> everyone{&ann, &bob, &carol};
    const QStringList all{u"ann"_s, u"bob"_s, u"carol"_s};
};

void ScenariosTest::threeMembersCreateAccountsAndSignOn() {
    const QString created = u"Thank you, account created ok."_s;
    QVERIFY(ann.requestAccount(u"ann"_s, kPassword));
    QTRY_COMPARE(lastPrompt(ann), created);
    // bob first asks for a name that is taken.
    QVERIFY(bob.requestAccount(u"ann"_s, kPassword));
    QTRY_VERIFY(lastPrompt(bob).startsWith(u"Unable To Create New Account..."_s));
    QVERIFY(bob.requestAccount(u"bob"_s, kPassword));
    QVERIFY(carol.requestAccount(u"carol"_s, kPassword));
    QTRY_COMPARE(lastPrompt(bob), created);
    QTRY_COMPARE(lastPrompt(carol), created);
    QVERIFY(server.store().setOperator(u"ann"_s, true));

    ann.signOn(u"ann"_s, u"9999"_s);
    QTRY_COMPARE(lastPrompt(ann), u"Login Error : Please Try Again"_s);
    QTRY_COMPARE(ann.w.statusText(), u"Signed Off"_s);
    QCOMPARE(ann.w.connectionText(), u"Not Connected"_s);
    for (int i = 0; i < 3; ++i)
        QVERIFY(signOn(*everyone[i], all[i]));
    for (ChatMember* m : everyone)
        QTRY_COMPARE(m->users(), all);
    QCOMPARE(ann.w.statusText(), u"Signed On"_s);
}

void ScenariosTest::chatWithEmoticonsAndActions() {
    bob.say(u"hello :) everyone"_s);
    for (ChatMember* m : everyone)
        QTRY_COMPARE(m->lastLine(), u"<bob> hello [1] everyone"_s);
    carol.say(u"/me waves"_s);
    for (ChatMember* m : everyone)
        QTRY_COMPARE(m->lastLine(), u" * carol waves"_s);
}

void ScenariosTest::anIgnoredMembersLinesDoNotShow() {
    ann.onMember(u"carol"_s, ann.w.mnuIG);
    QSignalSpy annReads(&ann.w, &Form1::readHandled);
    carol.say(u"anyone there?"_s);
    QTRY_COMPARE(bob.lastLine(), u"<carol> anyone there?"_s);
    // ann's client has had carol's line before bob answers: a line behind an ignored one in the
    // same read is lost, which is how the client has always handled it.
    QTRY_VERIFY(!annReads.isEmpty());
    bob.say(u"me"_s);
    QTRY_COMPARE(ann.lastLine(), u"<bob> me"_s);
    QVERIFY(!ann.w.rtb->toPlainText().contains(u"anyone there?"_s));

    ann.onMember(u"carol"_s, ann.w.mnuUn);
    carol.say(u"hi ann"_s);
    QTRY_COMPARE(ann.lastLine(), u"<carol> hi ann"_s);
}

void ScenariosTest::aPrivateChat() {
    ann.onMember(u"bob"_s, ann.w.mnuPM);
    Form3* toBob = ann.w.findPrivateWindow(u"bob"_s);
    QVERIFY(toBob && toBob->isVisible());
    ChatMember::type(toBob, u"psst, bob"_s);
    QTRY_VERIFY(bob.w.findPrivateWindow(u"ann"_s));
    Form3* toAnn = bob.w.findPrivateWindow(u"ann"_s);
    QCOMPARE(toAnn->windowTitle(), u"Chat With <ann>"_s);
    QTRY_COMPARE(toAnn->rtb->toPlainText(), u"\n<ann> psst, bob"_s);
    ChatMember::type(toAnn, u"yes?"_s);
    QTRY_COMPARE(toBob->rtb->toPlainText(), u"\n<ann> psst, bob\n<bob> yes?"_s);
    QVERIFY(!carol.w.findPrivateWindow(u"ann"_s));
    QVERIFY(!carol.w.rtb->toPlainText().contains(u"psst"_s));
}

void ScenariosTest::aFileArrivesWholeUnderItsAccentedName() {
    const QString source = bob.t.dir.filePath(u"café-menu.txt"_s);
    QByteArray bytes;
    for (int i = 0; i < 3000; ++i)
        bytes.append(char(i * 7 + i / 256));
    QVERIFY(writeBytes(source, bytes));
    ann.w.session().setDownloadFolder(ann.t.dir.filePath(u"downloads"_s));
    QVERIFY(QDir().mkpath(ann.w.session().downloadFolder()));

    offer(bob, bob.w.findPrivateWindow(u"ann"_s), source);
    QTRY_VERIFY(ann.w.privateChat().offerDialog(0));
    Path* dialog = ann.w.privateChat().offerDialog(0);
    QCOMPARE(dialog->Text2->toPlainText(),
             u"Info : bob Would Like To Send You "_s + source + u" Will You Accept?"_s);
    dialog->Command1->click();
    QTRY_COMPARE_WITH_TIMEOUT(lastPrompt(ann), u"File Transfer Complete"_s, 15000);
    // The last block goes whole: the file is padded with zero bytes to a multiple of 1,028.
    QCOMPARE(readBytes(ann.w.session().downloadFolder() + u"/café-menu.txt"_s),
             bytes + QByteArray(3 * 1028 - 3000, '\0'));
    QTRY_COMPARE(lastPrompt(bob), u"File Transfer Complete - "_s + source);
}

void ScenariosTest::aRefusedOffer() {
    offer(carol, carol.w.openPrivateWindow(u"bob"_s), carol.t.dir.filePath(u"holiday.zip"_s));
    QTRY_VERIFY(bob.w.privateChat().offerDialog(0));
    bob.w.privateChat().offerDialog(0)->Command2->click();
    QTRY_COMPARE(carol.t.prompts.lastLine(), u"Declined|Transfer Declined...|0"_s);
}

void ScenariosTest::theOperatorKicksThenBans() {
    const QString told =
        u"Quorvel Public Server Message!|%1|"_s + QString::number(int(Prompts::Icon::Information));
    ann.onMember(u"carol"_s, ann.w.mnuKick);
    QTRY_COMPARE(carol.t.prompts.lastLine(), told.arg(u"You were kicked by ann."_s));
    QTRY_COMPARE(carol.w.statusText(), u"Signed Off"_s);
    // The operator's notice and carol's departure may reach ann in either order.
    const auto annShows = [&](const QString& line) {
        return ann.w.rtb->toPlainText().split(u'\n').contains(line);
    };
    QTRY_VERIFY(annShows(u"<Quorvel> carol was kicked."_s));
    QTRY_COMPARE(bob.users(), (QStringList{u"ann"_s, u"bob"_s}));

    // A kick is no ban.
    QVERIFY(signOn(carol, u"carol"_s));
    QTRY_COMPARE(ann.users(), all);
    ann.onMember(u"carol"_s, ann.w.mnuBan);
    QTRY_COMPARE(carol.t.prompts.lastLine(), told.arg(u"You were banned for 60 minutes by ann."_s));
    QTRY_VERIFY(annShows(u"<Quorvel> carol was banned for 60 minutes."_s));
    QTRY_COMPARE(carol.w.statusText(), u"Signed Off"_s);
    carol.signOn(u"carol"_s, kPassword);
    QTRY_COMPARE(lastPrompt(carol), u"Login Error : Please Try Again"_s);
    QCOMPARE(ann.users(), (QStringList{u"ann"_s, u"bob"_s}));
}

void ScenariosTest::theServerRestartsAndEveryoneSignsOnAgain() {
    server.restart();
    QTRY_COMPARE(ann.w.statusText(), u"Signed Off"_s);
    QTRY_COMPARE(bob.w.statusText(), u"Signed Off"_s);
    for (ChatMember* m : everyone)
        m->setPort(server.port());
    // carol's ban covers the address everyone here shares, but it does not keep the operator out.
    QVERIFY(signOn(ann, u"ann"_s));
    // bob was still signed on when the server stopped.
    ann.say(u"!Seen bob"_s);
    QTRY_COMPARE(ann.lastLine(), u"<Quorvel> bob was last seen on 2026-03-01 12:00:00 UTC."_s);

    // An hour later the ban has run out.
    server.advance(60 * 60 + 1);
    QVERIFY(signOn(bob, u"bob"_s));
    QVERIFY(signOn(carol, u"carol"_s));
    for (ChatMember* m : everyone)
        QTRY_COMPARE(m->users(), all);
}

void ScenariosTest::followingAMemberIntoAGame() {
    ann.installHalfLife();
    const QString bobsGame = bob.installHalfLife();
    GameStarter& browser = ann.w.gameStarter();
    ann.w.mnuGameStarter->trigger();
    browser.setGameKey(u"Half-Life"_s);
    browser.Option2->setChecked(true);
    browser.Text3->setText(u"Fred's Bar"_s);
    browser.Text2->setText(u"10.0.0.5"_s);
    browser.Text4->setText(u"27015"_s);
    browser.Join->click();
    QCOMPARE(ann.t.desktop.started.size(), 1);
    QTRY_COMPARE(
        bob.lastLine(),
        u"<ann> joined Half-Life, server : Fred's Bar - 10.0.0.5 - 27015 at 14:05:09 : 16/11/2003"_s);

    // bob plays Counter-Strike too; the answer to his request tells his client where ann is.
    bob.w.gameStarter().Option2->setChecked(true);
    bob.onMember(u"ann"_s, bob.w.mnuFollowUser);
    QTRY_COMPARE(bob.t.desktop.started.size(), 1);
    const FakeDesktop::Started& started = bob.t.desktop.started.first();
    QCOMPARE((QStringList{started.program} + started.arguments).join(u' '),
             bobsGame +
                 u"\\hl.exe -console -game cstrike -noipx +exec adminpass.cfg +connect 10.0.0.5:27015"_s);
    QVERIFY(bob.w.gameStarter().isPlaying());
}

QTEST_MAIN(ScenariosTest)
#include "tst_scenarios.moc"
