// Real clients against the companion server, in one process, over 127.0.0.1.
#include "FakeServices.h"
#include "TestServer.h"

#include "ancillary/Form2.h"
#include "app/Form1.h"
#include "browser/GameStarter.h"
#include "chat/Form7.h"
#include "chat/Form8.h"
#include "common/SystemServices.h"
#include "common/TextFile.h"
#include "privatechat/Form3.h"
#include "privatechat/Path.h"
#include "privatechat/PrivateChat.h"
#include "server/MasterListFolder.h"
#include "server/MasterListHttp.h"
#include "servers/Form4.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTextEdit>
#include <QtTest>

#include <memory>
#include <vector>

namespace {
Services withDesktop(TestServices& t, Desktop* desktop) {
    Services s = t.services();
    return desktop ? Services{s.prompts, *desktop, s.sounds, s.clock, s.random, s.folder} : s;
}

struct Member {
    TestServices t;
    Form1 w;
    // desktop: a real one starts real programs; by default nothing is started.
    explicit Member(quint16 port, Desktop* desktop = nullptr) : w(withDesktop(t, desktop)) {
        w.Form_Load();
        w.setServerAddress(QStringLiteral("127.0.0.1"), port);
    }
    void signOn(const QString& name, const QString& password) {
        w.mnucon->trigger();
        auto* dialog = w.findChild<Form7*>();
        dialog->fields.text1[ProfileFields::AccountName]->setText(name);
        dialog->fields.text1[ProfileFields::Password]->setText(password);
        dialog->Command1->click();
    }
    QStringList users() const {
        QStringList out;
        for (int i = 0; i < w.LV1->count(); ++i)
            out.append(w.LV1->item(i)->text());
        return out;
    }
    void say(const QString& line) {
        w.Text1->setText(line);
        QTest::keyClick(w.Text1, Qt::Key_Return);
    }
};
} // namespace

class EndToEndTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void newAccountThenSignOn();
    void roomPrivateAndDetails();
    void followIntoAGame();
    void wrongPasswordIsRefused();
    void fileOfferedThroughTheServer();
    void browserFetchesTheCompanionServersList();
    void burstsOfReadEndingMessagesAllArrive();
};

void EndToEndTest::newAccountThenSignOn() {
    TestServer server;
    Member ann(server.port());
    ann.w.mnuNews->trigger();
    QTRY_VERIFY(ann.w.findChild<Form8*>());
    auto* dialog = ann.w.findChild<Form8*>();
    dialog->fields.text1[ProfileFields::AccountName]->setText(QStringLiteral("ann"));
    dialog->fields.text1[ProfileFields::Password]->setText(QStringLiteral("2468"));
    dialog->fields.text1[ProfileFields::Age]->setText(QStringLiteral("23"));
    dialog->Command1->click();
    QTRY_COMPARE(ann.t.prompts.texts(), QStringList{QStringLiteral("Thank you, account created ok.")});

    // The same name again is refused.
    Member copycat(server.port());
    copycat.w.mnuNews->trigger();
    QTRY_VERIFY(copycat.w.findChild<Form8*>());
    auto* second = copycat.w.findChild<Form8*>();
    second->fields.text1[ProfileFields::AccountName]->setText(QStringLiteral("ann"));
    second->fields.text1[ProfileFields::Password]->setText(QStringLiteral("1"));
    second->Command1->click();
    QTRY_COMPARE(copycat.t.prompts.shown.size(), 1);
    QVERIFY(copycat.t.prompts.last().text.startsWith(QStringLiteral("Unable To Create New Account...")));

    ann.signOn(QStringLiteral("ann"), QStringLiteral("2468"));
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    QCOMPARE(ann.w.statusText(), QStringLiteral("Signed On"));
}

