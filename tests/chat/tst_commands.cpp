#include "SignedOnClient.h"

#include "browser/GameStarter.h"
#include "chat/Form9.h"
#include "chat/SlashCommand.h"
#include "privatechat/Form3.h"

#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTextEdit>
#include <QtTest>

class CommandsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void inputLine_data();
    void inputLine();
    void chatLineDroppedWhenNotConnected();
    void userMenu_data();
    void userMenu();
    void privateWindowOpensOnce();
    void ignoreList();
    void addressBox_data();
    void addressBox();
    void newsDialogPosts();
    void switchItemsAndClearChat();
};

void CommandsTest::inputLine_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("prompt");
    QTest::addColumn<bool>("displayCleared");
    QTest::addColumn<bool>("lineEmptied");
    const QString signedOn = QStringLiteral("Signed On");
    auto str = [](const char* t) { return QString::fromLatin1(t); };
    QTest::newRow("/help") << str("/help") << QByteArray() << signedOn
                           << str("Quorvel|") + slashHelpText() + str("|1") << false << false;
    QTest::newRow("/Help is chat") << str("/Help") << QByteArray("MSG|\xbf|/Help") << signedOn << QString() << false
                                   << true;
    QTest::newRow("/gs ") << str("/gs ") << QByteArray("MSG|\xbf|/gs ") << signedOn << QString() << false << true;
    QTest::newRow("/time") << str("/time") << QByteArray() << str("The time/date is : 16/11/2003 : 14:05:09")
                           << QString() << false << false;
    QTest::newRow("/date") << str("/date") << QByteArray() << str("The time/date is : 16/11/2003 : 14:05:09")
                           << QString() << false << false;
    QTest::newRow("/localip") << str("/localip") << QByteArray() << str("Your local IP is : 127.0.0.1") << QString()
                              << false << true;
    QTest::newRow("/copylocalip") << str("/copylocalip") << QByteArray() << str("Local IP : 127.0.0.1 copyed...")
                                  << QString() << false << false;
    QTest::newRow("/email") << str("/email") << QByteArray() << str("Default Email Client loaded...") << QString()
                            << false << false;
    QTest::newRow("/clear") << str("/clear") << QByteArray() << signedOn << QString() << true << true;
    QTest::newRow("/CLEAR") << str("/CLEAR") << QByteArray() << signedOn << QString() << true << true;
    QTest::newRow("/Clearly anything") << str("/Clearly anything") << QByteArray() << signedOn << QString() << true
                                       << true;
    QTest::newRow("/me is sent") << str("/me waves") << QByteArray("MSG|\xbf|/me waves") << signedOn << QString()
                                 << false << true;
    QTest::newRow("separator typed is sent as it stands")
        << QString::fromUtf8("a |\xc2\xbf| b") << QByteArray("MSG|\xbf|a |\xbf| b") << signedOn << QString() << false
        << true;
    QTest::newRow("!Seen") << str("!Seen bob") << QByteArray("MSG|\xbf|!Seen bob") << signedOn << QString() << false
                           << true;
}

void CommandsTest::inputLine() {
    QFETCH(QString, line);
    QFETCH(QByteArray, sent);
    QFETCH(QString, status);
    QFETCH(QString, prompt);
    QFETCH(bool, displayCleared);
    QFETCH(bool, lineEmptied);
    SignedOnClient c;
    QVERIFY(c.ready);
    QVERIFY(c.deliver("MSG|\xbf|<ann> earlier\r\n"));
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));
    c.w->Text1->setText(line);
    QTest::keyClick(c.w->Text1, Qt::Key_Return);
    QCOMPARE(c.sentSoFar(), sent);
    QCOMPARE(c.w->statusText(), status);
    QCOMPARE(c.t.prompts.lastLine(), prompt);
    QCOMPARE(c.w->rtb->toPlainText().isEmpty(), displayCleared);
    QCOMPARE(c.w->Text1->text().isEmpty(), lineEmptied);
    QCOMPARE(QGuiApplication::clipboard()->text(),
             line == u"/copylocalip" ? QStringLiteral("127.0.0.1") : QStringLiteral("before"));
    QCOMPARE(c.t.desktop.opened, line == u"/email" ? QStringList{QStringLiteral("mailto:")} : QStringList());
    if (line.startsWith(QStringLiteral("/gs")) && line == u"/gs")
        QVERIFY(c.w->gameStarter().isVisible());
}

