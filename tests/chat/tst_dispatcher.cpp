#include "DataRows.h"
#include "ListTexts.h"
#include "SignedOnClient.h"

#include "ancillary/Form2.h"
#include "browser/GameStarter.h"
#include "chat/ChatSession.h"
#include "privatechat/Form3.h"

#include <QtTest>
#include <QtWidgets>

using Reads = QList<QByteArray>;

namespace {

QStringList soundNames(const FakeSounds& sounds) {
    QStringList out;
    for (const QString& s : sounds.played)
        out.append(QFileInfo(s).fileName());
    return out;
}

void setUp(SignedOnClient& c, const QString& setup) {
    for (const QString& item : setup.split(u' ', Qt::SkipEmptyParts)) {
        const QString key = item.section(u':', 0, 0);
        const QString value = item.section(u':', 1);
        if (key == u"ignore")
            c.w->session().ignore(value);
        else if (key == u"users")
            for (const QString& name : value.split(u','))
                c.w->session().addMember(name);
        else if (key == u"id")
            c.w->session().setIdentificationEntries(QString(value).replace(u'_', u' ').split(u','));
        else if (key == u"ipm")
            c.w->mnuIPM->setChecked(true);
        else if (key == u"dec")
            c.w->mnuDEC->setChecked(true);
        else if (key == u"quiet")
            c.w->mnuNotify->setChecked(false);
        else if (key == u"playing" || key == u"browsing") {
            // A game change empties the server fields and warns of the missing game path.
            GameStarter& g = c.w->gameStarter();
            g.setGameKey(QStringLiteral("Kingpin"));
            c.t.prompts.shown.clear();
            g.Text3->setText(QStringLiteral("Fred's Bar"));
            g.Text2->setText(QStringLiteral("10.0.0.5"));
            g.Text4->setText(QStringLiteral("31510"));
            g.txtPlayingGame->setText(key == u"playing" ? GameStarter::Playing : GameStarter::NotPlaying);
        }
    }
}
} // namespace

class DispatcherTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        c = std::make_unique<SignedOnClient>();
        QVERIFY(c->ready);
    }
    void cleanup() { c.reset(); }

    // clang-format off
    void serverMessages_data() {
        addColumns<QString, Reads, QString, QStringList, QStringList, QByteArray, QStringList>("setup", "reads", "display", "users", "sounds", "sent", "prompts");
        const auto row = [](const char* name, const char* setup, const Reads& reads, const char* display,
                            const QStringList& users = {}, const QStringList& sounds = {},
                            const QByteArray& sent = {}, const QStringList& prompts = {}) {
            QTest::newRow(name) << QString::fromLatin1(setup) << reads << QString::fromLatin1(display) << users << sounds << sent << prompts;
        };
        const QString enter = QStringLiteral("enter.wav"), left = QStringLiteral("left.wav"),
                      msg = QStringLiteral("msg.wav");

        row("LIST fills the user list silently", "", {"LIST|\xbf|ann\r\nLIST|\xbf|me\r\n"}, "", {"ann", "me"});
        row("two JOINs in one read, in order", "", {"JOIN|\xbf|ann\r\nJOIN|\xbf|bob\r\n"}, "\n ^ ann Has entered...\n ^ bob Has entered...", {"ann", "bob"}, {enter, enter});
        row("duplicate JOIN, PART removes only the first", "", {"JOIN|\xbf|ann\r\n", "JOIN|\xbf|ann\r\n", "PART|\xbf|ann\r\n"}, "\n ^ ann Has entered...\n ^ ann Has entered...\n ^ ann Has left...", {"ann"}, {enter, enter, left});
        row("PART of an unknown name is silent and the read goes on", "users:ann", {"PART|\xbf|zed\r\nJOIN|\xbf|bob\r\n"}, "\n ^ bob Has entered...", {"ann", "bob"}, {enter});
        row("PART that removes ends the read", "users:ann", {"PART|\xbf|ann\r\nJOIN|\xbf|bob\r\n"}, "\n ^ ann Has left...", {}, {left});
        row("PMSG then JOIN loses the join", "", {"PMSG|\xbf|<bob> hi\r\nJOIN|\xbf|carl\r\n"}, "");
        row("JOIN then PMSG keeps both", "", {"JOIN|\xbf|carl\r\nPMSG|\xbf|<bob> hi\r\n"}, "\n ^ carl Has entered...", {"carl"}, {enter});
        row("chat line shown as received", "", {"MSG|\xbf|<ann> hello  there\r\nJOIN|\xbf|bob\r\n"}, "\n<ann> hello  there\n ^ bob Has entered...", {"bob"}, {msg, enter});
        row("/me line ends the read", "", {"MSG|\xbf|<ann> /me waves  hi\r\nJOIN|\xbf|bob\r\n"}, "\n * ann waves  hi", {}, {msg});
        row("/ME alone, in capitals", "", {"MSG|\xbf|<ann> /ME\r\n"}, "\n * ann", {}, {msg});
        row("ignored member's line dropped, read ends", "ignore:<ann>", {"MSG|\xbf|<ann> hi\r\nJOIN|\xbf|bob\r\n"}, "");
        row("no sounds with notify unchecked", "quiet", {"JOIN|\xbf|ann\r\nMSG|\xbf|<ann> x\r\n"}, "\n ^ ann Has entered...\n<ann> x", {"ann"});
        row("separator inside chat text cuts the line", "", {"MSG|\xbf|<ann> a|\xbf|b\r\n"}, "\n<ann> a", {}, {msg});
        row("message cut across reads stays broken", "", {"JOIN|\xbf|an", "n\r\n"}, "\n ^ an Has entered...", {"an"}, {enter});
        row("unknown words and short messages pass", "", {"HELLO|\xbf|x\r\nLIST\r\nMSG\r\nJOIN|\xbf|ann\r\n"}, "\n ^ ann Has entered...", {"ann"}, {enter});
        row("PING answered with the time and CR LF", "", {"PING\r\nJOIN|\xbf|ann\r\n"}, "\n ^ ann Has entered...", {"ann"}, {enter}, QByteArray("PING|\xbf|14:05:09\r\n"));
        row("ignored sender's PMSG refused first, even refusing all", "ignore:<bob> ipm", {"PMSG|\xbf|<bob> hi\r\n"}, "", {}, {}, QByteArray("PMSG|\xbf|bob|\xbf|User has ignored you"));
        row("refusing all private messages", "ipm", {"PMSG|\xbf|<bob> hi\r\n"}, "", {}, {}, QByteArray("PMSG|\xbf|bob|\xbf|is ignoring all PM msg's"));
        row("file offer declined automatically", "dec", {"PMSG|\xbf|<bob> /SENDFILE c:\\a b.txt|@|4000|@|10.0.0.9\r\n"}, "", {}, {}, QByteArray("PMSG|\xbf|bob|\xbf|/SENDDECLINE"));
        row("/WHOAMI answered with every entry", "id:Age_:_23,Email_:_a@b", {"PMSG|\xbf|<bob> /WHOAMI\r\n"}, "", {}, {}, QByteArray("PMSG|\xbf|bob|\xbf|/WHOYOU Age : 23|@|Email : a@b|@|"));
        row("/WHOAMI matched by prefix", "", {"PMSG|\xbf|<bob> /WHOAMIplease now\r\n"}, "", {}, {}, QByteArray("PMSG|\xbf|bob|\xbf|/WHOYOU "));
        row("FOLLOWUSERBACK answered while playing", "playing", {"FOLLOWUSERBACK|\xbf|ann\r\n"}, "", {}, {}, QByteArray("FOLLOWUSERBACK|\xbf|ann|\xbf|Fred's Bar|\xbf|10.0.0.5|\xbf|31510|\xbf|Kingpin"));
        row("FOLLOWUSERBACK not answered while Quorveling", "browsing", {"FOLLOWUSERBACK|\xbf|ann\r\n"}, "");
        row("INUSE box, the read goes on", "", {"INUSE\r\nJOIN|\xbf|ann\r\n"}, "\n ^ ann Has entered...", {"ann"}, {enter}, {}, {"Quorvel|Unable To Create New Account... Possible Resons, Invalid Name, Name in Use, You " "Own 2 Accounts... Please Check this and Try Again|3"});
        row("DONER box ends the read", "", {"DONER\r\nJOIN|\xbf|ann\r\n"}, "", {}, {}, {}, {"Quorvel|Thank you, account created ok.|1"});
        row("SMSG box", "", {"SMSG|\xbf|Server restarts at noon\r\n"}, "", {}, {}, {}, {"Quorvel Public Server Message!|Server restarts at noon|1"});
        row("transfer declined box", "", {"PMSG|\xbf|<bob> /SENDDECLINE\r\n"}, "", {}, {}, {}, {"Declined|Transfer Declined...|0"});
    }
    // clang-format on

    void serverMessages() {
        auto [setup, reads, display, users, sounds, sent, prompts] =
            fetchRow<QString, Reads, QString, QStringList, QStringList, QByteArray, QStringList>(
                "setup", "reads", "display", "users", "sounds", "sent", "prompts");
        setUp(*c, setup);
        for (const QByteArray& read : reads)
            QVERIFY(c->deliver(read));
        QCOMPARE(c->w->rtb->toPlainText(), display);
        QCOMPARE(itemTexts(c->w->LV1), users);
        QCOMPARE(c->sentSoFar(), sent);
        QCOMPARE(c->t.prompts.lines(), prompts);
        QCOMPARE(soundNames(c->t.sounds), sounds);
    }

    void lineColours() {
        c->w->session().addMember(QStringLiteral("zed"));
        QVERIFY(c->deliver("JOIN|\xbf|ann\r\nMSG|\xbf|<ann> hi\r\nPART|\xbf|zed\r\n"));
        QVERIFY(c->deliver("MSG|\xbf|<ann> /me waves\r\n"));
        const QTextDocument* doc = c->w->rtb->document();
        auto colourOf = [doc](int block) {
            return doc->findBlockByNumber(block).begin().fragment().charFormat().foreground().color();
        };
        QCOMPARE(doc->blockCount(), 5);
        QCOMPARE(colourOf(1), QColor(0, 0x80, 0));    // &H8000: green
        QCOMPARE(colourOf(2), QColor(0, 0, 0));       // message colour 0
        QCOMPARE(colourOf(3), QColor(0, 0, 0xFF));    // &HFF0000 in blue-green-red
        QCOMPARE(colourOf(4), QColor(0xFF, 0x80, 0)); // &H80FF: orange
    }

    void newNick_data() {
        addColumns<std::optional<QString>, QByteArray>("answer", "sent");
        QTest::newRow("typed") << std::optional<QString>(QStringLiteral("me2"))
                               << QByteArray("NICK|\xbf|me2");
        QTest::newRow("cancelled") << std::optional<QString>() << QByteArray("NICK|\xbf|");
    }

    void newNick() {
        auto [answer, sent] = fetchRow<std::optional<QString>, QByteArray>("answer", "sent");
        c->t.prompts.inputs.push_back(answer);
        QVERIFY(c->deliver("NICK\r\nJOIN|\xbf|lost\r\n"));
        QCOMPARE(c->t.prompts.last().kind + c->t.prompts.last().line() + c->t.prompts.last().proposed,
                 QStringLiteral("inputNewNick|Please Select a New Nick...|0NewNick"));
        QCOMPARE(c->w->Text3->text(), answer.value_or(QString()));
        QCOMPARE(c->sentSoFar(), sent);
        QCOMPARE(c->w->LV1->count(), 0);
    }

    void invalidSignsOff_data() {
        addColumns<bool>("hangsUpDuringTheBox");
        QTest::newRow("server hangs up after the box") << false;
        QTest::newRow("server hangs up while the box is open") << true;
    }

    void invalidSignsOff() {
        QFETCH(bool, hangsUpDuringTheBox);
        if (hangsUpDuringTheBox) {
            c->t.prompts.whileOpen = [&](const FakePrompts::Shown&) {
                c->server.dropClient();
                QVERIFY(QTest::qWaitFor([&] { return !c->w->isConnected(); }, 5000));
            };
        }
        c->w->session().addMember(QStringLiteral("ann"));
        QVERIFY(c->deliver("INVALID\r\nJOIN|\xbf|lost\r\n"));
        QCOMPARE(c->t.prompts.lines(),
                 QStringList{QStringLiteral("Quorvel|Login Error : Please Try Again|3")});
        // The same handling as the server closing the connection.
        QCOMPARE((QStringList{c->w->rtb->toPlainText(), c->w->statusText(), c->w->connectionText()}),
                 (QStringList{"\nDisconnected...", "Signed Off", "Not Connected"}));
        QVERIFY(!c->w->isConnected() && c->w->mnucon->isEnabled());
        QCOMPARE(c->w->LV1->count(), 0);
    }

    void privateLinesFillTenWindows() {
        for (int i = 1; i <= 11; ++i)
            QVERIFY(c->deliver(QByteArray("PMSG|\xbf|<p") + QByteArray::number(i) + "> hello\r\n"));
        QVERIFY(c->deliver("PMSG|\xbf|<p3> again\r\n"));
        QVERIFY(!c->w->privateWindow(0));
        for (int slot = 1; slot <= 10; ++slot) {
            QVERIFY(c->w->privateWindow(slot));
            QCOMPARE(c->w->privateWindow(slot)->windowTitle(), QStringLiteral("Chat With <p%1>").arg(slot));
        }
        QCOMPARE(c->w->privateWindow(3)->rtb->toPlainText(), QStringLiteral("\n<p3> hello\n<p3> again"));
        // The eleventh member finds no free slot; the line is dropped.
        for (int slot = 1; slot <= 10; ++slot)
            QVERIFY(!c->w->privateWindow(slot)->rtb->toPlainText().contains(QStringLiteral("p11")));
    }

    void whoYouFillsUserInfoInOrder() {
        QVERIFY(c->deliver(
            "PMSG|\xbf|<bob> /WHOYOU Age : 23|@|Email : b@c|@|Website : http://x|@|Hobbys : kp|@|\r\n"));
        Form2& info = c->w->userInfo();
        QVERIFY(info.isVisible());
        QCOMPARE((QStringList{info.windowTitle(), info.lblUser->text(), info.Label[0]->text(),
                              info.Label[1]->text(), info.Label[2]->text(), info.Label[3]->text()}),
                 (QStringList{"User Info - bob", "Details of bob", "Age : 23", "Email : b@c", "Hobbys : kp",
                              "Website : http://x"}));
    }

    void followUserFinalJoinsTheGame() {
        QSignalSpy join(&c->w->gameStarter(), &GameStarter::joinRequested);
        QVERIFY(c->deliver(
            "FOLLOWUSERFINAL|\xbf|Fred's Bar|\xbf|10.0.0.5|\xbf|31510|\xbf|Kingpin\r\nJOIN|\xbf|ann\r\n"));
        GameStarter& g = c->w->gameStarter();
        // The join went through to the launch, which hides the browser while the game runs.
        QVERIFY(g.isPlaying());
        QCOMPARE(c->t.desktop.started.size(), 1);
        QCOMPARE((QStringList{g.Text3->text(), g.Text2->text(), g.Text4->text(), g.gameKey()}),
                 (QStringList{"Fred's Bar", "10.0.0.5", "31510", "Kingpin"}));
        QCOMPARE(join.count(), 1);
        QCOMPARE(c->w->LV1->count(), 1);
    }

    void dataArrivingDuringAPromptIsTheNextRead() {
        bool sentLate = false;
        c->t.prompts.whileOpen = [&](const FakePrompts::Shown&) {
            if (sentLate)
                return;
            sentLate = true;
            // While the box is open the event loop runs and more data reaches the socket.
            c->server.send("JOIN|\xbf|late\r\nMSG|\xbf|<late> hi\r\n");
            QVERIFY(QTest::qWaitFor([&] { return c->w->Winsock1->bytesAvailable() > 0; }, 5000));
        };
        QVERIFY(c->deliver("SMSG|\xbf|notice\r\nJOIN|\xbf|first\r\n"));
        QTRY_COMPARE(itemTexts(c->w->LV1), (QStringList{QStringLiteral("first"), QStringLiteral("late")}));
        QCOMPARE(c->w->rtb->toPlainText(),
                 QStringLiteral("\n ^ first Has entered...\n ^ late Has entered...\n<late> hi"));
    }

    void emoticonsAfterCompletedReads() {
        const QChar picture(QChar::ObjectReplacementCharacter);
        QVERIFY(c->deliver("MSG|\xbf|<ann> hi :) :D\r\n"));
        QCOMPARE(c->w->rtb->toPlainText(), QStringLiteral("\n<ann> hi ") + picture + QStringLiteral(" :D"));
        // A "/me" line ends its read before the pass: its code waits for the next completed read.
        QVERIFY(c->deliver("MSG|\xbf|<ann> /me winks ;)\r\n"));
        QVERIFY(c->w->rtb->toPlainText().endsWith(QStringLiteral("winks ;)")));
        QVERIFY(c->deliver("JOIN|\xbf|bob\r\n"));
        QVERIFY(c->w->rtb->toPlainText().endsWith(QStringLiteral("winks ") + picture +
                                                  QStringLiteral("\n ^ bob Has entered...")));
    }

    void readerScrolledBackKeepsTheirPlace() {
        c->w->show();
        QScrollBar* bar = c->w->rtb->verticalScrollBar();
        for (int i = 0; i < 5; ++i)
            QVERIFY(c->deliver(QByteArray("MSG|\xbf|<ann> line\r\n").repeated(20)));
        QTRY_VERIFY(bar->maximum() > 0);
        QTRY_COMPARE(bar->value(), bar->maximum());
        bar->setValue(bar->maximum() / 2);
        const int place = bar->value();
        QVERIFY(c->deliver("MSG|\xbf|<ann> while reading\r\n"));
        c->w->appendLine(QStringLiteral("outside a read"), 0);
        QCOMPARE(bar->value(), place);
        // Back at the bottom, new lines are followed again.
        bar->setValue(bar->maximum());
        const int bottom = bar->maximum();
        QVERIFY(c->deliver(QByteArray("MSG|\xbf|<ann> newest\r\n").repeated(5)));
        QTRY_VERIFY(bar->maximum() > bottom);
        QTRY_COMPARE(bar->value(), bar->maximum());
    }

    void linesBeforeABoxAreLaidOutWhenItOpens() {
        c->w->show();
        qreal heightWhileOpen = -1;
        c->t.prompts.whileOpen = [&](const FakePrompts::Shown&) {
            QTextDocument* doc = c->w->rtb->document();
            heightWhileOpen = doc->documentLayout()->blockBoundingRect(doc->lastBlock()).height();
        };
        QVERIFY(c->deliver("JOIN|\xbf|first\r\nSMSG|\xbf|notice\r\n"));
        QVERIFY(heightWhileOpen > 0);
    }

private:
    std::unique_ptr<SignedOnClient> c; // a new client for every test
};

QTEST_MAIN(DispatcherTest)
#include "tst_dispatcher.moc"