void EndToEndTest::roomPrivateAndDetails() {
    TestServer server;
    server.addAccount(QStringLiteral("ann"), QStringLiteral("1111"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("2222"));
    Member ann(server.port()), bob(server.port());
    ann.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    bob.signOn(QStringLiteral("bob"), QStringLiteral("2222"));
    QTRY_COMPARE(bob.users().size(), 2);
    QTRY_COMPARE(ann.users(), (QStringList{QStringLiteral("ann"), QStringLiteral("bob")}));
    QVERIFY(ann.w.rtb->toPlainText().contains(QStringLiteral(" ^ bob Has entered...")));

    // A line reaches everyone, the sender included, with its emoticon converted.
    ann.say(QStringLiteral("hello all :)"));
    const QString shown = QStringLiteral("<ann> hello all ") + QChar(QChar::ObjectReplacementCharacter);
    QTRY_VERIFY(bob.w.rtb->toPlainText().endsWith(shown));
    QTRY_VERIFY(ann.w.rtb->toPlainText().endsWith(shown));

    // User details: a private request answered automatically by bob's client.
    bob.w.List2->addItems({QStringLiteral("Age : 30"), QStringLiteral("Email : bob@example.org"),
                           QStringLiteral("Website : http://bob"), QStringLiteral("Hobbys : rtcw")});
    ann.w.selectUser(QStringLiteral("bob"));
    ann.w.mnuIS->trigger();
    QTRY_COMPARE(ann.w.userInfo().Label[0]->text(), QStringLiteral("Age : 30"));
    QCOMPARE(ann.w.userInfo().Label[2]->text(), QStringLiteral("Hobbys : rtcw"));

    // A private line opens a window on the other side.
    ann.w.send(QStringLiteral("PMSG|\u00BF|bob|\u00BF|psst"));
    QTRY_VERIFY(bob.w.privateWindow(1));
    QCOMPARE(bob.w.privateWindow(1)->windowTitle(), QStringLiteral("Chat With <ann>"));
    QTRY_COMPARE(bob.w.privateWindow(1)->rtb->toPlainText(), QStringLiteral("\n<ann> psst"));

    // Bob leaves; ann sees it.
    bob.w.mnudis->trigger();
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    QVERIFY(ann.w.rtb->toPlainText().contains(QStringLiteral(" ^ bob Has left...")));
}

void EndToEndTest::followIntoAGame() {
    TestServer server;
    server.addAccount(QStringLiteral("ann"), QStringLiteral("1111"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("2222"));
    SystemDesktop desktop;
    Member ann(server.port(), &desktop), bob(server.port());
    ann.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    bob.signOn(QStringLiteral("bob"), QStringLiteral("2222"));
    QTRY_COMPARE(ann.users().size(), 2);

    // Ann's RTCW is a small program that writes down where it ran and what it was given.
    QTemporaryDir game;
    QFile fake(game.filePath(QStringLiteral("wolfmp.exe")));
    QVERIFY(fake.open(QIODevice::WriteOnly));
    fake.write("#!/bin/sh\nprintf '%s\\n' \"$PWD\" \"$*\" > launched.part && mv launched.part launched.txt\n");
    fake.close();
    fake.setPermissions(fake.permissions() | QFile::ExeOwner);
    QVERIFY(TextFile::writeLines(ann.t.file(QStringLiteral("\\rtcw-path.qvl")), {game.path()}));

    // Bob goes to play; the room is told.
    GameStarter& bobGame = bob.w.gameStarter();
    bobGame.setGameKey(QStringLiteral("RTCW"));
    bobGame.Text3->setText(QStringLiteral("Castle Night"));
    bobGame.Text2->setText(QStringLiteral("127.0.0.1"));
    bobGame.Text4->setText(QStringLiteral("27960"));
    bobGame.Join->click();
    QVERIFY(bobGame.isPlaying());
    QTRY_VERIFY(ann.w.rtb->toPlainText().contains(
        QStringLiteral("<bob> joined RTCW, server : Castle Night - 127.0.0.1 - 27960 at 14:05:09 : 16/11/2003")));

    // Ann follows him into the game.
    ann.w.selectUser(QStringLiteral("bob"));
    ann.w.mnuFollowUser->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(game.filePath(QStringLiteral("launched.txt"))), 15000);
    QCOMPARE(TextFile::readLines(game.filePath(QStringLiteral("launched.txt"))),
             (QStringList{QFileInfo(game.path()).canonicalFilePath(), QStringLiteral("+connect 127.0.0.1:27960")}));
    GameStarter& annGame = ann.w.gameStarter();
    QCOMPARE(annGame.Text3->text(), QStringLiteral("Castle Night"));
    QVERIFY(annGame.isPlaying());
    QVERIFY(!ann.w.isVisible());
    QTRY_VERIFY(bob.w.rtb->toPlainText().contains(QStringLiteral("<ann> joined RTCW, server : Castle Night")));
    QVERIFY(ann.t.prompts.shown.isEmpty());

    // Bob comes back.
    bobGame.findChild<Form4*>()->Command1->click();
    QVERIFY(!bobGame.isPlaying());
    QTRY_VERIFY(ann.w.rtb->toPlainText().contains(QStringLiteral("<bob>  left RTCW : 14:05:09 : 16/11/2003")));
}

void EndToEndTest::wrongPasswordIsRefused() {
    TestServer server;
    server.addAccount(QStringLiteral("ann"), QStringLiteral("1111"));
    Member ann(server.port());
    ann.signOn(QStringLiteral("ann"), QStringLiteral("9999"));
    QTRY_COMPARE(ann.t.prompts.texts(), QStringList{QStringLiteral("Login Error : Please Try Again")});
    QTRY_COMPARE(ann.w.statusText(), QStringLiteral("Signed Off"));
    QCOMPARE(ann.w.connectionText(), QStringLiteral("Not Connected"));
}

void EndToEndTest::fileOfferedThroughTheServer() {
    TestServer server;
    server.addAccount(QStringLiteral("ann"), QStringLiteral("1111"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("2222"));
    Member ann(server.port()), bob(server.port());
    ann.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    bob.signOn(QStringLiteral("bob"), QStringLiteral("2222"));
    QTRY_COMPARE(ann.users().size(), 2);
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("notes with blanks.txt"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(3000, 'n'));
    file.close();
    bob.w.downloadFolder = folder.filePath(QStringLiteral("in"));
    QVERIFY(QDir().mkpath(bob.w.downloadFolder));

    // ann offers on a port the system chooses for her; the server adds her address on the way to bob.
    quint16 port = 0;
    for (quint16 p = 41000; !port; ++p) {
        QTcpServer probe;
        if (probe.listen(QHostAddress::Any, p))
            port = p;
    }
    ann.t.prompts.files.push_back(path);
    ann.t.prompts.inputs.push_back(QString::number(port));
    ann.w.openPrivateWindow(QStringLiteral("bob"))->mnuSNDFile_Click();
    QTRY_VERIFY(bob.w.privateChat().offerDialog(0) && bob.w.privateChat().offerDialog(0)->isVisible());
    Path* offer = bob.w.privateChat().offerDialog(0);
    QCOMPARE(offer->offerPort, QString::number(port));
    offer->Command1->click();
    QTRY_COMPARE(bob.t.prompts.texts(), QStringList{QStringLiteral("File Transfer Complete")});
    QFile saved(bob.w.downloadFolder + QStringLiteral("/notes with blanks.txt"));
    QVERIFY(saved.open(QIODevice::ReadOnly));
    QCOMPARE(saved.readAll(), QByteArray(3000, 'n') + QByteArray(3 * 1028 - 3000, '\0'));
}

// A new installation sees servers: the companion server's sample list reaches the browser.
void EndToEndTest::browserFetchesTheCompanionServersList() {
    QTemporaryDir data;
    QVERIFY(MasterListFolder::fillMissing(data.path(), nullptr));
    MasterListHttp http(data.path());
    const quint16 port = http.listen(QHostAddress::LocalHost, 0);
    QVERIFY(port);
    TestServices t;
    QFile settings(t.file(QStringLiteral("\\Settings.ini")));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("[Options]\r\nMasterListHost=127.0.0.1:" + QByteArray::number(port) + "\r\n");
    settings.close();
    GameStarter browser(t.services());
    browser.setGameKey(QStringLiteral("Kingpin"));
    browser.cmdQvlList->click();

    QFile sample(QDir(data.path()).filePath(QStringLiteral("qvllist-kingpin.qvl")));
    QVERIFY(sample.open(QIODevice::ReadOnly));
    const QByteArray list = sample.readAll();
    QTRY_COMPARE_WITH_TIMEOUT(browser.lblStatus->text(),
                              QStringLiteral(" Recived Master List : (%1)Bytes ").arg(list.size()), 20000);
    QCOMPARE(browser.lstMasterServers->count(), list.count('\n') + 1);
    QVERIFY(browser.lstMasterServers->item(0)->text().endsWith(QStringLiteral(" - 127.0.0.1 - 31510")));
    QTRY_VERIFY(browser.cmdQvlList->isEnabled());
}

void EndToEndTest::burstsOfReadEndingMessagesAllArrive() {
    // Each departure and each private line ends the client's read; none may be lost behind another.
    TestServer server;
    server.addAccount(QStringLiteral("ann"), QStringLiteral("1111"));
    Member ann(server.port());
    ann.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    std::vector<std::unique_ptr<ServerTestClient>> six;
    for (int i = 1; i <= 6; ++i) {
        server.addAccount(QStringLiteral("m%1").arg(i), QStringLiteral("1"));
        six.push_back(server.signOn(QStringLiteral("m%1").arg(i), QStringLiteral("1")));
        QVERIFY(six.back());
    }
    QTRY_COMPARE(ann.users().size(), 7);
    for (auto& member : six)
        member->socket().abort();
    QTRY_COMPARE_WITH_TIMEOUT(ann.users(), QStringList{QStringLiteral("ann")}, 10000);
    QCOMPARE(ann.w.rtb->toPlainText().count(QStringLiteral(" Has left...")), 6);

    server.addAccount(QStringLiteral("bob"), QStringLiteral("2"));
    auto bob = server.signOn(QStringLiteral("bob"), QStringLiteral("2"));
    QVERIFY(bob);
    for (int i = 1; i <= 10; ++i)
        bob->sendSegment(QStringLiteral("PMSG|\u00BF|ann|\u00BF|line %1").arg(i));
    QTRY_VERIFY(ann.w.privateWindow(1));
    QTRY_COMPARE_WITH_TIMEOUT(ann.w.privateWindow(1)->rtb->toPlainText().count(QStringLiteral("<bob> line ")),
                              10, 10000);
}

QTEST_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