void CommandsTest::chatLineDroppedWhenNotConnected() {
    SignedOnClient c;
    QVERIFY(c.ready);
    for (const char* line : {"/gs", "/gamestarter", "/game starter"}) {
        c.w->Text1->setText(QString::fromLatin1(line));
        QTest::keyClick(c.w->Text1, Qt::Key_Return);
        QVERIFY(c.w->gameStarter().isVisible());
        c.w->gameStarter().hide();
    }
    QCOMPARE(c.sentSoFar(), QByteArray());
    c.w->mnudis->trigger();
    c.w->Text1->setText(QStringLiteral("hello"));
    QTest::keyClick(c.w->Text1, Qt::Key_Return);
    QVERIFY(!c.w->isConnected());
    QCOMPARE(c.server.received(), QByteArray());
    QVERIFY(c.t.prompts.shown.isEmpty());
}

void CommandsTest::userMenu_data() {
    QTest::addColumn<QString>("item");
    QTest::addColumn<QString>("selected");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("prompt");
    auto str = [](const char* t) { return QString::fromLatin1(t); };
    QTest::newRow("message yourself") << str("mnuPM") << str("me") << QByteArray()
                                      << str("Quorvel|You can't PM your self|0");
    QTest::newRow("user details") << str("mnuIS") << str("bob") << QByteArray("PMSG|\xbf|bob|\xbf|/WHOAMI") << QString();
    QTest::newRow("follow yourself") << str("mnuFollowUser") << str("me") << QByteArray()
                                     << str("Quorvel|You can't follow your self|2");
    QTest::newRow("follow") << str("mnuFollowUser") << str("bob") << QByteArray("FOLLOWUSER|\xbf|bob|\xbf|me")
                            << QString();
    QTest::newRow("last logged on") << str("mnuLastLoggedOn") << str("bob") << QByteArray("MSG|\xbf|!Seen bob")
                                    << QString();
    QTest::newRow("kick") << str("mnuKick") << str("bob") << QByteArray("OPS|\xbf|KICK|\xbf|bob") << QString();
    QTest::newRow("ban") << str("mnuBan") << str("bob") << QByteArray("OPS|\xbf|BAN|\xbf|bob") << QString();
    QTest::newRow("subnet ban") << str("mnuMBAN") << str("bob") << QByteArray("OPS|\xbf|SUBNET|\xbf|bob") << QString();
    QTest::newRow("suspend") << str("mnuMuzzle") << str("bob") << QByteArray("OPS|\xbf|MUZZLE|\xbf|bob") << QString();
    QTest::newRow("clear subnet bans") << str("mnuCSB") << str("bob") << QByteArray("OPS|\xbf|CSB") << QString();
    QTest::newRow("clear permanent bans") << str("mnuCPB") << str("bob") << QByteArray("OPS|\xbf|CPB") << QString();
    QTest::newRow("clear 60 min bans") << str("mnuCRB") << str("bob") << QByteArray("OPS|\xbf|CRB") << QString();
    QTest::newRow("commands box")
        << str("mnuCommands") << str("bob") << QByteArray()
        << str("Commands|/clear - Clear you chat screen...\r\n!Seen Name - see when a user last logged in...\r\n"
               "Emoticons - :) ;) :z :d :( :| :m :< :o :x\r\n/me - First person msg...\r\n/Ops - See Online Ops...|1");
}

void CommandsTest::userMenu() {
    QFETCH(QString, item);
    QFETCH(QString, selected);
    QFETCH(QByteArray, sent);
    QFETCH(QString, prompt);
    SignedOnClient c;
    QVERIFY(c.ready);
    QVERIFY(c.deliver("LIST|\xbf|me\r\nLIST|\xbf|bob\r\n"));
    c.w->selectUser(selected);
    c.w->findChild<QAction*>(item)->trigger();
    QCOMPARE(c.sentSoFar(), sent);
    QCOMPARE(c.t.prompts.lastLine(), prompt);
}

void CommandsTest::privateWindowOpensOnce() {
    SignedOnClient c;
    QVERIFY(c.ready);
    QVERIFY(c.deliver("LIST|\xbf|bob\r\n"));
    c.w->selectUser(QStringLiteral("bob"));
    c.w->mnuPM->trigger();
    c.w->mnuPM->trigger();
    QVERIFY(c.w->privateWindow(1));
    QCOMPARE(c.w->privateWindow(1)->windowTitle(), QStringLiteral("Chat With <bob>"));
    QVERIFY(!c.w->privateWindow(2));
    // A line from bob lands in the window the menu opened.
    QVERIFY(c.deliver("PMSG|\xbf|<bob> hi\r\n"));
    QCOMPARE(c.w->privateWindow(1)->rtb->toPlainText(), QStringLiteral("\n<bob> hi"));
    QVERIFY(!c.w->privateWindow(2));
}

