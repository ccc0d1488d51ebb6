// quorvel-game-responder: pretends to be Kingpin, RTCW and Half-Life servers (of old, or of today
// with --a2s --no-info) on 127.0.0.1, for tests and demonstrations of the server monitor.
#include "GameResponder.h"

#include "common/TextFile.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>

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

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quorvel-game-responder"));

    QCommandLineParser options;
    options.setApplicationDescription(QStringLiteral(
        "Answers the Kingpin, RTCW and Half-Life status queries on 127.0.0.1 as real servers do."));
    options.addHelpOption();
    const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("Port to answer on (0: a free one); repeatable."),
                                  QStringLiteral("port"));
    const QCommandLineOption list(QStringLiteral("list"),
                                  QStringLiteral("Master-list file: answer for each of its 127.0.0.1 entries, "
                                                 "named after its description; repeatable."),
                                  QStringLiteral("file"));
    const QCommandLineOption hostName(QStringLiteral("hostname"), QStringLiteral("Server name."), QStringLiteral("name"));
    const QCommandLineOption map(QStringLiteral("map"), QStringLiteral("Map name."), QStringLiteral("map"));
    const QCommandLineOption version(QStringLiteral("version-string"), QStringLiteral("Version string."),
                                     QStringLiteral("text"));
    const QCommandLineOption maxPlayers(QStringLiteral("max-players"), QStringLiteral("Player limit."),
                                        QStringLiteral("n"), QStringLiteral("16"));
    const QCommandLineOption player(QStringLiteral("player"), QStringLiteral("A player as name,score,ping; repeatable."),
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
    options.addOptions({port, list, hostName, map, version, maxPlayers, player, replyFile, noInfo, source,
                        sourceChallenge, sourceParts});
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
    if (wanted.empty())
        wanted.emplace(quint16(0), server);

    GameResponder responder;
    for (auto& [wantedPort, wantedServer] : wanted) {
        QString error;
        const QString name = wantedServer.hostName;
        const quint16 bound = responder.listen(wantedPort, std::move(wantedServer), &error);
        if (bound == 0)
            fail(QStringLiteral("port ") + QString::number(wantedPort) + QStringLiteral(": ") + error);
        std::printf("127.0.0.1:%u %s\n", unsigned(bound), qPrintable(name));
    }
    std::fflush(stdout);
    return app.exec();
}
