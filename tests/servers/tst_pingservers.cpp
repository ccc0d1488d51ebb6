// The server monitor window against a pretend game server on 127.0.0.1.
#include "DataRows.h"
#include "FakeServices.h"
#include "GameResponder.h"
#include "ListTexts.h"

#include "browser/GameStarter.h"
#include "servers/PingServers.h"
#include "servers/ReplyGraph.h"

#include <QtTest>
#include <QtWidgets>

namespace {

const QString kPortMessage = QStringLiteral("Port Required'|Enter the server's game port|1");
const QString kNumbersMessage = QStringLiteral("Quorvel|Enter numbers only !|1");
const QString kRangeMessage =
    QStringLiteral("Quorvel|You can not set less than 1000ms (1sec) or set higher than 60000ms (1min)|1");

// A browser on a Kingpin server of the responder, and its monitor once opened.
struct Browser {
    TestServices t;
    GameResponder responder;
    quint16 port = 0;
    GameStarter browser{t.services()};

    explicit Browser(const QString& game = QStringLiteral("Kingpin")) {
        FakeGameServer server;
        server.hostName = QStringLiteral("Bank Job");
        server.maxPlayers = 3;
        server.players = {{QStringLiteral("Ann"), 5, 120}, {QStringLiteral("bob"), 12, 9}, {QStringLiteral("Cy"), 7, 45}};
        port = responder.listen(0, server);
        browser.setGameKey(game);
        t.prompts.shown.clear(); // the missing game folder
        setServer(QStringLiteral("127.0.0.1"), QString::number(port));
    }
    void setServer(const QString& address, const QString& portText) {
        browser.Text3->setText(QStringLiteral("Bank Job"));
        browser.Text2->setText(address);
        browser.Text4->setText(portText);
    }
    PingServers* open() {
        browser.showPingServers();
        return browser.findChild<PingServers*>();
    }
};

} // namespace

class PingServersTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void loadShowsTheReply() {
        Browser b;
        PingServers* w = b.open();
        QVERIFY(w);
        QCOMPARE(w->windowTitle(), QStringLiteral("Server Stats"));
        QTRY_COMPARE_WITH_TIMEOUT(w->lblPlayers->text(), QStringLiteral("Players : 3"), 10000);
        QCOMPARE((QStringList{w->lblServer->text(), w->lblMap->text(), w->lblMaxPlayers->text(),
                              w->lblGameName->text()}),
                 (QStringList{"Bank Job", "kpdm1", "3", "1.21 x86 Jan 31 2000 Win32 RELEASE"}));
        QCOMPARE(columnTexts(w->LVPlayers, 2), (QStringList{"\"Ann\"", "\"bob\"", "\"Cy\""}));
        // A screen reader says each value, described by its caption, in a window.
        QAccessibleInterface* map = QAccessible::queryAccessibleInterface(w->lblMap);
        QCOMPARE(map->text(QAccessible::Name) + u'|' + map->text(QAccessible::Description),
                 QStringLiteral("kpdm1|Map"));
        QCOMPARE(QAccessible::queryAccessibleInterface(w)->role(), QAccessible::Window);
        const qsizetype size = FakeGameReplies::quakeIIStatus(b.responder.server(b.port)).size();
        QCOMPARE(w->Label2->text(), QStringLiteral(" Status : Total bytes ") + QString::number(size));
        QVERIFY(w->lblReplyTime->text().contains(QRegularExpression(QStringLiteral("^Reply time : \\d+ ms$"))));
        QCOMPARE(w->graph->sampleCount(), std::size_t(1));
        QVERIFY(w->graph->accessibleDescription().startsWith(QStringLiteral("Last reply: 3 players, ")));
        QVERIFY(!w->Timer1->isActive() && b.t.prompts.shown.isEmpty());
    }

    void requestChecksAtLoad_data() {
        addColumns<QString, QString, QStringList, bool>("address", "port", "messages", "retrying");
        QTest::newRow("no address") << "" << "x" << QStringList{} << true;
        QTest::newRow("no port") << "127.0.0.1" << "" << QStringList{kPortMessage} << true;
        QTest::newRow("port not a number") << "127.0.0.1" << "27a" << QStringList{kNumbersMessage} << true;
        QTest::newRow("port out of range") << "127.0.0.1" << "70000" << QStringList{} << true;
        QTest::newRow("sent") << "127.0.0.1" << "27960" << QStringList{} << false;
    }

    void requestChecksAtLoad() {
        auto [address, port, messages, retrying] =
            fetchRow<QString, QString, QStringList, bool>("address", "port", "messages", "retrying");
        Browser b;
        b.setServer(address, port);
        PingServers* w = b.open();
        QCOMPARE(b.t.prompts.lines(), messages);
        QCOMPARE(w->Timer1->isActive(), retrying);
    }

    void timer1RetriesUntilARequestGoesOut() {
        Browser b;
        b.setServer(QStringLiteral("127.0.0.1"), QString());
        PingServers* w = b.open();
        QTRY_COMPARE_WITH_TIMEOUT(b.t.prompts.lines(), (QStringList{kPortMessage, kPortMessage}), 10000);
        // The port arrives: the next tick sends, and the timer stops for good.
        b.browser.Text4->setText(QString::number(b.port));
        QTRY_COMPARE_WITH_TIMEOUT(w->lblServer->text(), QStringLiteral("Bank Job"), 10000);
        QVERIFY(!w->Timer1->isActive());
    }

    void monitorInterval_data() {
        // interval: 0: not monitoring
        addColumns<QString, QStringList, int, QString>("typed", "messages", "interval", "textAfter");
        QTest::newRow("lowest") << "1000" << QStringList{} << 1000 << "1000";
        QTest::newRow("highest") << "60000" << QStringList{} << 60000 << "60000";
        QTest::newRow("rounded to nearest") << "1500.7" << QStringList{} << 1501 << "1500.7";
        QTest::newRow("too short") << "999" << QStringList{kRangeMessage} << 0 << "2000";
        QTest::newRow("too long") << "60001" << QStringList{kRangeMessage} << 0 << "2000";
        QTest::newRow("999.9 is 999") << "999.9" << QStringList{kRangeMessage} << 0 << "2000";
        QTest::newRow("empty") << "" << QStringList{QStringLiteral("Quorvel|Please state 'Server Refresh Interval'|1")}
                               << 0 << "";
    }

    void monitorInterval() {
        auto [typed, messages, interval, textAfter] =
            fetchRow<QString, QStringList, int, QString>("typed", "messages", "interval", "textAfter");
        Browser b;
        PingServers* w = b.open();
        w->Text1->setText(typed);
        w->Check1->click();
        QCOMPARE(b.t.prompts.lines(), messages);
        QCOMPARE(w->Text1->text(), textAfter);
        // Checked, timer running, interval and query locked: all or nothing.
        const auto monitoring = [w] {
            return QList<bool>{w->Check1->isChecked(), w->tmrMonitorServer->isActive(), !w->Text1->isEnabled(),
                               !w->cmdQuery->isEnabled()};
        };
        QCOMPARE(monitoring(), QList<bool>(4, interval != 0));
        if (interval == 0)
            return;
        QCOMPARE(w->tmrMonitorServer->interval(), interval);
        w->Check1->click();
        QCOMPARE(monitoring(), QList<bool>(4, false));
    }

    void monitoringQueriesAndClosingStopsIt() {
        Browser b;
        QSignalSpy asked(&b.responder, &GameResponder::answered);
        QPointer<PingServers> w = b.open();
        w->Text1->setText(QStringLiteral("1000"));
        w->Check1->click();
        QTRY_VERIFY_WITH_TIMEOUT(asked.size() >= 3, 15000);
        QTRY_VERIFY(w->graph->sampleCount() >= 2);
        w->Command1->click();
        QVERIFY(w && !w->Check1->isChecked());
        QVERIFY(!w->tmrMonitorServer->isActive());
        QTRY_VERIFY(!w);
    }

    void join_data() {
        addColumns<QString, int, int, bool, bool>("limit", "rows", "answer", "asked", "joined");
        const int yes = int(Prompts::Answer::Yes), no = int(Prompts::Answer::No);
        QTest::newRow("no reply yet") << "" << 0 << yes << false << false;
        QTest::newRow("full, No") << "2" << 2 << no << true << false;
        QTest::newRow("full, Yes") << "2" << 2 << yes << true << true;
        QTest::newRow("over the limit does not warn") << "2" << 3 << no << false << true;
        QTest::newRow("limit with the players behind it") << "2\n3 45 \"Fred\"\n" << 2 << no << true << false;
        QTest::newRow("limit 0, no players") << "0" << 0 << no << true << false;
    }

    void join() {
        auto [limit, rows, answer, asked, joined] =
            fetchRow<QString, int, int, bool, bool>("limit", "rows", "answer", "asked", "joined");
        Browser b(QStringLiteral("RTCW"));
        b.setServer(QStringLiteral("127.0.0.1"), QStringLiteral("1")); // nothing answers there
        QPointer<PingServers> w = b.open();
        w->lblMaxPlayers->setText(limit);
        for (int i = 0; i < rows; ++i)
            w->LVPlayers->addTopLevelItem(new QTreeWidgetItem(QStringList{QString::number(i)}));
        QSignalSpy join(&b.browser, &GameStarter::joinRequested);
        b.t.prompts.answers.push_back(Prompts::Answer(answer));
        w->Command2->click();
        const QString question = QStringLiteral("Quorvel|Server full, Are you sure you want to join still?|3");
        QCOMPARE(b.t.prompts.lines(), asked ? QStringList{question} : QStringList{});
        QVERIFY(!asked || b.t.prompts.last().buttons == Prompts::Buttons::YesNo);
        QCOMPARE(join.size(), joined ? 1 : 0);
        // Joining closes the monitor.
        QCOMPARE(w && !w->isHidden(), !joined);
    }

    void halfLifePlayersStayEmpty() {
        Browser b(QStringLiteral("Half-Life"));
        b.browser.mnuGetServerStats->trigger();
        auto* w = b.browser.findChild<PingServers*>();
        QTRY_VERIFY_WITH_TIMEOUT(w->Label2->text().startsWith(QStringLiteral(" Status : Total bytes ")), 10000);
        QCOMPARE(w->lblPlayers->text() + u'|' + w->lblServer->text(), QStringLiteral("Players : 0|"));
        QCOMPARE(w->LVPlayers->topLevelItemCount(), 0);
        // A server that answers "info" is not asked the A2S way.
        QVERIFY(!w->findChild<QTimer*>(QStringLiteral("SourceFallback"))->isActive());
    }

    void todaysHalfLifeServer_data() {
        addColumns<bool>("challenge");
        QTest::newRow("answering at once") << false;
        QTest::newRow("demanding a challenge") << true;
    }

    // Silent to "info", it is asked the A2S way: its players are listed, with no ping to show.
    void todaysHalfLifeServer() {
        auto [challenge] = fetchRow<bool>("challenge");
        Browser b(QStringLiteral("Half-Life"));
        FakeGameServer& server = b.responder.server(b.port);
        server.answersInfo = false;
        server.answersSource = true;
        server.demandsChallenge = challenge;
        PingServers* w = b.open();
        QTRY_COMPARE_WITH_TIMEOUT(w->lblPlayers->text(), QStringLiteral("Players : 3"), 10000);
        QCOMPARE((QStringList{w->lblServer->text(), w->lblMap->text(), w->lblMaxPlayers->text(),
                              w->lblGameName->text()}),
                 (QStringList{"Bank Job", "crossfire", "3", "1.1.2.7/Stdio"}));
        QCOMPARE(columnTexts(w->LVPlayers, 2), (QStringList{"\"Ann\"", "\"bob\"", "\"Cy\""}));
        QCOMPARE(columnTexts(w->LVPlayers, 0) + columnTexts(w->LVPlayers, 1),
                 (QStringList{"5", "12", "7", "", "", ""}));
    }

    void columnClicksSort() {
        Browser b;
        PingServers* w = b.open();
        QTRY_COMPARE_WITH_TIMEOUT(w->LVPlayers->topLevelItemCount(), 3, 10000);
        QHeaderView* header = w->LVPlayers->header();
        const auto clickColumn = [&](int section) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                              QPoint(header->sectionViewportPosition(section) + 5, header->height() / 2));
        };
        clickColumn(0);
        QCOMPARE(columnTexts(w->LVPlayers, 0), (QStringList{"12", "7", "5"}));
        // A refresh brings the rows in the server's order; the chosen order holds, as the arrow says.
        w->cmdQuery->click();
        QTRY_COMPARE_WITH_TIMEOUT(w->graph->sampleCount(), std::size_t(2), 10000);
        QCOMPARE(columnTexts(w->LVPlayers, 0), (QStringList{"12", "7", "5"}));
        QVERIFY(w->LVPlayers->header()->isSortIndicatorShown());
        clickColumn(0);
        QCOMPARE(columnTexts(w->LVPlayers, 0), (QStringList{"5", "7", "12"}));
        clickColumn(2); // the direction alternates whichever column is clicked
        QCOMPARE(columnTexts(w->LVPlayers, 2), (QStringList{"\"Cy\"", "\"bob\"", "\"Ann\""}));
    }
};

QTEST_MAIN(PingServersTest)
#include "tst_pingservers.moc"
