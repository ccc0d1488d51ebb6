// quorvel-game-responder: pretends to be Kingpin, RTCW and Half-Life servers (of old, or of today
// with --a2s --no-info) on 127.0.0.1, for tests and demonstrations of the server monitor; with
// --servers, hundreds of them at once, with delays, losses and silent ones, as a whole internet.
#include "GameResponder.h"
#include "ServerCrowd.h"

#include "browser/ServerEntry.h"
#include "common/TextFile.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <limits>

namespace {

std::optional<FakePlayer> parsePlayer(const QString& text) {
    const QStringList parts = text.split(u',');
    if (parts.size() != 3)
        return std::nullopt;
    bool scoreOk = false, pingOk = false;
    FakePlayer p{parts.at(0), parts.at(1).toInt(&scoreOk), parts.at(2).toInt(&pingOk)};
    if (!scoreOk || !pingOk)
        return std::nullopt;
    return p;
}

[[noreturn]] void fail(const QString& message) {
    std::fprintf(stderr, "quorvel-game-responder: %s\n", qPrintable(message));
    std::exit(2);
}

int wholeNumber(const QCommandLineParser& options, const QCommandLineOption& option, int low, int high) {
    bool ok = false;
    const int n = options.value(option).toInt(&ok);
    if (!ok || n < low || n > high)
        fail(QStringLiteral("--%1 needs a whole number from %2 to %3")
                 .arg(option.names().constFirst())
                 .arg(low)
                 .arg(high));
    return n;
}

// "5-150" or "40".
std::pair<int, int> delayRange(const QString& text) {
    const QStringList bounds = text.split(u'-');
    bool lowOk = false, highOk = false;
    const int low = bounds.constFirst().toInt(&lowOk);
    const int high = bounds.size() == 2 ? bounds.at(1).toInt(&highOk) : low;
    if (bounds.size() > 2 || !lowOk || (bounds.size() == 2 && !highOk) || low < 0 || high < low ||
        high > 60000)
        fail(QStringLiteral("--delay needs milliseconds, as 40 or 5-150: ") + text);
    return {low, high};
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quorvel-game-responder"));

    QCommandLineParser options;
    options.setApplicationDescription(QStringLiteral(
        "Answers the Kingpin, RTCW and Half-Life status queries on 127.0.0.1 as real servers do."));
    options.addHelpOption();
    const QCommandLineOption port(QStringLiteral("port"),
                                  QStringLiteral("Port to answer on (0: a free one); repeatable."),
                                  QStringLiteral("port"));
    const QCommandLineOption list(
        QStringLiteral("list"),
        QStringLiteral("Master-list file: answer for each of its 127.0.0.1 entries, "
                       "named after its description; repeatable."),
        QStringLiteral("file"));
    const QCommandLineOption hostName(QStringLiteral("hostname"), QStringLiteral("Server name."),
                                      QStringLiteral("name"));
    const QCommandLineOption map(QStringLiteral("map"), QStringLiteral("Map name."), QStringLiteral("map"));
    const QCommandLineOption version(QStringLiteral("version-string"), QStringLiteral("Version string."),
                                     QStringLiteral("text"));
    const QCommandLineOption maxPlayers(QStringLiteral("max-players"), QStringLiteral("Player limit."),
                                        QStringLiteral("n"), QStringLiteral("16"));
    const QCommandLineOption player(QStringLiteral("player"),
                                    QStringLiteral("A player as name,score,ping; repeatable."),
                                    QStringLiteral("player"));
    const QCommandLineOption replyFile(QStringLiteral("reply-file"),
                                       QStringLiteral("Answer every status query with this file's bytes."),
                                       QStringLiteral("file"));
    const QCommandLineOption noInfo(QStringLiteral("no-info"),
                                    QStringLiteral("Leave the old Half-Life \"info\" request unanswered, as "
                                                   "today's servers do."));
    const QCommandLineOption source(QStringLiteral("a2s"),
                                    QStringLiteral("Answer the A2S_INFO and A2S_PLAYER queries."));
    const QCommandLineOption sourceChallenge(QStringLiteral("a2s-challenge"),
                                             QStringLiteral("Answer A2S_INFO only after a challenge."));
    const QCommandLineOption sourceParts(
        QStringLiteral("a2s-parts"), QStringLiteral("Split the A2S players answer into n parts (1 to 15)."),
        QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption servers(
        QStringLiteral("servers"),
        QStringLiteral("Answer as n servers, on n ports from --first-port (or free ones), "
                       "each named after --hostname and its number."),
        QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption firstPort(
        QStringLiteral("first-port"),
        QStringLiteral("First of the consecutive ports of --servers (0: free ports)."),
        QStringLiteral("port"), QStringLiteral("0"));
    const QCommandLineOption delay(
        QStringLiteral("delay"),
        QStringLiteral("Each server answers after ms milliseconds, or after its own delay "
                       "drawn from a range such as 5-150."),
        QStringLiteral("ms"), QStringLiteral("0"));
    const QCommandLineOption loss(
        QStringLiteral("loss"), QStringLiteral("Lose this percentage of the requests, drawn anew for each."),
        QStringLiteral("percent"), QStringLiteral("0"));
    const QCommandLineOption silent(QStringLiteral("silent"),
                                    QStringLiteral("This percentage of the servers never answers."),
                                    QStringLiteral("percent"), QStringLiteral("0"));
    const QCommandLineOption todays(
        QStringLiteral("a2s-share"),
        QStringLiteral("This percentage of the servers answers Half-Life the way of today "
                       "(A2S after a challenge, \"info\" unanswered), the others the old "
                       "way (\"info\" only)."),
        QStringLiteral("percent"));
    const QCommandLineOption randomPlayers(
        QStringLiteral("random-players"),
        QStringLiteral("Give each server from none to --max-players made-up players."));
    const QCommandLineOption seed(QStringLiteral("seed"),
                                  QStringLiteral("Seed of every random choice, so a run can be repeated."),
                                  QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption writeList(
        QStringLiteral("write-list"),
        QStringLiteral("Write every server answered for as a master-list file."), QStringLiteral("file"));
    options.addOptions({port,   list,   hostName,        map,         version,  maxPlayers, player, replyFile,
                        noInfo, source, sourceChallenge, sourceParts, servers,  firstPort,  delay,  loss,
                        silent, todays, randomPlayers,   seed,        writeList});
    options.process(app);

    FakeGameServer server;
    if (options.isSet(hostName))
        server.hostName = options.value(hostName);
    server.mapName = options.value(map);
    server.version = options.value(version);
    bool limitOk = false;
    server.maxPlayers = options.value(maxPlayers).toInt(&limitOk);
    if (!limitOk)
        fail(QStringLiteral("--max-players needs a whole number"));
    server.answersInfo = !options.isSet(noInfo);
    server.answersSource = options.isSet(source);
    server.demandsChallenge = options.isSet(sourceChallenge);
    bool partsOk = false;
    server.playerParts = options.value(sourceParts).toInt(&partsOk);
    if (!partsOk || server.playerParts < 1 || server.playerParts > 15)
        fail(QStringLiteral("--a2s-parts needs a whole number from 1 to 15"));
    for (const QString& p : options.values(player)) {
        const auto parsed = parsePlayer(p);
        if (!parsed)
            fail(QStringLiteral("--player needs name,score,ping: ") + p);
        server.players.append(*parsed);
    }
    if (options.isSet(replyFile)) {
        QFile file(options.value(replyFile));
        if (!file.open(QIODevice::ReadOnly))
            fail(file.fileName() + QStringLiteral(": ") + file.errorString());
        server.fixedReply = file.readAll();
    }

    // Each port once: the first entry that names it wins.
    std::map<quint16, FakeGameServer> wanted;
    for (const QString& p : options.values(port)) {
        bool ok = false;
        const uint n = p.toUInt(&ok);
        if (!ok || n > 65535)
            fail(QStringLiteral("not a port: ") + p);
        wanted.try_emplace(quint16(n), server);
    }
    for (const QString& file : options.values(list)) {
        for (const QString& line : TextFile::readLines(file)) {
            const QStringList fields = line.split(QStringLiteral(" - "));
            bool ok = false;
            const uint n = fields.value(2).toUInt(&ok);
            if (fields.size() != 3 || fields.at(1) != QStringLiteral("127.0.0.1") || !ok || n == 0 ||
                n > 65535)
                continue;
            FakeGameServer named = server;
            named.hostName = fields.at(0);
            wanted.try_emplace(quint16(n), named);
        }
    }
    CrowdShape shape;
    shape.count = wholeNumber(options, servers, 1, 10000);
    std::tie(shape.minDelayMs, shape.maxDelayMs) = delayRange(options.value(delay));
    shape.silentPercent = wholeNumber(options, silent, 0, 100);
    if (options.isSet(todays))
        shape.todaysHalfLifePercent = wholeNumber(options, todays, 0, 100);
    shape.randomPlayers = options.isSet(randomPlayers);
    shape.seed = quint32(wholeNumber(options, seed, 0, std::numeric_limits<int>::max()));
    const int first = wholeNumber(options, firstPort, 0, 65535);
    if (first > 0 && first + shape.count - 1 > 65535)
        fail(QStringLiteral("--servers runs past port 65535"));
    // Apart from those of --port and --list, the crowd (a single server by default).
    QList<std::pair<quint16, FakeGameServer>> toBind;
    for (const auto& [wantedPort, wantedServer] : wanted)
        toBind.append({wantedPort, wantedServer});
    if (wanted.empty() || options.isSet(servers)) {
        const QList<FakeGameServer> crowd = makeCrowd(server, shape);
        for (int i = 0; i < crowd.size(); ++i)
            toBind.append({quint16(first > 0 ? first + i : 0), crowd.at(i)});
    }

    GameResponder responder;
    responder.setLoss(wholeNumber(options, loss, 0, 100), shape.seed);
    QStringList entries;
    for (auto& [wantedPort, wantedServer] : toBind) {
        QString error;
        const QString name = wantedServer.hostName;
        const quint16 bound = responder.listen(wantedPort, std::move(wantedServer), &error);
        if (bound == 0)
            fail(QStringLiteral("port ") + QString::number(wantedPort) + QStringLiteral(": ") + error);
        std::printf("127.0.0.1:%u %s\n", unsigned(bound), qPrintable(name));
        entries.append(ServerEntry::build(name, QStringLiteral("127.0.0.1"), QString::number(bound)));
    }
    if (options.isSet(writeList)) {
        QString error;
        if (!TextFile::writeLines(options.value(writeList), entries, &error))
            fail(options.value(writeList) + QStringLiteral(": ") + error);
    }
    std::fflush(stdout);
    return app.exec();
}
