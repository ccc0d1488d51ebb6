#include "DataRows.h"
#include "SignedOnClient.h"

#include "browser/GameStarter.h"
#include "chat/Form9.h"
#include "chat/SlashCommand.h"
#include "privatechat/Form3.h"
#include "chat/ChatDisplay.h"

#include <QtTest>
#include <QtWidgets>

class CommandsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        c = std::make_unique<SignedOnClient>();
        QVERIFY(c->ready);
    }
    void cleanup() { c.reset(); }

    // clang-format off
    void inputLine_data() {
        // effect: "cleared", "browser", "clipboard", "mail" or nothing else
        addColumns<QString, QByteArray, QString, QString, QString>("line", "sent", "status", "prompt", "effect");
        const QString signedOn = QStringLiteral("Signed On");
        auto str = [](const char* t) { return QString::fromLatin1(t); };
        QTest::newRow("/help") << str("/help") << QByteArray() << signedOn << str("Quorvel|") + slashHelpText() + str("|1") << QString();
        QTest::newRow("/Help is chat") << str("/Help") << QByteArray("MSG|\xbf|/Help") << signedOn << QString() << QString();
        for (const char* line : {"/gs", "/gamestarter", "/game starter"})
            QTest::newRow(line) << str(line) << QByteArray() << signedOn << QString() << str("browser");
        QTest::newRow("/gs ") << str("/gs ") << QByteArray("MSG|\xbf|/gs ") << signedOn << QString() << QString();
        for (const char* line : {"/time", "/date"})
            QTest::newRow(line) << str(line) << QByteArray() << str("The time/date is : 16/11/2003 : 14:05:09") << QString() << QString();
        QTest::newRow("/localip") << str("/localip") << QByteArray() << str("Your local IP is : 127.0.0.1") << QString() << QString();
        QTest::newRow("/copylocalip") << str("/copylocalip") << QByteArray() << str("Local IP : 127.0.0.1 copyed...") << QString() << str("clipboard");
        QTest::newRow("/email") << str("/email") << QByteArray() << str("Default Email Client loaded...") << QString() << str("mail");
        for (const char* line : {"/clear", "/CLEAR", "/Clearly anything"})
            QTest::newRow(line) << str(line) << QByteArray() << signedOn << QString() << str("cleared");
        QTest::newRow("/me is sent") << str("/me waves") << QByteArray("MSG|\xbf|/me waves") << signedOn << QString() << QString();
        QTest::newRow("separator typed is sent as it stands") << QString::fromUtf8("a |\xc2\xbf| b") << QByteArray("MSG|\xbf|a |\xbf| b") << signedOn << QString() << QString();
    }
    // clang-format on

    void inputLine() {
        auto [line, sent, status, prompt, effect] = fetchRow<QString, QByteArray, QString, QString, QString>(
            "line", "sent", "status", "prompt", "effect");
        QVERIFY(c->deliver("MSG|\xbf|<ann> earlier\r\n"));
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        c->w->Text1->setText(line);
        QTest::keyClick(c->w->Text1, Qt::Key_Return);
        QCOMPARE(c->sentSoFar(), sent);
        QCOMPARE(c->w->statusText(), status);
        QCOMPARE(c->t.prompts.lastLine(), prompt);
        // Emptied after every command, so the next line never starts with the last one.
        QCOMPARE(c->w->Text1->text(), QString());
        QCOMPARE(c->w->rtb->toPlainText().isEmpty(), effect == u"cleared");
        QCOMPARE(c->w->gameStarter().isVisible(), effect == u"browser");
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 effect == u"clipboard" ? QStringLiteral("127.0.0.1") : QStringLiteral("before"));
        QCOMPARE(c->t.desktop.opened, effect == u"mail" ? QStringList{QStringLiteral("mailto:")} : QStringList());
    }

    void lineTypedBeforeTheConnectionIsUpIsKept() {
        TestServices t;
        ScriptedChatServer server;
        Form1 w(t.services());
        w.Form_Load();
        w.Text3->setText(QStringLiteral("me"));
        w.setPassword(QStringLiteral("1"));
        w.setServerAddress(QStringLiteral("127.0.0.1"), server.port());
        w.signOn();
        QVERIFY(!w.isConnected());
        w.Text1->setText(QStringLiteral("hello"));
        QTest::keyClick(w.Text1, Qt::Key_Return);
        QTRY_VERIFY(w.isConnected());
        w.send(QStringLiteral("MARK"));
        QTRY_VERIFY(server.received().endsWith("MARK"));
        // A socket still connecting would have queued the line and sent it ahead of LOGIN.
        QCOMPARE(server.received(), QByteArray("LOGIN|\xbf|me|\xbf|1MARK"));
        QCOMPARE(w.Text1->text(), QStringLiteral("hello"));
    }

    // clang-format off
    void userMenu_data() {
        addColumns<QString, QString, QByteArray, QString>("item", "selected", "sent", "prompt");
        auto str = [](const char* t) { return QString::fromLatin1(t); };
        QTest::newRow("message yourself") << str("mnuPM") << str("me") << QByteArray() << str("Quorvel|You can't PM your self|0");
        QTest::newRow("user details") << str("mnuIS") << str("bob") << QByteArray("PMSG|\xbf|bob|\xbf|/WHOAMI") << QString();
        QTest::newRow("follow yourself") << str("mnuFollowUser") << str("me") << QByteArray() << str("Quorvel|You can't follow your self|2");
        QTest::newRow("follow") << str("mnuFollowUser") << str("bob") << QByteArray("FOLLOWUSER|\xbf|bob|\xbf|me") << QString();
        QTest::newRow("last logged on") << str("mnuLastLoggedOn") << str("bob") << QByteArray("MSG|\xbf|!Seen bob") << QString();
        QTest::newRow("kick") << str("mnuKick") << str("bob") << QByteArray("OPS|\xbf|KICK|\xbf|bob") << QString();
        QTest::newRow("ban") << str("mnuBan") << str("bob") << QByteArray("OPS|\xbf|BAN|\xbf|bob") << QString();
        QTest::newRow("subnet ban") << str("mnuMBAN") << str("bob") << QByteArray("OPS|\xbf|SUBNET|\xbf|bob") << QString();
        QTest::newRow("suspend") << str("mnuMuzzle") << str("bob") << QByteArray("OPS|\xbf|MUZZLE|\xbf|bob") << QString();
        QTest::newRow("clear subnet bans") << str("mnuCSB") << str("bob") << QByteArray("OPS|\xbf|CSB") << QString();
        QTest::newRow("clear permanent bans") << str("mnuCPB") << str("bob") << QByteArray("OPS|\xbf|CPB") << QString();
        QTest::newRow("clear 60 min bans") << str("mnuCRB") << str("bob") << QByteArray("OPS|\xbf|CRB") << QString();
        for (const char* item : {"mnuPM", "mnuIS", "mnuFollowUser", "mnuLastLoggedOn", "mnuIG", "mnuUn",
                                 "mnuKick", "mnuBan", "mnuMBAN", "mnuMuzzle"})
            QTest::addRow("%s, nobody selected", item) << str(item) << QString() << QByteArray() << QString();
        QTest::newRow("commands box") << str("mnuCommands") << str("bob") << QByteArray() << str("Commands|/clear - Clear you chat screen...\r\n!Seen Name - see when a user last logged in...\r\nEmoticons - :) ;) :z :d :( :| :m :< :o :x\r\n/me - First person msg...\r\n/Ops - See Online Ops...|1");
    }
    // clang-format on

    void userMenu() {
        auto [item, selected, sent, prompt] =
            fetchRow<QString, QString, QByteArray, QString>("item", "selected", "sent", "prompt");
        QVERIFY(c->deliver("LIST|\xbf|me\r\nLIST|\xbf|bob\r\n"));
        c->w->selectUser(selected);
        c->w->findChild<QAction*>(item)->trigger();
        QCOMPARE(c->sentSoFar(), sent);
        QCOMPARE(c->t.prompts.lastLine(), prompt);
        QCOMPARE(c->w->List1->count(), 0);
        QVERIFY(!c->w->privateWindow(1));
    }

    void privateWindowOpensOnce() {
        QVERIFY(c->deliver("LIST|\xbf|bob\r\n"));
        c->w->show();
        QListWidgetItem* bob = c->w->LV1->item(0);
        // A double click on a member opens the window as "Message" does.
        QTest::mouseDClick(c->w->LV1->viewport(), Qt::LeftButton, {}, c->w->LV1->visualItemRect(bob).center());
        c->w->mnuPM->trigger();
        QVERIFY(c->w->privateWindow(1));
        QCOMPARE(c->w->privateWindow(1)->windowTitle(), QStringLiteral("Chat With <bob>"));
        // A line from bob lands in the window the menu opened.
        QVERIFY(c->deliver("PMSG|\xbf|<bob> hi\r\n"));
        QCOMPARE(c->w->privateWindow(1)->rtb->toPlainText(), QStringLiteral("\n<bob> hi"));
        QVERIFY(!c->w->privateWindow(2));
    }

    void ignoreList() {
        QVERIFY(c->deliver("LIST|\xbf|bob\r\nLIST|\xbf|ann\r\n"));
        c->w->mnuVI->trigger();
        QCOMPARE(c->t.prompts.lastLine(), QStringLiteral("Quorvel|You have no ignored users.|0"));
        c->w->mnucI->trigger();
        QCOMPARE(c->t.prompts.lastLine(), QStringLiteral("Quorvel|You have no ignored users to clear.|2"));
        c->w->selectUser(QStringLiteral("bob"));
        c->w->mnuIG->trigger();
        c->w->selectUser(QStringLiteral("ann"));
        c->w->mnuIG->trigger();
        c->w->mnuVI->trigger();
        QCOMPARE(c->t.prompts.lastLine(), QStringLiteral("Quorvel|<bob>\r\n<ann>|0"));
        QVERIFY(c->deliver("MSG|\xbf|<ann> hidden\r\n"));
        QCOMPARE(c->w->rtb->toPlainText(), QString());
        c->w->mnuUn->trigger();
        QVERIFY(c->deliver("MSG|\xbf|<ann> shown\r\n"));
        QCOMPARE(c->w->rtb->toPlainText(), QStringLiteral("\n<ann> shown"));
        c->w->mnucI->trigger();
        QCOMPARE(c->t.prompts.lastLine(), QStringLiteral("Quorvel|Ignored users, cleared....|1"));
        QCOMPARE(c->w->List1->count(), 0);
    }

    void addressBox_data() {
        addColumns<QString, QStringList>("entry", "opened");
        QTest::newRow("web page") << QStringLiteral("http://quorvel.example") << QStringList{QStringLiteral("http://quorvel.example")};
        QTest::newRow("bare http://") << QStringLiteral("http://") << QStringList();
        QTest::newRow("bare ftp://") << QStringLiteral("ftp://") << QStringList();
    }

    void addressBox() {
        auto [entry, opened] = fetchRow<QString, QStringList>("entry", "opened");
        TestServices t;
        Form1 w(t.services());
        w.Combo1->addItem(entry);
        Q_EMIT w.Combo1->activated(w.Combo1->count() - 1);
        QCOMPARE(t.desktop.opened, opened);
    }

    void newsDialogPosts() {
        Form9 news(*c->w->Winsock1);
        news.Text1->setText(QStringLiteral("Tourney"));
        news.Text2->setText(QStringLiteral("Saturday 8pm"));
        news.Command1->click();
        QCOMPARE(c->sentSoFar(), QByteArray("NEWS|\xbf|Tourney|\xbf|Saturday 8pm"));
    }

    void switchItemsAndClearChat() {
        c->w->mnuSoundEffects->trigger();
        QVERIFY(!c->w->mnuSoundEffects->isChecked());
        QVERIFY(c->deliver("JOIN|\xbf|ann\r\n"));
        QVERIFY(c->t.sounds.played.isEmpty());
        c->w->mnuSoundEffects->trigger();
        QVERIFY(c->deliver("JOIN|\xbf|bob\r\n"));
        QCOMPARE(c->t.sounds.played, QStringList{c->t.file(QStringLiteral("\\enter.wav"))});
        c->w->mnuClearChat->trigger();
        QCOMPARE(c->w->rtb->toPlainText(), QString());
    }

private:
    std::unique_ptr<SignedOnClient> c; // a new client for every test
};

QTEST_MAIN(CommandsTest)
#include "tst_commands.moc"
