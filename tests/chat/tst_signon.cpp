#include "FakeServices.h"
#include "ScriptedChatServer.h"

#include "app/Form1.h"
#include "chat/Form7.h"
#include "chat/Form8.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTextEdit>
#include <QtTest>

class SignOnTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void passwordRule_data();
    void passwordRule();
    void signOnSendsLoginAndEmptiesTheUserList();
    void secondSignOnClosesTheFirstConnection();
    void accountRequestEndsSignedOff_data();
    void accountRequestEndsSignedOff();
    void serverClosingSignsOff();
    void signOffMenu();
    void unreachableServerThenFirstSignOn_data();
    void unreachableServerThenFirstSignOn();
    void dialogCaptionsAndTips();
};

namespace {
struct Room {
    TestServices t;
    ScriptedChatServer server;
    Form1 w{t.services()};
    Room() {
        w.Form_Load();
        w.setServerAddress(QStringLiteral("127.0.0.1"), server.port());
    }
    // Connects for a new account and returns the account dialog that opens.
    Form8* accountDialog() {
        w.mnuNews->trigger();
        if (!QTest::qWaitFor([this] { return w.findChild<Form8*>() != nullptr; }, 5000))
            return nullptr;
        return w.findChild<Form8*>();
    }
    Form7* signOnDialog(const QString& name, const QString& password) {
        w.mnucon->trigger();
        auto* dialog = w.findChild<Form7*>();
        if (!dialog)
            return nullptr;
        dialog->fields.text1[ProfileFields::AccountName]->setText(name);
        dialog->fields.text1[ProfileFields::Password]->setText(password);
        dialog->Command1->click();
        return dialog;
    }
};
} // namespace

void SignOnTest::passwordRule_data() {
    QTest::addColumn<QString>("dialog");
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("accepted");
    const QList<std::pair<const char*, bool>> rows{{"1234", true},    {"0", false}, {"-5", false},
                                                   {"secret", false}, {"", false},  {"0.5", true}};
    for (const char* dialog : {"Form7", "Form8"}) {
        for (const auto& [password, accepted] : rows)
            QTest::addRow("%s '%s'", dialog, password)
                << QString::fromLatin1(dialog) << QString::fromLatin1(password) << accepted;
    }
}

// The account dialog refuses what the sign-on dialog would refuse, before anything is sent.
void SignOnTest::passwordRule() {
    QFETCH(QString, dialog);
    QFETCH(QString, password);
    QFETCH(bool, accepted);
    Room r;
    QPointer<QDialog> shown;
    QString toolTip;
    if (dialog == u"Form7") {
        Form7* signOn = r.signOnDialog(QStringLiteral("ann"), password);
        QVERIFY(signOn);
        shown = signOn;
        toolTip = signOn->fields.text1[ProfileFields::Password]->toolTip();
        QCOMPARE(r.w.password(), password);
        QCOMPARE(r.w.statusText(), accepted ? QStringLiteral("Signing on...") : QStringLiteral("Signed Off"));
    } else {
        Form8* account = r.accountDialog();
        QVERIFY(account);
        shown = account;
        toolTip = account->fields.text1[ProfileFields::Password]->toolTip();
        account->fields.text1[ProfileFields::Password]->setText(password);
        account->Command1->click();
        r.w.send(QStringLiteral("MARK"));
        QTRY_VERIFY(r.server.received().endsWith("MARK"));
        QCOMPARE(r.server.received().startsWith("NEWACCOUNT"), accepted);
    }
    QCOMPARE(toolTip, QStringLiteral("A number greater than zero, for example 4821"));
    QCOMPARE(r.t.prompts.lines(),
             accepted ? QStringList() : QStringList{QStringLiteral("Quorvel|invald password|3")});
    QCOMPARE(shown && shown->isVisible(), !accepted);
}

void SignOnTest::signOnSendsLoginAndEmptiesTheUserList() {
    Room r;
    r.w.LV1->addItem(QStringLiteral("stale"));
    r.signOnDialog(QStringLiteral("ann"), QStringLiteral("1234"));
    QVERIFY(r.w.mnudis->isEnabled());
    QVERIFY(!r.w.mnucon->isEnabled());
    QTRY_COMPARE(r.server.received(), QByteArray("LOGIN|\xbf|ann|\xbf|1234"));
    QCOMPARE(r.w.statusText(), QStringLiteral("Signed On"));
    QCOMPARE(r.w.connectionText(), QStringLiteral("Connected To Quorvel at : 14:05:09"));
    QCOMPARE(r.w.LV1->count(), 0);
    QCOMPARE(r.w.Text3->text(), QStringLiteral("ann"));
}

void SignOnTest::secondSignOnClosesTheFirstConnection() {
    Room r;
    r.w.setPassword(QStringLiteral("1"));
    r.w.signOn();
    QTRY_VERIFY(r.server.hasClient() && r.w.isConnected());
    QSignalSpy gone(&r.server, &ScriptedChatServer::clientGone);
    QSignalSpy connected(&r.server, &ScriptedChatServer::clientConnected);
    r.w.signOn();
    QTRY_COMPARE(gone.count(), 1);
    QTRY_COMPARE(connected.count(), 1);
    QTRY_VERIFY(r.w.isConnected());
    // Our own close is not the server hanging up.
    QVERIFY(!r.w.rtb->toPlainText().contains(QStringLiteral("Disconnected...")));
}

