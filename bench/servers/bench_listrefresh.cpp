// Time to refresh a whole server list: our live-list engine against quakestat, on the same 500
// pretend servers of one responder process, with the same retries, retry interval and bound on
// servers asked at once; and whether both report the same players for every server that answered.
//
// Fairness: both sides are separate processes started the same way and timed from start to exit
// (so each pays its own start-up); both read the same list of servers and ask the same responder,
// which draws each server's delay (5 to 150 ms) and the silent tenth from one seed; both send a
// request again after the same silence, as often, and give up on a server at the same time
// (quakestat's -retry counts every attempt, the first included, so it gets our retries plus one;
// its first wait is twice its interval, so ours is set to give up at the same moment). The
// two runs of a game take turns, best of three each, so a busy moment of the machine does not fall
// on one side only. quakestat's pause between packets (5 ms by default) is set to 0, as our engine
// has none: a pause would only measure a setting. Half-Life is asked the way of today (A2S, with
// its challenge) on both sides; ours also sends the old "info", which these servers leave
// unanswered, as today's do. Both games need the same round trips on both sides: Kingpin one, a
// Half-Life server of today four (the info and the players, each after its challenge). RTCW is
// left out: quakestat asks it "getinfo" before "getstatus", a round trip more than we make, so
// its time would not compare like with like.
#include "servers/ServerListQuery.h"

#include "browser/ServerEntry.h"
#include "common/TextFile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kServers = 500;
constexpr int kRetries = 2;
// quakestat, told -interval 0.5 and three attempts, sends at 0, 1.0 and 1.5 s and gives up at
// 2.0 s; ours sends again after each silence of the same length, so 667 ms gives the same three
// sends and the same 2 s before a server counts as silent.
constexpr double kQuakestatIntervalS = 0.5;
constexpr int kIntervalMs = 667;
constexpr int kInFlight = 64;

// "address:port" -> the players as "name/score", sorted; a server that did not answer is absent.
using Report = QMap<QString, QStringList>;

// The child mode: asks the list and prints one line per server that answered.
int ask(const QString& game, const QString& listFile) {
    QList<ServerListQuery::Target> targets;
    QStringList keys;
    for (const QString& entry : TextFile::readLines(listFile)) {
        const QStringList f = ServerEntry::fields(entry);
        if (f.size() < 3)
            continue;
        targets.append({f.at(1), quint16(f.at(2).toUInt())});
        keys.append(f.at(1) + u':' + f.at(2));
    }
    if (targets.isEmpty())
        return 1;
    ServerListQuery query;
    query.setLimits({kInFlight, kRetries, kIntervalMs});
    QObject::connect(&query, &ServerListQuery::serverFinished, [&](int index, const ServerAnswer& answer) {
        if (!answer.answered)
            return;
        QStringList players;
        for (const PlayerRow& p : answer.playerRows)
            players.append(p.name + u'/' + p.score);
        players.sort();
        std::printf("%s\t%s\n", qPrintable(keys.at(index)), qPrintable(players.join(u'\t')));
    });
    QObject::connect(&query, &ServerListQuery::allFinished, qApp, &QCoreApplication::quit);
    query.start(game, targets);
    return QCoreApplication::exec();
}

Report readOurs(const QByteArray& out) {
    Report report;
    for (const QByteArray& l : out.split('\n')) {
        QStringList f = QString::fromUtf8(l).split(u'\t');
        if (f.constFirst().isEmpty())
            continue;
        const QString key = f.takeFirst();
        f.removeAll(QString());
        report.insert(key, f);
    }
    return report;
}

// quakestat -raw with players: a server line, its player lines (name, score, then the ping or,
// for A2S, the time on the server), an empty line.
Report readQuakestat(const QByteArray& out) {
    Report report;
    QString key;
    QStringList players;
    bool up = false;
    auto endServer = [&] {
        players.sort();
        if (up)
            report.insert(key, players);
        key.clear();
        players.clear();
        up = false;
    };
    for (const QByteArray& raw : out.split('\n')) {
        const QStringList f = QString::fromUtf8(raw).split(u'\t');
        if (raw.isEmpty()) {
            endServer();
        } else if (key.isEmpty()) {
            key = f.value(1);
            up = f.size() > 3 && f.value(2) != QStringLiteral("DOWN") &&
                 f.value(2) != QStringLiteral("TIMEOUT");
        } else {
            players.append(f.value(0) + u'/' + f.value(1));
        }
    }
    endServer();
    return report;
}

struct Run {
    qint64 ms = 0;
    QByteArray out;
};

Run run(const QString& program, const QStringList& arguments) {
    QProcess p;
    QElapsedTimer clock;
    clock.start();
    p.start(program, arguments);
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
    }
    Run r{clock.elapsed(), p.readAllStandardOutput()};
    // quakestat ends with a non-zero code when a server was down; only a crash or a hang counts.
    if (p.exitStatus() != QProcess::NormalExit)
        std::fprintf(stderr, "%s failed: %s\n", qPrintable(program), p.readAllStandardError().constData());
    return r;
}

