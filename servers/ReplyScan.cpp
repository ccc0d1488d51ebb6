#include "servers/ReplyScan.h"

namespace ReplyScan {

bool scanKeys(const QStringList& pieces, const Keys& keys, KeyWithoutValue rule, ServerStatus& status) {
    const qsizetype n = pieces.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QString& piece = pieces.at(i);
        std::optional<QString>* label = nullptr;
        if (piece == keys.version)
            label = &status.version;
        else if (piece == keys.maxPlayers)
            label = &status.maxPlayers;
        else if (piece == keys.mapName)
            label = &status.mapName;
        else if (piece == keys.hostName)
            label = &status.hostName;
        if (!label)
            continue;
        if (i + 1 >= n) {
            if (rule == KeyWithoutValue::Stop)
                return false;
            continue;
        }
        *label = pieces.at(i + 1);
    }
    return true;
}

QList<PlayerRow> playerRows(const QStringList& lines) {
    QList<PlayerRow> rows;
    // Ping and name by the row they are addressed to: line i writes to row i - 1 (counted from 1).
    QList<PlayerRow> addressed(qMax<qsizetype>(lines.size() - 2, 0));
    for (qsizetype i = 2; i < lines.size(); ++i) {
        const QString& line = lines.at(i);
        if (line.isEmpty())
            continue;
        const QStringList tokens = line.split(u' ');
        rows.append(PlayerRow{tokens.at(0), {}, {}});
        PlayerRow& cells = addressed[i - 2];
        cells.ping = tokens.value(1);
        cells.name = tokens.value(2);
    }
    for (qsizetype r = 0; r < rows.size(); ++r) {
        rows[r].ping = addressed.at(r).ping;
        rows[r].name = addressed.at(r).name;
    }
    return rows;
}

} // namespace ReplyScan