void SignOnTest::accountRequestEndsSignedOff_data() {
    QTest::addColumn<QString>("answer"); // what the server sends, or "hang up", or "cancel" (the dialog)
    QTest::addColumn<QStringList>("prompts");
    QTest::addColumn<QString>("nickname");
    QTest::addColumn<QString>("display");
    QTest::newRow("DONER") << QStringLiteral("DONER\r\n")
                           << QStringList{QStringLiteral("Quorvel|Thank you, account created ok.|1")}
                           << QStringLiteral("newbie") << QString();
    QTest::newRow("INUSE") << QStringLiteral("INUSE\r\n")
                           << QStringList{QStringLiteral(
                                  "Quorvel|Unable To Create New Account... Possible Resons, "
                                  "Invalid Name, Name in Use, You Own 2 Accounts... Please "
                                  "Check this and Try Again|3")}
                           << QStringLiteral("old") << QString();
    QTest::newRow("server hangs up") << QStringLiteral("hang up") << QStringList() << QStringLiteral("old")
                                     << QStringLiteral("\nDisconnected...");
    QTest::newRow("dialog cancelled")
        << QStringLiteral("cancel") << QStringList() << QStringLiteral("old") << QString();
}

// However the account request ends, the window is back in the plain signed-off state.
void SignOnTest::accountRequestEndsSignedOff() {
    QFETCH(QString, answer);
    QFETCH(QStringList, prompts);
    QFETCH(QString, nickname);
    QFETCH(QString, display);
    Room r;
    r.w.rtb->clear();
    r.w.Text3->setText(QStringLiteral("old"));
    r.w.LV1->addItem(QStringLiteral("stale"));
    Form8* dialog = r.accountDialog();
    QVERIFY(dialog);
    QCOMPARE(r.w.accountCreation(), 0);
    QCOMPARE(r.w.statusText(), QStringLiteral("Signed On"));
    QCOMPARE(r.w.LV1->count(), 0);
    QSignalSpy gone(&r.server, &ScriptedChatServer::clientGone);
    if (answer == u"cancel") {
        dialog->reject();
    } else if (answer == u"hang up") {
        r.server.dropClient();
    } else {
        auto& f = dialog->fields.text1;
        f[ProfileFields::AccountName]->setText(QStringLiteral("newbie"));
        f[ProfileFields::Password]->setText(QStringLiteral("4321"));
        f[ProfileFields::Age]->setText(QStringLiteral("23"));
        f[ProfileFields::Email]->setText(QStringLiteral("n@b.org"));
        f[ProfileFields::Website]->setText(QStringLiteral("http://nb.org"));
        f[ProfileFields::Hobbies]->setText(QString::fromUtf8("caf\xc3\xa9s"));
        dialog->Command1->click();
        QTRY_COMPARE(r.server.received(),
                     QByteArray("NEWACCOUNT|\xbf|newbie|\xbf|4321|\xbf|23|\xbf|n@b.org|\xbf|"
                                "http://nb.org|\xbf|caf\xe9s"));
        QCOMPARE(r.w.identificationEntries(),
                 (QStringList{QStringLiteral("Age : 23"), QStringLiteral("Email : n@b.org"),
                              QStringLiteral("Website : http://nb.org"),
                              QString::fromUtf8("Hobbys : caf\xc3\xa9s")}));
        r.server.send(answer.toLatin1());
    }
    QTRY_COMPARE(r.w.statusText(), QStringLiteral("Signed Off"));
    QTRY_COMPARE(gone.count(), 1);
    QCOMPARE(r.w.connectionText(), QStringLiteral("Not Connected"));
    QVERIFY(r.w.mnucon->isEnabled());
    QVERIFY(!r.w.mnudis->isEnabled());
    QVERIFY(!r.w.mnua->isEnabled());
    QTRY_VERIFY(!r.w.findChild<Form8*>());
    QCOMPARE(r.t.prompts.lines(), prompts);
    QCOMPARE(r.w.Text3->text(), nickname);
    QCOMPARE(r.w.rtb->toPlainText(), display);
    // The next sign-on is an ordinary one.
    r.w.setPassword(QStringLiteral("1"));
    r.w.signOn();
    QTRY_VERIFY(r.server.received().endsWith(QByteArray("LOGIN|\xbf|") + nickname.toLatin1() + "|\xbf|1"));
}

void SignOnTest::serverClosingSignsOff() {
    Room r;
    r.w.setPassword(QStringLiteral("1"));
    r.w.signOn();
    QTRY_VERIFY(r.server.hasClient() && r.w.isConnected());
    r.server.dropClient();
    QTRY_COMPARE(r.w.statusText(), QStringLiteral("Signed Off"));
    QCOMPARE(r.w.connectionText(), QStringLiteral("Not Connected"));
    QVERIFY(r.w.rtb->toPlainText().endsWith(QStringLiteral("\nDisconnected...")));
    QVERIFY(r.w.mnucon->isEnabled());
}