void CommandsTest::ignoreList() {
    SignedOnClient c;
    QVERIFY(c.ready);
    QVERIFY(c.deliver("LIST|\xbf|bob\r\nLIST|\xbf|ann\r\n"));
    c.w->mnuVI->trigger();
    QCOMPARE(c.t.prompts.lastLine(), QStringLiteral("Quorvel|You have no ignored users.|0"));
    c.w->mnucI->trigger();
    QCOMPARE(c.t.prompts.lastLine(), QStringLiteral("Quorvel|You have no ignored users to clear.|2"));
    c.w->selectUser(QStringLiteral("bob"));
    c.w->mnuIG->trigger();
    c.w->selectUser(QStringLiteral("ann"));
    c.w->mnuIG->trigger();
    c.w->mnuVI->trigger();
    QCOMPARE(c.t.prompts.lastLine(), QStringLiteral("Quorvel|<bob>\r\n<ann>|0"));
    QVERIFY(c.deliver("MSG|\xbf|<ann> hidden\r\n"));
    QCOMPARE(c.w->rtb->toPlainText(), QString());
    c.w->mnuUn->trigger();
    QVERIFY(c.deliver("MSG|\xbf|<ann> shown\r\n"));
    QCOMPARE(c.w->rtb->toPlainText(), QStringLiteral("\n<ann> shown"));
    c.w->mnucI->trigger();
    QCOMPARE(c.t.prompts.lastLine(), QStringLiteral("Quorvel|Ignored users, cleared....|1"));
    QCOMPARE(c.w->List1->count(), 0);
}

void CommandsTest::addressBox_data() {
    QTest::addColumn<QString>("entry");
    QTest::addColumn<QStringList>("opened");
    QTest::newRow("web page") << QStringLiteral("http://quorvel.example") << QStringList{QStringLiteral("http://quorvel.example")};
    QTest::newRow("bare http://") << QStringLiteral("http://") << QStringList();
    QTest::newRow("bare ftp://") << QStringLiteral("ftp://") << QStringList();
    QTest::newRow("empty") << QString() << QStringList();
}

void CommandsTest::addressBox() {
    QFETCH(QString, entry);
    QFETCH(QStringList, opened);
    TestServices t;
    Form1 w(t.services());
    w.Combo1->addItem(entry);
    Q_EMIT w.Combo1->activated(w.Combo1->count() - 1);
    QCOMPARE(t.desktop.opened, opened);
}

void CommandsTest::newsDialogPosts() {
    SignedOnClient c;
    QVERIFY(c.ready);
    Form9 news(*c.w->Winsock1);
    news.Text1->setText(QStringLiteral("Tourney"));
    news.Text2->setText(QStringLiteral("Saturday 8pm"));
    news.Command1->click();
    QCOMPARE(c.sentSoFar(), QByteArray("NEWS|\xbf|Tourney|\xbf|Saturday 8pm"));
}

void CommandsTest::switchItemsAndClearChat() {
    SignedOnClient c;
    QVERIFY(c.ready);
    c.w->mnuSoundEffects->trigger();
    QVERIFY(!c.w->mnuSoundEffects->isChecked());
    QVERIFY(c.deliver("JOIN|\xbf|ann\r\n"));
    QVERIFY(c.t.sounds.played.isEmpty());
    c.w->mnuSoundEffects->trigger();
    QVERIFY(c.deliver("JOIN|\xbf|bob\r\n"));
    QCOMPARE(c.t.sounds.played, QStringList{c.t.file(QStringLiteral("\\enter.wav"))});
    for (QAction* toggle : {c.w->mnuIPM, c.w->mnuDEC}) {
        QVERIFY(!toggle->isChecked());
        toggle->trigger();
        QVERIFY(toggle->isChecked());
    }
    c.w->mnuClearChat->trigger();
    QCOMPARE(c.w->rtb->toPlainText(), QString());
}

QTEST_MAIN(CommandsTest)
#include "tst_commands.moc"
