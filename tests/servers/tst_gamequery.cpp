// The status query: request bytes, the checks before a request, the three parsers on real-format
// replies and on their deliberate quirks, the A2S answers of today's Half-Life servers, and the UDP
// round trip with a pretend server.
#include "DataRows.h"
#include "FakeGameServer.h"
#include "FakeSourceServer.h"
#include "GameResponder.h"

#include "common/Windows1252.h"
#include "servers/GameQuery.h"
#include "servers/ServerQuery.h"
#include "servers/SourceQuery.h"
#include "servers/SplitReplies.h"

#include <QtTest>

using Rows = QList<PlayerRow>;
Q_DECLARE_METATYPE(ServerStatus)
Q_DECLARE_METATYPE(std::optional<ServerStatus>)

namespace {

ServerStatus status(std::optional<QString> version, std::optional<QString> host, std::optional<QString> map,
                    std::optional<QString> max, std::optional<Rows> players, std::optional<int> playerCount = {}) {
    return ServerStatus{std::move(version), std::move(host), std::move(map), std::move(max), std::move(players),
                        playerCount};
}

QString s(const char* latin1) { return QString::fromLatin1(latin1); }
QString bytes(const QByteArray& b) { return Windows1252::decode(b); }
template <std::size_t N> QByteArray withNuls(const char (&literal)[N]) { return QByteArray(literal, N - 1); }

// Plays the browser's fields and the monitor's labels for the query.
struct Monitor : QueryTarget, QueryResultSink {
    QString game = QStringLiteral("Kingpin"), address = QStringLiteral("127.0.0.1"), port;
    QList<ServerStatus> replies;
    QList<qint64> sizes;
    QString gameKey() const override { return game; }
    QString serverAddress() const override { return address; }
    QString serverPort() const override { return port; }
    void showReply(const ServerStatus& st, qint64 size, std::optional<qint64> ms) override {
        QVERIFY(ms.has_value());
        replies.append(st);
        sizes.append(size);
    }
};

// What the monitor gets from one A2S answer: the info, or the players alone; nullopt: not parsed.
std::optional<ServerStatus> readSource(const QByteArray& datagram) {
    if (SourceQuery::classify(datagram) != SourceQuery::Kind::Players)
        return SourceQuery::parseInfo(datagram);
    const std::optional<Rows> rows = SourceQuery::parsePlayers(datagram);
    return rows ? std::optional(status({}, {}, {}, {}, *rows)) : std::nullopt;
}

FakeGameServer todaysHalfLife() {
    FakeGameServer server;
    server.hostName = s("Crossfire Arena");
    server.maxPlayers = 12;
    server.players = {{s("Big Boss"), 12, 0}, {QString::fromUtf8("Zoë"), -3, 0}};
    server.answersInfo = false;
    server.answersSource = true;
    return server;
}

} // namespace

class GameQueryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void requestDatagram_data() {
        addColumns<QString, QByteArray>("game", "wire");
        QTest::newRow("Kingpin") << s("Kingpin") << QByteArray::fromHex("FFFFFFFF737461747573");
        QTest::newRow("Half-Life") << s("Half-Life") << QByteArray::fromHex("FFFFFFFF696E666F");
        QTest::newRow("RTCW") << s("RTCW") << QByteArray::fromHex("FFFFFFFF676574737461747573");
        QTest::newRow("lower case") << s("kingpin") << QByteArray();
    }

    void requestDatagram() {
        auto [game, wire] = fetchRow<QString, QByteArray>("game", "wire");
        QCOMPARE(GameQuery::requestDatagram(game), wire);
    }

    void checkTarget_data() {
        addColumns<QString, QString, int, int>("address", "port", "check", "value");
        using C = GameQuery::Check;
        // The plain refusals, with their messages, are in tst_pingservers; these are the edges.
        QTest::newRow("ready") << s("10.0.0.5") << s("31510") << int(C::Ready) << 31510;
        QTest::newRow("blanks and exponent") << s("h") << s(" 2.7e4 ") << int(C::Ready) << 27000;
        QTest::newRow("half to even") << s("h") << s("27014.5") << int(C::Ready) << 27014;
        QTest::newRow("only blanks") << s("h") << s("  ") << int(C::PortNotNumeric) << 0;
        QTest::newRow("zero") << s("h") << s("0") << int(C::PortOutOfRange) << 0;
        QTest::newRow("beyond 32 bits") << s("h") << s("1e20") << int(C::PortOutOfRange) << 0;
    }

    void checkTarget() {
        auto [address, port, check, value] =
            fetchRow<QString, QString, int, int>("address", "port", "check", "value");
        const GameQuery::Target t = GameQuery::checkTarget(address, port);
        QCOMPARE(int(t.check), check);
        QCOMPARE(int(t.port), value);
    }

    // clang-format off
    void parse_data() {
        addColumns<QString, QString, ServerStatus>("game", "reply", "expected");

        const Rows fred{{s("3"), s("45"), s("\"Fred\"")}};
        QTest::newRow("Kingpin: the last value runs to the end") << s("Kingpin") << bytes("\xff\xff\xff\xffprint\n\\version\\1.21\\hostname\\Fred's Bar\\mapname\\kpdm1\\maxclients\\8\n" "3 45 \"Fred\"\n") << status(s("1.21"), s("Fred's Bar"), s("kpdm1"), s("8\n3 45 \"Fred\"\n"), fred);

        FakeGameServer server;
        server.hostName = s("Bank Job");
        server.players = {{s("Big Boss"), 12, 80}, {s("Nikki"), -1, 999}};
        QTest::newRow("Kingpin: print reply, a name cut at its blank") << s("Kingpin") << bytes(FakeGameReplies::quakeIIStatus(server)) << status(s("1.21 x86 Jan 31 2000 Win32 RELEASE"), s("Bank Job"), s("kpdm1"), s("16"), Rows{{s("12"), s("80"), s("\"Big")}, {s("-1"), s("999"), s("\"Nikki\"")}});

        server.hostName = s("^1Red ^7Beach");
        server.players = {{s("^4Blue^7Man"), 5, 50}};
        QTest::newRow("RTCW: statusResponse with colour codes") << s("RTCW") << bytes(FakeGameReplies::quake3Status(server, "xyz")) << status(s("Wolf 1.41 win-x86 Jan 16 2003"), s("^1Red ^7Beach"), s("mp_beach"), s("16"), Rows{{s("5"), s("50"), s("\"^4Blue^7Man\"")}});
        QTest::newRow("RTCW: sv_hostname, never hostname") << s("RTCW") << s("\xff\xff\xff\xff" "statusResponse\n\\sv_hostname\\Right\\hostname\\Wrong\\sv_maxclients\\4") << status({}, s("Right"), {}, s("4"), Rows{});
        QTest::newRow("Kingpin ignores the RTCW keys") << s("Kingpin") << s("x\n\\sv_hostname\\Right\\hostname\\Other\\sv_maxclients\\4") << status({}, s("Other"), {}, {}, Rows{});

        QTest::newRow("a value that is a key is read as a key") << s("Kingpin") << s("x\n\\hostname\\mapname\\mapname\\q2dm1") << status({}, s("mapname"), s("q2dm1"), {}, Rows{});
        QTest::newRow("a key anywhere, even in a player line") << s("Kingpin") << s("x\n\\a\\b\n1 2 \"x\\version\\9\"") << status(s("9\""), {}, {}, {}, Rows{{s("1"), s("2"), s("\"x\\version\\9\"")}});
        QTest::newRow("Kingpin passes over a key without a value") << s("Kingpin") << s("x\n\\mapname\\kpdm2\\hostname") << status({}, {}, s("kpdm2"), {}, Rows{});
        QTest::newRow("RTCW stops at a key without a value, keeping the list") << s("RTCW") << s("x\n\\mapname\\mp_ice\n1 2 \"a\"\\version") << status({}, {}, s("mp_ice\n1 2 \"a\""), {}, {});

        QTest::newRow("an empty line moves later cells a row down") << s("Kingpin") << s("h\ni\n1 10 \"a\"\n\n2 20 \"b\"\n3 30 \"c\"\n") << status({}, {}, {}, {}, Rows{{s("1"), s("10"), s("\"a\"")}, {s("2"), {}, {}}, {s("3"), s("20"), s("\"b\"")}});
        QTest::newRow("short lines leave cells empty") << s("Kingpin") << s("h\ni\n7\n8 9\n 5") << status({}, {}, {}, {}, Rows{{s("7"), {}, {}}, {s("8"), s("9"), {}}, {{}, s("5"), {}}});
        QTest::newRow("a reply of one line has no players") << s("Kingpin") << s("just words") << status({}, {}, {}, {}, Rows{});

        server.hostName = s("Crossfire Arena");
        QTest::newRow("Half-Life: real info reply has no key names") << s("Half-Life") << bytes(FakeGameReplies::halfLifeInfo(server, s("127.0.0.1:27015"))) << status({}, {}, {}, {}, Rows{});
        QTest::newRow("Half-Life: NUL-separated keys, players never read") << s("Half-Life") << bytes(withNuls("\xff\xff\xff\xff" "E\x04\x00hostname\0HL Box\0maxclients\0" "12\0mapname\0stalkyard\0" "version\0" "1.1.2.1\0\n1 2 \"a\"\n")) << status(s("1.1.2.1"), s("HL Box"), s("stalkyard"), s("12"), Rows{});
        QTest::newRow("Half-Life stops at a key without a value") << s("Half-Life") << bytes(withNuls("mapname\0c1a0\0hostname")) << status({}, {}, s("c1a0"), {}, {});
        QTest::newRow("another game changes nothing") << s("*Home") << s("x\n\\hostname\\h\n1 2 3") << ServerStatus{};
    }
    // clang-format on

    void parse() {
        auto [game, reply, expected] = fetchRow<QString, QString, ServerStatus>("game", "reply", "expected");
        QCOMPARE(GameQuery::parseReply(game, reply), expected);
    }

    // clang-format off
    void sourceRequests_data() {
        addColumns<QByteArray, QByteArray>("request", "wire");
        const QByteArray c = FakeSourceReplies::challenge();
        QTest::newRow("info") << SourceQuery::infoRequest() << withNuls("\xff\xff\xff\xffTSource Engine Query\0");
        QTest::newRow("info with challenge") << SourceQuery::infoRequest(c) << withNuls("\xff\xff\xff\xffTSource Engine Query\0\x5a\x17\xc0\x01");
        QTest::newRow("players, asking for a challenge") << SourceQuery::playerRequest() << QByteArray("\xff\xff\xff\xffU\xff\xff\xff\xff");
        QTest::newRow("players with challenge") << SourceQuery::playerRequest(c) << QByteArray("\xff\xff\xff\xffU\x5a\x17\xc0\x01");
    }
    // clang-format on

    void sourceRequests() {
        auto [request, wire] = fetchRow<QByteArray, QByteArray>("request", "wire");
        QCOMPARE(request, wire);
    }

    // clang-format off
    void sourceAnswers_data() {
        addColumns<QByteArray, int, std::optional<ServerStatus>>("datagram", "kind", "read");
        using K = SourceQuery::Kind;
        const FakeGameServer server = todaysHalfLife();
        const QByteArray info = FakeSourceReplies::info(server);
        const QByteArray players = FakeSourceReplies::players(server);
        const std::optional<ServerStatus> none;
        const ServerStatus shown = status(s("1.1.2.7/Stdio"), s("Crossfire Arena"), s("crossfire"), s("12"), {}, 2);
        const Rows rows{{s("12"), {}, s("\"Big Boss\"")}, {s("-3"), {}, QString::fromUtf8("\"Zoë\"")}};
        QTest::newRow("info") << info << int(K::Info) << std::optional(shown);
        QTest::newRow("info of The Ship, three more bytes") << withNuls("\xff\xff\xff\xffI\x07n\0m\0f\0g\0\x60\x09\x01\x08\0d\0\0\0" "123" "v1\0") << int(K::Info) << std::optional(status(s("v1"), s("n"), s("m"), s("8"), {}, 1));
        QTest::newRow("info with extra data after the version") << info + "\x80\x87\x69" << int(K::Info) << std::optional(shown);
        QTest::newRow("info without the version's NUL") << info.chopped(1) << int(K::Info) << none;
        QTest::newRow("info cut in its fixed bytes") << info.left(info.indexOf("Half-Life") + 12) << int(K::Info) << none;
        QTest::newRow("info of a header alone") << QByteArray("\xff\xff\xff\xffI") << int(K::Info) << none;
        QTest::newRow("old m info") << withNuls("\xff\xff\xff\xffm127.0.0.1:27015\0Old Box\0stalkyard\0valve\0Half-Life\0\x02\x10\x2f") << int(K::OldInfo) << std::optional(status({}, s("Old Box"), s("stalkyard"), s("16"), {}, 2));
        QTest::newRow("old m info without its protocol") << withNuls("\xff\xff\xff\xffma\0b\0c\0d\0e\0\x02\x10") << int(K::OldInfo) << none;
        QTest::newRow("players") << players << int(K::Players) << std::optional(status({}, {}, {}, {}, rows));
        QTest::newRow("no players") << withNuls("\xff\xff\xff\xff" "D\0") << int(K::Players) << std::optional(status({}, {}, {}, {}, Rows{}));
        QTest::newRow("players cut in the last duration") << players.chopped(1) << int(K::Players) << none;
        QTest::newRow("players counted one too many") << QByteArray(players).replace(5, 1, "\x03") << int(K::Players) << none;
        QTest::newRow("players without a count") << QByteArray("\xff\xff\xff\xff" "D") << int(K::Players) << none;
        QTest::newRow("challenge") << QByteArray("\xff\xff\xff\xff" "A\x5a\x17\xc0\x01") << int(K::Challenge) << none;
        QTest::newRow("split part") << QByteArray("\xfe\xff\xff\xff\x01\0\0\0\x02") << int(K::SplitPart) << none;
        QTest::newRow("old C info reply") << FakeGameReplies::halfLifeInfo(server, s("1.2.3.4:5")) << int(K::Unknown) << none;
        QTest::newRow("garbage") << QByteArray("\xff\xff\xff") << int(K::Unknown) << none;
    }
    // clang-format on

    void sourceAnswers() {
        auto [datagram, kind, read] = fetchRow<QByteArray, int, std::optional<ServerStatus>>("datagram", "kind", "read");
        QCOMPARE(int(SourceQuery::classify(datagram)), kind);
        QCOMPARE(readSource(datagram), read);
        const std::optional<QByteArray> challenge = SourceQuery::challenge(datagram);
        QCOMPARE(challenge.has_value(), kind == int(SourceQuery::Kind::Challenge));
        if (challenge)
            QCOMPARE(*challenge, FakeSourceReplies::challenge());
    }

    // clang-format off
    void splitReplies_data() {
        addColumns<int, QList<QByteArray>, QByteArray>("layout", "parts", "whole");
        const int goldSrc = int(SplitReplies::Layout::GoldSrc), source = int(SplitReplies::Layout::Source);
        const QByteArray whole = FakeSourceReplies::players(todaysHalfLife());
        const QList<QByteArray> three = FakeSourceReplies::split(whole, 3, 7);
        QTest::newRow("in order") << goldSrc << three << whole;
        QTest::newRow("last first") << goldSrc << QList{three.at(2), three.at(0), three.at(1)} << whole;
        QTest::newRow("a part twice") << goldSrc << QList{three.at(1), three.at(1), three.at(0), three.at(2)} << whole;
        QTest::newRow("one missing") << goldSrc << QList{three.at(0), three.at(2)} << QByteArray();
        QTest::newRow("number beyond the count") << goldSrc << QList{QByteArray("\xfe\xff\xff\xff\x07\0\0\0\x33x")} << QByteArray();
        QTest::newRow("count of zero") << goldSrc << QList{QByteArray("\xfe\xff\xff\xff\x07\0\0\0\x00x")} << QByteArray();
        QTest::newRow("header cut") << goldSrc << QList{QByteArray("\xfe\xff\xff\xff\x07\0")} << QByteArray();
        QList<QByteArray> crowded{three.at(0)};
        for (char id = 20; id < 20 + SplitReplies::kOpenSets; ++id)
            crowded.append(QByteArray("\xfe\xff\xff\xff") + id + QByteArray("\0\0\0\x02", 4) + 'x');
        QTest::newRow("the oldest set dropped") << goldSrc << crowded + QList{three.at(1), three.at(2)} << QByteArray();
        QTest::newRow("Source layout, reversed") << source << QList{withNuls("\xfe\xff\xff\xff\x09\0\0\0\x02\x01\xe0\x04" "B\0"), withNuls("\xfe\xff\xff\xff\x09\0\0\0\x02\0\xe0\x04\xff\xff\xff\xff" "D\x01\0A\0")} << withNuls("\xff\xff\xff\xff" "D\x01\0A\0B\0");
        QTest::newRow("Source, compressed") << source << QList{withNuls("\xfe\xff\xff\xff\x09\0\0\x80\x01\0\xe0\x04x")} << QByteArray();
    }
    // clang-format on

    void splitReplies() {
        auto [layout, parts, whole] = fetchRow<int, QList<QByteArray>, QByteArray>("layout", "parts", "whole");
        SplitReplies assembler{SplitReplies::Layout(layout)};
        QByteArray out;
        for (const QByteArray& part : parts) {
            QVERIFY(out.isEmpty()); // nothing comes out before the set's last part
            out = assembler.add(part).value_or(QByteArray());
        }
        QCOMPARE(out, whole);
        QVERIFY(assembler.openSets() <= SplitReplies::kOpenSets);
    }

    void todaysHalfLifeServer_data() {
        addColumns<bool, int>("challenge", "parts");
        QTest::newRow("plain") << false << 1;
        QTest::newRow("challenge, players in three parts") << true << 3;
    }

    // The old request first; a second of silence, then A2S_INFO (again with the challenge when the
    // server wants one) and A2S_PLAYER, its challenge asked for first.
    void todaysHalfLifeServer() {
        auto [challenge, parts] = fetchRow<bool, int>("challenge", "parts");
        GameResponder responder;
        FakeGameServer server = todaysHalfLife();
        server.demandsChallenge = challenge;
        server.playerParts = parts;
        const quint16 port = responder.listen(0, server);
        QSignalSpy asked(&responder, &GameResponder::answered);
        Monitor monitor;
        monitor.game = s("Half-Life");
        monitor.port = QString::number(port);
        ServerQuery query(monitor, monitor);
        query.send();
        QTRY_COMPARE_WITH_TIMEOUT(monitor.replies.size(), 2, 10000);
        const QByteArray c = FakeSourceReplies::challenge();
        QList<QByteArray> expected{GameQuery::requestDatagram(s("Half-Life")), SourceQuery::infoRequest()};
        if (challenge)
            expected.append(SourceQuery::infoRequest(c));
        expected += {SourceQuery::playerRequest(), SourceQuery::playerRequest(c)};
        QList<QByteArray> requests;
        for (const QList<QVariant>& a : asked)
            requests.append(a.at(1).toByteArray());
        QCOMPARE(requests, expected);
        QCOMPARE(monitor.replies.first(), *SourceQuery::parseInfo(FakeSourceReplies::info(server)));
        QCOMPARE(monitor.replies.last().players->size(), 2);
        QCOMPARE(monitor.sizes.last(), FakeSourceReplies::players(server).size());
    }

    void roundTripWithAResponder() {
        GameResponder responder;
        FakeGameServer server;
        server.players = {{s("Ann"), 1, 2}};
        const quint16 port = responder.listen(0, server);
        QVERIFY(port != 0);
        QSignalSpy asked(&responder, &GameResponder::answered);

        Monitor monitor;
        monitor.port = QString::number(port);
        ServerQuery query(monitor, monitor);
        QCOMPARE(query.send(), GameQuery::Check::Ready);
        QTRY_COMPARE_WITH_TIMEOUT(monitor.replies.size(), 1, 10000);
        QCOMPARE(asked.first().at(1).toByteArray(), GameQuery::requestDatagram(s("Kingpin")));
        QCOMPARE(monitor.replies.first().hostName, s("Quorvel Test Server"));
        QCOMPARE(monitor.sizes.first(), FakeGameReplies::quakeIIStatus(server).size());

        // Another selector text: the request step runs but nothing goes out.
        monitor.game = s("*Home");
        QCOMPARE(query.send(), GameQuery::Check::Ready);
        monitor.game = s("RTCW");
        QCOMPARE(query.send(), GameQuery::Check::Ready);
        QTRY_COMPARE_WITH_TIMEOUT(monitor.replies.size(), 2, 10000);
        QCOMPARE(asked.size(), 2);
        QCOMPARE(asked.last().at(1).toByteArray(), GameQuery::requestDatagram(s("RTCW")));
    }

    void replyForAnotherGameUsesTheSelectedParser() {
        GameResponder responder;
        FakeGameServer server;
        server.fixedReply = QByteArray("\xff\xff\xff\xffprint\n\\hostname\\Q2 Host\\sv_hostname\\Q3 Host\n");
        const quint16 port = responder.listen(0, server);
        Monitor monitor;
        monitor.port = QString::number(port);
        ServerQuery query(monitor, monitor);
        QSignalSpy asked(&responder, &GameResponder::answered);
        query.send();
        // The selector moves on before the reply is read.
        monitor.game = s("RTCW");
        QTRY_COMPARE_WITH_TIMEOUT(monitor.replies.size(), 1, 10000);
        QCOMPARE(monitor.replies.first().hostName, s("Q3 Host\n"));
        QCOMPARE(asked.first().at(1).toByteArray(), GameQuery::requestDatagram(s("Kingpin")));
    }

    void hostNamesAreLookedUp() {
        GameResponder responder;
        const quint16 port = responder.listen(0, FakeGameServer{});
        Monitor monitor;
        monitor.address = s("localhost");
        monitor.port = QString::number(port);
        ServerQuery query(monitor, monitor);
        QCOMPARE(query.send(), GameQuery::Check::Ready);
        QTRY_COMPARE_WITH_TIMEOUT(monitor.replies.size(), 1, 10000);
    }
};

QTEST_GUILESS_MAIN(GameQueryTest)
#include "tst_gamequery.moc"
