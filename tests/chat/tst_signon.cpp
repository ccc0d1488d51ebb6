#include "DataRows.h"
#include "FakeServices.h"
#include "ScriptedChatServer.h"

#include "app/Form1.h"
#include "chat/ChatSession.h"
#include "chat/Form7.h"
#include "chat/Form8.h"

#include <QtTest>
#include <QtWidgets>

using namespace Qt::StringLiterals;

namespace {
struct Room {
    TestServices t;
    ScriptedChatServer server;
    Form1 w{t.services()};
    Room() {
        w.Form_Load();
        w.setServerAddress(u"127.0.0.1"_s, server.port());
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

class SignOnTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void passwordRule_data() {
        addColumns<QString, QString, bool>("dialog", "password", "accepted");
        const QList<std::pair<const char*, bool>> rows{{"1234", true},    {"0", false}, {"-5", false},
                                                       {"secret", false}, {"", false},  {"0.5", true}};
        for (const char* dialog : {"Form7", "Form8"}) {
            for (const auto& [password, accepted] : rows)
                QTest::addRow("%s '%s'", dialog, password)
                    << QString::fromLatin1(dialog) << QString::fromLatin1(password) << accepted;
        }
    }

    // The account dialog refuses what the sign-on dialog would refuse, before anything is sent.
    void passwordRule() {
        auto [dialog, password, accepted] =
            fetchRow<QString, QString, bool>("dialog", "password", "accepted");
        Room r;
        QPointer<QDialog> shown;
        QString toolTip;
        if (dialog == u"Form7") {
            Form7* signOn = r.signOnDialog(u"ann"_s, password);
            QVERIFY(signOn);
            shown = signOn;
            toolTip = signOn->fields.text1[ProfileFields::Password]->toolTip();
            QCOMPARE(r.w.password(), password);
            QCOMPARE(r.w.statusText(), accepted ? u"Signing on..."_s : u"Signed Off"_s);
        } else {
            Form8* account = r.accountDialog();
            QVERIFY(account);
            shown = account;
            toolTip = account->fields.text1[ProfileFields::Password]->toolTip();
            account->fields.text1[ProfileFields::Password]->setText(password);
            account->Command1->click();
            r.w.send(u"MARK"_s);
            QTRY_VERIFY(r.server.received().endsWith("MARK"));
            QCOMPARE(r.server.received().startsWith("NEWACCOUNT"), accepted);
        }
        QCOMPARE(toolTip, u"A number greater than zero, for example 4821"_s);
        QCOMPARE(r.t.prompts.lines(), accepted ? QStringList() : QStringList{u"Quorvel|invald password|3"_s});
        QCOMPARE(shown && shown->isVisible(), !accepted);
    }

    void secondSignOnClosesTheFirstConnection() {
        Room r;
        r.w.setPassword(u"1"_s);
        r.w.signOn();
        QTRY_VERIFY(r.server.hasClient() && r.w.isConnected());
        QSignalSpy gone(&r.server, &ScriptedChatServer::clientGone);
        QSignalSpy connected(&r.server, &ScriptedChatServer::clientConnected);
        r.w.signOn();
        QTRY_COMPARE(gone.count(), 1);
        QTRY_COMPARE(connected.count(), 1);
        QTRY_VERIFY(r.w.isConnected());
        // Our own close is not the server hanging up.
        QVERIFY(!r.w.rtb->toPlainText().contains(u"Disconnected..."_s));
    }

    // clang-format off
    void accountRequestEndsSignedOff_data() {
        // answer: what the server sends, or "hang up", or "cancel" (the dialog)
        addColumns<QString, QStringList, QString, QString>("answer", "prompts", "nickname", "display");
        QTest::newRow("DONER") << u"DONER\r\n"_s << QStringList{u"Quorvel|Thank you, account created ok.|1"_s} << u"newbie"_s << QString();
        QTest::newRow("INUSE") << u"INUSE\r\n"_s << QStringList{QStringLiteral("Quorvel|Unable To Create New Account... Possible Resons, Invalid Name, Name in Use, You Own 2 Accounts... Please Check this and Try Again|3")} << u"old"_s << QString();
        QTest::newRow("server hangs up") << u"hang up"_s << QStringList() << u"old"_s << u"\nDisconnected..."_s;
        QTest::newRow("dialog cancelled") << u"cancel"_s << QStringList() << u"old"_s << QString();
    }
    // clang-format on

    // However the account request ends, the window is back in the plain signed-off state.
    void accountRequestEndsSignedOff() {
        auto [answer, prompts, nickname, display] =
            fetchRow<QString, QStringList, QString, QString>("answer", "prompts", "nickname", "display");
        Room r;
        r.w.rtb->clear();
        r.w.Text3->setText(u"old"_s);
        r.w.session().addMember(u"stale"_s);
        Form8* dialog = r.accountDialog();
        QVERIFY(dialog);
        QCOMPARE(r.w.statusText(), u"Signed On"_s);
        QCOMPARE(r.w.LV1->count(), 0);
        QSignalSpy gone(&r.server, &ScriptedChatServer::clientGone);
        if (answer == u"cancel") {
            dialog->reject();
        } else if (answer == u"hang up") {
            r.server.dropClient();
        } else {
            auto& f = dialog->fields.text1;
            f[ProfileFields::AccountName]->setText(u"newbie"_s);
            f[ProfileFields::Password]->setText(u"4321"_s);
            f[ProfileFields::Age]->setText(u"23"_s);
            f[ProfileFields::Email]->setText(u"n@b.org"_s);
            f[ProfileFields::Website]->setText(u"http://nb.org"_s);
            f[ProfileFields::Hobbies]->setText(QString::fromUtf8("caf\xc3\xa9s"));
            dialog->Command1->click();
            QTRY_COMPARE(r.server.received(),
                         QByteArray("NEWACCOUNT|\xbf|newbie|\xbf|4321|\xbf|23|\xbf|n@b.org|\xbf|"
                                    "http://nb.org|\xbf|caf\xe9s"));
            QCOMPARE(r.w.identificationEntries(),
                     (QStringList{u"Age : 23"_s, u"Email : n@b.org"_s, u"Website : http://nb.org"_s,
                                  QString::fromUtf8("Hobbys : caf\xc3\xa9s")}));
            r.server.send(answer.toLatin1());
        }
        QTRY_COMPARE(r.w.statusText(), u"Signed Off"_s);
        QTRY_COMPARE(gone.count(), 1);
        QCOMPARE(r.w.connectionText(), u"Not Connected"_s);
        QVERIFY(r.w.mnucon->isEnabled() && !r.w.mnudis->isEnabled() && !r.w.mnua->isEnabled());
        QTRY_VERIFY(!r.w.findChild<Form8*>());
        QCOMPARE(r.t.prompts.lines(), prompts);
        QCOMPARE(r.w.Text3->text(), nickname);
        QCOMPARE(r.w.rtb->toPlainText(), display);
        // The next sign-on is an ordinary one.
        r.w.setPassword(u"1"_s);
        r.w.signOn();
        QTRY_VERIFY(
            r.server.received().endsWith(QByteArray("LOGIN|\xbf|") + nickname.toLatin1() + "|\xbf|1"));
    }

    // The server hanging up is in tst_dispatcher (INVALID is handled the same way) and in the account rows here.
    void signingOffByTheMenu() {
        Room r;
        r.w.setPassword(u"1"_s);
        r.w.signOn();
        QTRY_VERIFY(r.server.hasClient() && r.w.isConnected());
        r.w.rtb->clear();
        r.w.session().addMember(u"ann"_s);
        r.w.mnudis->trigger();
        QTRY_COMPARE(r.w.statusText(), u"Signed Off : 14:05:09"_s);
        QVERIFY(!r.w.isConnected());
        QCOMPARE(r.w.connectionText(), u"Not Connected"_s);
        QCOMPARE(r.w.rtb->toPlainText(), QString()); // no "Disconnected...": we closed, the server did not
        QCOMPARE(r.w.LV1->count(), 0);
        QVERIFY(r.w.mnucon->isEnabled() && !r.w.mnudis->isEnabled());
    }

    void unreachableServerThenFirstSignOn_data() {
        QTest::addColumn<bool>("newAccount");
        QTest::newRow("sign on") << false;
        QTest::newRow("new account") << true;
    }

    // Each failed attempt says why once; the greeting stays until a sign-on succeeds.
    void unreachableServerThenFirstSignOn() {
        QFETCH(bool, newAccount);
        Room r;
        const QString greeting = r.w.rtb->toPlainText();
        QVERIFY(greeting.startsWith(u"\nWelcome to Quorvel."_s));
        QVERIFY(greeting.contains(u"File > New Account"_s));
        QVERIFY(greeting.contains(u"File > Sign on"_s));
        const quint16 closedPort = closedLocalPort();
        r.w.setServerAddress(u"127.0.0.1"_s, closedPort);
        r.w.setPassword(u"1"_s);
        const QString failed =
            u"\nCannot reach the chat server at 127.0.0.1:%1: Connection refused"_s.arg(closedPort);
        for (int attempt = 1; attempt <= 2; ++attempt) {
            newAccount ? r.w.mnuNews->trigger() : r.w.signOn();
            QTRY_COMPARE(r.w.rtb->toPlainText(), greeting + failed.repeated(attempt));
            QCOMPARE(r.w.statusText(), u"Signed Off"_s);
            QCOMPARE(r.w.connectionText(), u"Not Connected"_s);
            QVERIFY(r.w.mnucon->isEnabled());
        }
        QVERIFY(r.t.prompts.shown.isEmpty());

        // Through the dialog: its name becomes the nickname, and a stale user list empties.
        r.w.setServerAddress(u"127.0.0.1"_s, r.server.port());
        r.w.session().addMember(u"stale"_s);
        r.signOnDialog(u"ann"_s, u"1"_s);
        QTRY_COMPARE(r.server.received(), QByteArray("LOGIN|\xbf|ann|\xbf|1"));
        QCOMPARE((QStringList{r.w.Text3->text(), r.w.statusText(), r.w.connectionText()}),
                 (QStringList{"ann", "Signed On", "Connected To Quorvel at : 14:05:09"}));
        QVERIFY(r.w.mnudis->isEnabled() && !r.w.mnucon->isEnabled() && r.w.LV1->count() == 0);
        QCOMPARE(r.w.rtb->toPlainText(), greeting + failed.repeated(2));
        r.server.send("LIST|\xbf|ann\r\n");
        QTRY_COMPARE(r.w.LV1->count(), 1);
        QCOMPARE(r.w.rtb->toPlainText(), failed.repeated(2));
    }

    void dialogCaptionsAndTips() {
        Room r;
        Form7 dialog(r.w.session(), r.w.services());
        QCOMPARE((QStringList{dialog.windowTitle(), dialog.Command1->text(), dialog.Command1->toolTip(),
                              dialog.Command2->text(), dialog.Command2->toolTip()}),
                 (QStringList{"Quorvel - Sign On", "Sign On", "Sign on to Quorvel", "Cancel",
                              "Cancel this operation"}));
        Q_EMIT dialog.findChild<QLabel*>(u"lblMail"_s)->linkActivated(u"mailto:"_s);
        QCOMPARE(r.t.desktop.opened, QStringList{u"mailto:"_s});
        const auto& f = dialog.fields.text1;
        QCOMPARE((QStringList{f[ProfileFields::Age]->toolTip(), f[ProfileFields::Email]->toolTip(),
                              f[ProfileFields::Website]->toolTip(), f[ProfileFields::Hobbies]->toolTip()}),
                 (QStringList{"Up to 3(chrs) :)", "Up to 50(chrs)", "Enter the full address / Up to 75(chrs)",
                              "Up to 200(chrs)"}));
        QCOMPARE(f[ProfileFields::Website]->text(), u"http://"_s);
        QStringList captions;
        for (int i = 0; i < 6; ++i)
            captions.append(ProfileFields::caption(i));
        QCOMPARE(captions.join(u'|'), u"Account Name :|Age :|Email :|Website :|Hobbys :|Password :"_s);
    }
};

QTEST_MAIN(SignOnTest)
#include "tst_signon.moc"
