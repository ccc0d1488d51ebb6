#include "FakeServices.h"
#include "ScriptedChatServer.h"

#include "app/Form1.h"
#include "chat/Form7.h"
#include "chat/Form8.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
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
    void newAccountShowsTheAccountDialogInsteadOfLogin();
    void serverClosingSignsOff();
    void signOffMenu();
    void refusedConnectionSignsOff();
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
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("positive") << QStringLiteral("1234") << true;
    QTest::newRow("zero") << QStringLiteral("0") << false;
    QTest::newRow("negative") << QStringLiteral("-5") << false;
    QTest::newRow("not a number") << QStringLiteral("secret") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("decimal") << QStringLiteral("0.5") << true;
}

void SignOnTest::passwordRule() {
    QFETCH(QString, password);
    QFETCH(bool, accepted);
    Room r;
    Form7* dialog = r.signOnDialog(QStringLiteral("ann"), password);
    QVERIFY(dialog);
    QCOMPARE(r.w.password(), password);
    if (accepted) {
        QVERIFY(r.t.prompts.shown.isEmpty());
        QCOMPARE(r.w.statusText(), QStringLiteral("Signing on..."));
        QVERIFY(!dialog->isVisible());
        return;
    }
    QCOMPARE(r.t.prompts.shown.size(), 1);
    QCOMPARE(r.t.prompts.last().title, QStringLiteral("Quorvel"));
    QCOMPARE(r.t.prompts.last().text, QStringLiteral("invald password"));
    QCOMPARE(r.t.prompts.last().icon, Prompts::Icon::Critical);
    QVERIFY(dialog->isVisible());
    QCOMPARE(r.w.statusText(), QStringLiteral("Signed Off"));
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

void SignOnTest::newAccountShowsTheAccountDialogInsteadOfLogin() {
    Room r;
    r.w.mnuNews->trigger();
    QCOMPARE(r.w.statusText(), QStringLiteral("Connecting..."));
    QCOMPARE(r.w.accountCreation(), 1);
    QTRY_VERIFY(r.w.findChild<Form8*>());
    QCOMPARE(r.w.accountCreation(), 0);
    auto* dialog = r.w.findChild<Form8*>();
    auto& f = dialog->fields.text1;
    f[ProfileFields::AccountName]->setText(QStringLiteral("newbie"));
    f[ProfileFields::Password]->setText(QStringLiteral("4321"));
    f[ProfileFields::Age]->setText(QStringLiteral("23"));
    f[ProfileFields::Email]->setText(QStringLiteral("n@b.org"));
    f[ProfileFields::Website]->setText(QStringLiteral("http://nb.org"));
    f[ProfileFields::Hobbies]->setText(QString::fromUtf8("caf\xc3\xa9s"));
    dialog->Command1->click();
    QTRY_COMPARE(r.server.received(),
                 QByteArray("NEWACCOUNT|\xbf|newbie|\xbf|4321|\xbf|23|\xbf|n@b.org|\xbf|http://nb.org|\xbf|caf\xe9s"));
    QCOMPARE(r.w.identificationEntries(),
             (QStringList{QStringLiteral("Age : 23"), QStringLiteral("Email : n@b.org"),
                          QStringLiteral("Website : http://nb.org"), QString::fromUtf8("Hobbys : caf\xc3\xa9s")}));
}

void SignOnTest::serverClosingSignsOff() {
    Room r;
    r.w.setPassword(QStringLiteral("1"));
    r.w.signOn();
    QTRY_VERIFY(r.server.hasClient() && r.w.isConnected());
    r.server.dropClient();
    QTRY_COMPARE(r.w.statusText(), QStringLiteral("Signed Off"));
    QCOMPARE(r.w.connectionText(), QStringLiteral("Not Connected"));
    QCOMPARE(r.w.rtb->toPlainText(), QStringLiteral("\nDisconnected..."));
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

void SignOnTest::refusedConnectionSignsOff() {
    TestServices t;
    Form1 w(t.services());
    w.Form_Load();
    quint16 closedPort = 0;
    {
        QTcpServer probe;
        probe.listen(QHostAddress::LocalHost, 0);
        closedPort = probe.serverPort();
    }
    w.setServerAddress(QStringLiteral("127.0.0.1"), closedPort);
    w.setPassword(QStringLiteral("1"));
    w.signOn();
    QTRY_COMPARE(w.statusText(), QStringLiteral("Signed Off"));
    QCOMPARE(w.connectionText(), QStringLiteral("Not Connected"));
    QVERIFY(t.prompts.shown.isEmpty());
}

void SignOnTest::dialogCaptionsAndTips() {
    Room r;
    Form7 dialog(r.w);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Quorvel - Sign On"));
    QCOMPARE(dialog.Command1->text(), QStringLiteral("Sign On"));
    QCOMPARE(dialog.Command1->toolTip(), QStringLiteral("Sign on to Quorvel"));
    QCOMPARE(dialog.Command2->text(), QStringLiteral("Cancel"));
    QCOMPARE(dialog.Command2->toolTip(), QStringLiteral("Cancel this operation"));
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
