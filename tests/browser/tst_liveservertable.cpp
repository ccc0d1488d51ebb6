#include "DataRows.h"
#include "FakeServices.h"
#include "ListTexts.h"
#include "TestFiles.h"

#include "GameResponder.h"
#include "browser/FriendsOnServers.h"
#include "browser/GameStarter.h"
#include "browser/LiveServerTable.h"
#include "servers/GameLaunch.h"

#include <QtTest>
#include <QtWidgets>

Q_DECLARE_METATYPE(FriendsOnServers::Playing)
Q_DECLARE_METATYPE(std::optional<FriendsOnServers::Playing>)

using namespace Qt::StringLiterals;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

// Pretend servers on 127.0.0.1, one per entry: "name players max delay", or "name silent".
struct Servers {
    explicit Servers(const QStringList& lines) {
        for (const QString& line : lines) {
            const QStringList f = line.split(u' ');
            FakeGameServer server;
            server.hostName = f.at(0);
            server.silent = f.at(1) == QStringLiteral("silent");
            if (!server.silent) {
                for (int p = 0; p < f.at(1).toInt(); ++p)
                    server.players.append({QStringLiteral("P%1").arg(p), p, 50});
                server.maxPlayers = f.at(2).toInt();
                server.delayMs = f.at(3).toInt();
            }
            const quint16 port = responder.listen(0, server);
            entries.append(f.at(0) + QStringLiteral(" - 127.0.0.1 - ") + QString::number(port));
        }
    }
    GameResponder responder;
    QStringList entries;
};

QStringList visible(const QTreeWidget* list, int column) {
    QStringList out;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        if (!list->topLevelItem(i)->isHidden())
            out.append(list->topLevelItem(i)->text(column));
    }
    return out;
}

void clickHeader(QTreeWidget* list, int column) {
    Q_EMIT list->header()->sectionClicked(column);
}

} // namespace

class LiveServerTableTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void announcements_data() {
        addColumns<QString, QString, std::optional<FriendsOnServers::Playing>>("line", "member", "playing");
        using P = FriendsOnServers::Playing;
        const QString sent = GameLaunch::joinedAnnouncement(s("Kingpin"), s("Fred's Bar"), s("10.0.0.5"), s("31510"), s("21:14:03"), s("16/11/2003"));
        QTest::newRow("joined, as our launch sends it") << u"<Fred> "_s + sent << s("Fred") << std::optional(P{s("Fred"), s("Kingpin"), s("Fred's Bar"), s("10.0.0.5"), s("31510")});
        QTest::newRow("a server name holding the separator and \" at \"") << s("<ann> joined Half-Life, server : Meet at 8 - CS - 1.2.3.4 - 27015 at 9:05:00 PM : 11/16/2003") << s("ann") << std::optional(P{s("ann"), s("Half-Life"), s("Meet at 8 - CS"), s("1.2.3.4"), s("27015")});
        QTest::newRow("left, as our return sends it") << u"<Fred> "_s + GameLaunch::leftAnnouncement(s("Kingpin"), s("21:50:12"), s("16/11/2003")) << s("Fred") << std::optional<P>();
    }
    // clang-format on

    void announcements() {
        auto [line, member, playing] =
            fetchRow<QString, QString, std::optional<FriendsOnServers::Playing>>("line", "member", "playing");
        const auto read = FriendsOnServers::read(line);
        QVERIFY(read.has_value());
        QCOMPARE(read->member, member);
        QCOMPARE(read->playing, playing);
    }

    void notAnnouncements_data() {
        QTest::addColumn<QString>("line");
        QTest::newRow("chat about joining") << s("<bob> joined the clan today");
        QTest::newRow("no port") << s("<bob> joined Kingpin, server : X - 10.0.0.5 at 21:14:03 : 16/11/2003");
        QTest::newRow("port not a number") << s("<bob> joined Kingpin, server : X - 10.0.0.5 - abc at 1 : 2");
        QTest::newRow("left without the blank") << s("<bob> left Kingpin : 21:50:12 : 16/11/2003");
        QTest::newRow("no sender") << s("joined Kingpin, server : X - 10.0.0.5 - 1 at 1 : 2");
        QTest::newRow("server line") << s("<Quorvel> bob was last seen on 2026-03-01 12:00:00 UTC.");
    }

    void notAnnouncements() {
        QFETCH(QString, line);
        QVERIFY(!FriendsOnServers::read(line));
    }

    // Who plays where follows the room: a new game moves a member, the return or leaving the
    // room ends it; the port is matched as a number and the address without regard to case.
    void friendsFollowTheRoom() {
        FriendsOnServers friends;
        QVERIFY(
            friends.lineArrived(s("<Fred> joined Kingpin, server : A - kp.example.org - 31510 at 1 : 2")));
        QVERIFY(friends.lineArrived(s("<ann> joined Kingpin, server : A - KP.example.org - 31510 at 1 : 2")));
        QVERIFY(!friends.lineArrived(s("<bob> hello all")));
        QCOMPARE(friends.membersOn(s("kp.EXAMPLE.org"), s(" 31510")), (QStringList{s("Fred"), s("ann")}));
        QVERIFY(friends.lineArrived(s("<Fred> joined RTCW, server : B - 10.0.0.9 - 27960 at 1 : 2")));
        QCOMPARE(friends.membersOn(s("kp.example.org"), s("31510")), QStringList{s("ann")});
        QCOMPARE(friends.membersOn(s("10.0.0.9"), s("27960")), QStringList{s("Fred")});
        QVERIFY(friends.lineArrived(s("<Fred>  left RTCW : 1 : 2")));
        QVERIFY(friends.memberLeft(s("ann")));
        QVERIFY(friends.playing().isEmpty());
    }

    // The table fills as answers come, says how many answered, marks the silent server and
    // keeps it, sorts numbers as numbers with the silent one below, and filters.
    void tableFillsSortsAndFilters() {
        Servers servers(
            {s("Ten 10 12 0"), s("Nine 9 9 0"), s("Empty 0 8 0"), s("Far 2 16 150"), s("Dead silent")});
        FakePrompts prompts;
        FriendsOnServers friends;
        friends.lineArrived(u"<Fred> joined Kingpin, server : x - 127.0.0.1 - "_s +
                            servers.entries.at(3).section(u' ', -1) + u" at 1 : 2"_s);
        LiveServerTable table(prompts, friends);
        table.engine().setLimits({2, 1, 400});
        QTreeWidget* list = table.servers();
        auto* progress = table.findChild<QLabel*>(s("progress"));
        // A line that cannot be asked, and the same server twice, give no row.
        table.query(s("Kingpin"),
                    servers.entries + QStringList{s(""), s("Bad - host - port"), servers.entries.at(0)});
        QCOMPARE(progress->text(), s("0 of 5 answered"));
        QCOMPARE(columnTexts(list, LiveServerTable::State), QStringList(5, s("asking")));
        QTRY_COMPARE_WITH_TIMEOUT(progress->text(), s("4 of 5 answered"), 10000);
        QTRY_COMPARE(list->topLevelItem(4)->text(LiveServerTable::State), s("no answer"));
        QCOMPARE(columnTexts(list, LiveServerTable::Server),
                 (QStringList{s("Ten"), s("Nine"), s("Empty"), s("Far"), s("Dead")}));
        QCOMPARE(columnTexts(list, LiveServerTable::Friends), (QStringList{{}, {}, {}, s("Fred"), {}}));

        clickHeader(list, LiveServerTable::Players); // descending first, as every list of the program
        QCOMPARE(columnTexts(list, LiveServerTable::Players),
                 (QStringList{s("10"), s("9"), s("2"), s("0"), {}}));
        clickHeader(list, LiveServerTable::Players);
        QCOMPARE(columnTexts(list, LiveServerTable::Players),
                 (QStringList{s("0"), s("2"), s("9"), s("10"), {}}));
        QCOMPARE(columnTexts(list, LiveServerTable::Ping).constLast(), QString()); // not "0"
        QVERIFY(prompts.shown.isEmpty());

        table.findChild<QCheckBox*>(s("hideEmpty"))->setChecked(true);
        table.findChild<QCheckBox*>(s("hideFull"))->setChecked(true);
        QCOMPARE(visible(list, LiveServerTable::Server), (QStringList{s("Far"), s("Ten"), s("Dead")}));
        table.findChild<QSpinBox*>(s("pingBelow"))->setValue(100);
        QCOMPARE(visible(list, LiveServerTable::Server), QStringList{s("Ten")});

        friends.memberLeft(s("Fred"));
        table.showFriends();
        QCOMPARE(columnTexts(list, LiveServerTable::Friends), QStringList(5, QString()));
    }

    // From the browser: both lists asked at once; a row picked fills the server fields as a
    // click on a list does; the room's announcements mark the lists and the table.
    void browserPicksAndMarks() {
        Servers servers({s("Fav 1 8 0"), s("Master 3 8 0")});
        TestServices t;
        writeBytes(t.file(s("\\kingpin-serverlist.qvl")), servers.entries.at(0).toLatin1() + "\r\n");
        GameStarter w(t.services());
        w.findChild<QPushButton*>(s("cmdAllServersLive"))->click();
        QCOMPARE(t.prompts.lastLine(), s("Quorvel|Please select a game first|1"));
        w.setGameKey(s("Kingpin"));
        w.lstMasterServers->addItem(servers.entries.at(1));
        w.findChild<QPushButton*>(s("cmdAllServersLive"))->click();
        LiveServerTable* table = w.liveServerTable();
        QVERIFY(table && table->isVisible());
        QTRY_COMPARE(table->engine().answeredCount(), 2);

        QTreeWidgetItem* master = table->servers()->topLevelItem(1);
        Q_EMIT table->servers()->itemClicked(master, 0);
        QCOMPARE(w.Text3->text(), s("Master"));
        QCOMPARE(w.Text2->text(), s("127.0.0.1"));
        QCOMPARE(w.Text4->text(), servers.entries.at(1).section(u' ', -1));

        w.roomLineArrived(u"<ann> joined Kingpin, server : Master - 127.0.0.1 - "_s + w.Text4->text() +
                          u" at 1 : 2"_s);
        QCOMPARE(master->text(LiveServerTable::Friends), s("ann"));
        QCOMPARE(w.lstMasterServers->item(0)->toolTip(), s("Playing here now: ann"));
        QVERIFY(w.lstMasterServers->item(0)->font().bold());
        QVERIFY(!w.lstServers->item(0)->font().bold());
        w.roomEmptied();
        QCOMPARE(master->text(LiveServerTable::Friends), QString());
        QVERIFY(!w.lstMasterServers->item(0)->font().bold());

        w.setGameKey(s("RTCW")); // another game closes the table
        QTRY_VERIFY(!w.liveServerTable());
    }
};

QTEST_MAIN(LiveServerTableTest)
#include "tst_liveservertable.moc"