struct Game {
    const char* key;
    const char* quakestatType;
    QStringList responderOptions;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 4 && args.at(1) == QStringLiteral("--ask"))
        return ask(args.at(2), args.at(3));
    if (args.size() != 2) {
        std::fprintf(stderr, "usage: bench_listrefresh RESPONDER\n");
        return 2;
    }
    const QString responderProgram = args.at(1);
    QTemporaryDir dir;

    const Game games[] = {
        {"Kingpin", "kps", {}},
        {"Half-Life", "a2s", {QStringLiteral("--a2s-share"), QStringLiteral("100")}},
    };
    std::printf("%d servers, delays 5-150 ms, 10 %% silent; %d sends, a server silent after 2 s, at most %d "
                "at once\n",
                kServers, kRetries + 1, kInFlight);
    std::printf("%-10s %10s %14s %8s   %s\n", "game", "ours ms", "quakestat ms", "ratio", "answers");
    int failures = 0;
    for (const Game& game : games) {
        const QString list = dir.filePath(QString::fromLatin1(game.key) + QStringLiteral(".qvl"));
        const QString hosts = dir.filePath(QString::fromLatin1(game.key) + QStringLiteral(".hosts"));
        QProcess responder;
        responder.start(responderProgram, QStringList{QStringLiteral("--servers"), QString::number(kServers),
                                                      QStringLiteral("--delay"), QStringLiteral("5-150"),
                                                      QStringLiteral("--silent"), QStringLiteral("10"),
                                                      QStringLiteral("--random-players"),
                                                      QStringLiteral("--write-list"), list} +
                                              game.responderOptions);
        // The list is written once every port is bound.
        responder.waitForStarted();
        while (responder.state() == QProcess::Running && !QFile::exists(list))
            responder.waitForReadyRead(100);
        if (!QFile::exists(list)) {
            std::fprintf(stderr, "the responder did not start: %s\n",
                         responder.readAllStandardError().constData());
            return 1;
        }
        QStringList addresses;
        for (const QString& entry : TextFile::readLines(list))
            addresses.append(ServerEntry::fields(entry).value(1) + u':' +
                             ServerEntry::fields(entry).value(2));
        QFile hostFile(hosts);
        if (!hostFile.open(QIODevice::WriteOnly) ||
            hostFile.write(addresses.join(u'\n').toLatin1() + '\n') < 0)
            return 1;
        hostFile.close();

        const QStringList quakestat{QStringLiteral("-retry"),
                                    QString::number(kRetries + 1),
                                    QStringLiteral("-interval"),
                                    QString::number(kQuakestatIntervalS),
                                    QStringLiteral("-maxsim"),
                                    QString::number(kInFlight),
                                    QStringLiteral("-sendinterval"),
                                    QStringLiteral("0"),
                                    QStringLiteral("-timeout"),
                                    QStringLiteral("60"),
                                    QStringLiteral("-P"),
                                    QStringLiteral("-raw"),
                                    QStringLiteral("\t"),
                                    QStringLiteral("-nh"),
                                    QStringLiteral("-default"),
                                    QString::fromLatin1(game.quakestatType),
                                    QStringLiteral("-f"),
                                    hosts};
        Run ours, theirs;
        for (int round = 0; round < 3; ++round) {
            const Run a = run(app.applicationFilePath(),
                              {QStringLiteral("--ask"), QString::fromLatin1(game.key), list});
            const Run b = run(QStringLiteral("quakestat"), quakestat);
            if (round == 0 || a.ms < ours.ms)
                ours = a;
            if (round == 0 || b.ms < theirs.ms)
                theirs = b;
        }
        responder.kill();
        responder.waitForFinished();

        const Report mine = readOurs(ours.out);
        const Report other = readQuakestat(theirs.out);
        int same = 0, different = 0;
        for (auto it = mine.begin(); it != mine.end(); ++it) {
            if (!other.contains(it.key()))
                continue;
            if (other.value(it.key()) == it.value())
                ++same;
            else if (++different <= 3)
                std::fprintf(stderr, "%s: ours %s, quakestat %s\n", qPrintable(it.key()),
                             qPrintable(it.value().join(u',')), qPrintable(other.value(it.key()).join(u',')));
        }
        const bool identical = different == 0 && mine.size() == other.size() && same == mine.size();
        failures += identical ? 0 : 1;
        std::printf(
            "%-10s %10lld %14lld %8.2f   %d answered (quakestat %d), players %s for %d, differ for %d\n",
            game.key, ours.ms, theirs.ms, double(ours.ms) / double(std::max<qint64>(theirs.ms, 1)),
            int(mine.size()), int(other.size()), identical ? "identical" : "NOT identical", same, different);
    }
    return failures == 0 ? 0 : 1;
}