void SignOnTest::signOffMenu() {
    Room r;
    r.w.setPassword(QStringLiteral("1"));
    r.w.signOn();
    QTRY_VERIFY(r.server.hasClient() && r.w.isConnected());
    r.w.LV1->addItem(QStringLiteral("ann"));
    r.w.mnudis->trigger();
    QVERIFY(!r.w.isConnected());
    QCOMPARE(r.w.statusText(), QStringLiteral("Signed Off : 14:05:09"));
    QCOMPARE(r.w.LV1->count(), 0);
    QVERIFY(r.w.mnucon->isEnabled());
    QVERIFY(!r.w.mnudis->isEnabled());
}

void SignOnTest::unreachableServerThenFirstSignOn_data() {
    QTest::addColumn<bool>("newAccount");
    QTest::newRow("sign on") << false;
    QTest::newRow("new account") << true;
}

// Each failed attempt says why once; the greeting stays until a sign-on succeeds.
void SignOnTest::unreachableServerThenFirstSignOn() {
    QFETCH(bool, newAccount);
    Room r;
    const QString greeting = r.w.rtb->toPlainText();
    QVERIFY(greeting.startsWith(QStringLiteral("\nWelcome to Quorvel.")));
    QVERIFY(greeting.contains(QStringLiteral("File > New Account")));
    QVERIFY(greeting.contains(QStringLiteral("File > Sign on")));
    quint16 closedPort = 0;
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        closedPort = probe.serverPort();
    }
    r.w.setServerAddress(QStringLiteral("127.0.0.1"), closedPort);
    r.w.setPassword(QStringLiteral("1"));
    const QString failed =
        QStringLiteral("\nCannot reach the chat server at 127.0.0.1:%1: Connection refused").arg(closedPort);
    for (int attempt = 1; attempt <= 2; ++attempt) {
        newAccount ? r.w.mnuNews->trigger() : r.w.signOn();
        QTRY_COMPARE(r.w.rtb->toPlainText(), greeting + failed.repeated(attempt));
        QCOMPARE(r.w.statusText(), QStringLiteral("Signed Off"));
        QCOMPARE(r.w.connectionText(), QStringLiteral("Not Connected"));
        QVERIFY(r.w.mnucon->isEnabled());
    }
    QVERIFY(r.t.prompts.shown.isEmpty());

    r.w.setServerAddress(QStringLiteral("127.0.0.1"), r.server.port());
    r.w.Text3->setText(QStringLiteral("ann"));
    r.w.signOn();
    QTRY_COMPARE(r.server.received(), QByteArray("LOGIN|\xbf|ann|\xbf|1"));
    QCOMPARE(r.w.rtb->toPlainText(), greeting + failed.repeated(2));
    r.server.send("LIST|\xbf|ann\r\n");
    QTRY_COMPARE(r.w.LV1->count(), 1);
    QCOMPARE(r.w.rtb->toPlainText(), failed.repeated(2));
}

void SignOnTest::dialogCaptionsAndTips() {
    Room r;
    Form7 dialog(r.w);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Quorvel - Sign On"));
    QCOMPARE(dialog.Command1->text(), QStringLiteral("Sign On"));
    QCOMPARE(dialog.Command1->toolTip(), QStringLiteral("Sign on to Quorvel"));
    QCOMPARE(dialog.Command2->text(), QStringLiteral("Cancel"));
    QCOMPARE(dialog.Command2->toolTip(), QStringLiteral("Cancel this operation"));
    Q_EMIT dialog.findChild<QLabel*>(QStringLiteral("lblMail"))->linkActivated(QStringLiteral("mailto:"));
    QCOMPARE(r.t.desktop.opened, QStringList{QStringLiteral("mailto:")});
    const auto& f = dialog.fields.text1;
    QCOMPARE(f[ProfileFields::Age]->toolTip(), QStringLiteral("Up to 3(chrs) :)"));
    QCOMPARE(f[ProfileFields::Email]->toolTip(), QStringLiteral("Up to 50(chrs)"));
    QCOMPARE(f[ProfileFields::Website]->toolTip(), QStringLiteral("Enter the full address / Up to 75(chrs)"));
    QCOMPARE(f[ProfileFields::Website]->text(), QStringLiteral("http://"));
    QCOMPARE(f[ProfileFields::Hobbies]->toolTip(), QStringLiteral("Up to 200(chrs)"));
    QStringList captions;
    for (int i = 0; i < 6; ++i)
        captions.append(ProfileFields::caption(i));
    QCOMPARE(captions, (QStringList{QStringLiteral("Account Name :"), QStringLiteral("Age :"), QStringLiteral("Email :"),
                                    QStringLiteral("Website :"), QStringLiteral("Hobbys :"),
                                    QStringLiteral("Password :")}));
}

QTEST_MAIN(SignOnTest)
#include "tst_signon.moc"
