#include "DataRows.h"

#include "GameResponder.h"
#include "ServerCrowd.h"
#include "servers/ServerListQuery.h"

#include <QtTest>

#include <set>

namespace {

struct Asked {
    int total = 0;
    int maxInFlight = 0;
    std::set<int> inFlight;
    QMap<int, int> finishedTimes;
    QMap<int, ServerAnswer> answers;
    QStringList faults;
};

QStringList names(const QList<FakePlayer>& players) {
    QStringList out;
    for (const FakePlayer& p : players)
        out.append(p.name + u'/' + QString::number(p.score));
    return out;
}

QStringList names(const QList<PlayerRow>& rows) {
    QStringList out;
    for (const PlayerRow& r : rows)
        out.append(r.name + u'/' + r.score);
    return out;
}

} // namespace

class ServerListQueryTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyServerOnceWithinTheBound_data() {
        addColumns<QString, int, int>("game", "loss", "inFlight");
        QTest::newRow("Kingpin, a quarter of the requests lost") << QStringLiteral("Kingpin") << 25 << 6;
        QTest::newRow("RTCW, one at a time") << QStringLiteral("RTCW") << 10 << 1;
        QTest::newRow("Half-Life of old and of today") << QStringLiteral("Half-Life") << 25 << 8;
    }

    // Many servers, some silent for good, requests lost on the way: every server is reported
    // once, each that can answer does, with its own players, and no more servers are being
    // asked at a time than the bound allows (the responder hears nobody outside that set).
    void everyServerOnceWithinTheBound() {
        auto [game, loss, bound] = fetchRow<QString, int, int>("game", "loss", "inFlight");
        FakeGameServer model;
        model.hostName = QStringLiteral("Crowd");
        model.maxPlayers = 8;
        CrowdShape shape;
        shape.count = 30;
        shape.maxDelayMs = 20;
        shape.silentPercent = 15;
        shape.randomPlayers = true;
        shape.todaysHalfLifePercent = 50;
        const QList<FakeGameServer> crowd = makeCrowd(model, shape);

        GameResponder responder;
        responder.setLoss(loss, 7);
        QList<ServerListQuery::Target> targets;
        QMap<quint16, int> indexOfPort;
        for (const FakeGameServer& server : crowd) {
            const quint16 port = responder.listen(0, server);
            QVERIFY(port);
            indexOfPort[port] = int(targets.size());
            targets.append({QStringLiteral("127.0.0.1"), port});
        }

        ServerListQuery query;
        query.setLimits({bound, 12, 60});
        Asked asked;
        connect(&query, &ServerListQuery::serverStarted, this, [&](int index) {
            if (!asked.inFlight.insert(index).second)
                asked.faults.append(QStringLiteral("started twice: %1").arg(index));
            asked.maxInFlight = std::max(asked.maxInFlight, int(asked.inFlight.size()));
        });
        connect(&query, &ServerListQuery::serverFinished, this, [&](int index, const ServerAnswer& answer) {
            asked.inFlight.erase(index);
            if (++asked.finishedTimes[index] > 1)
                asked.faults.append(QStringLiteral("finished twice: %1").arg(index));
            asked.answers[index] = answer;
        });
        connect(&responder, &GameResponder::heard, this, [&](quint16 port, const QByteArray&) {
            if (!asked.inFlight.count(indexOfPort.value(port)))
                asked.faults.append(QStringLiteral("asked while not in flight: %1").arg(port));
        });
        QSignalSpy done(&query, &ServerListQuery::allFinished);
        query.start(game, targets);
        QVERIFY(done.wait(20000));

        QCOMPARE(asked.faults, QStringList());
        QCOMPARE(asked.finishedTimes.size(), crowd.size());
        QCOMPARE(asked.maxInFlight, bound);
        int silent = 0;
        for (int i = 0; i < crowd.size(); ++i) {
            const FakeGameServer& server = crowd.at(i);
            const ServerAnswer& answer = asked.answers.value(i);
            QCOMPARE(answer.answered, !server.silent);
            if (server.silent) {
                ++silent;
                continue;
            }
            QCOMPARE(answer.name, server.hostName);
            QCOMPARE(answer.players, std::optional<int>(int(server.players.size())));
            QCOMPARE(answer.maxPlayers, std::optional<int>(8));
            QVERIFY(answer.pingMs.has_value());
            // The old Half-Life answer carries the count alone.
            if (!(game == QStringLiteral("Half-Life") && server.answersInfo))
                QCOMPARE(names(answer.playerRows), names(server.players));
        }
        QVERIFY(silent > 0);
        QCOMPARE(query.answeredCount(), int(crowd.size()) - silent);
    }

    // A list asked again before it ends starts over: answers to the old one are passed over.
    void startingOverForgetsTheOldList() {
        GameResponder responder;
        FakeGameServer old, wanted;
        old.delayMs = 20;
        wanted.delayMs = 120;
        wanted.hostName = QStringLiteral("Wanted");
        const quint16 oldPort = responder.listen(0, old);
        const quint16 wantedPort = responder.listen(0, wanted);
        ServerListQuery query;
        QSignalSpy finished(&query, &ServerListQuery::serverFinished);
        const QString local = QStringLiteral("127.0.0.1");
        query.start(QStringLiteral("Kingpin"), {{local, oldPort}, {local, oldPort}});
        query.start(QStringLiteral("Kingpin"), {{local, wantedPort}});
        // The old server's answers leave first, so they have been read when the wanted one is.
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(finished.first().at(0).toInt(), 0);
        QCOMPARE(finished.first().at(1).value<ServerAnswer>().name, QStringLiteral("Wanted"));
        QCOMPARE(query.finishedCount(), 1);
    }

    // With no game to ask about, every server ends at once, unanswered, and the end is told once.
    void noGameEndsAtOnce() {
        ServerListQuery query;
        QSignalSpy finished(&query, &ServerListQuery::serverFinished);
        QSignalSpy done(&query, &ServerListQuery::allFinished);
        query.start(QStringLiteral("*Home"),
                    {{QStringLiteral("127.0.0.1"), 1}, {QStringLiteral("127.0.0.1"), 2}});
        QCOMPARE(finished.size(), 2);
        QVERIFY(!finished.at(1).at(1).value<ServerAnswer>().answered);
        QCOMPARE(done.size(), 1);
    }
};

QTEST_GUILESS_MAIN(ServerListQueryTest)
#include "tst_serverlistquery.moc"
