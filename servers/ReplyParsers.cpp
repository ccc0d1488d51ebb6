// The three reply parsers differ only in their key names, the separator of their fields and how
// they take a key without a value.
#include "servers/HalfLife.h"
#include "servers/QuakeII.h"
#include "servers/RTCW.h"
#include "servers/ReplyScan.h"

using namespace Qt::StringLiterals;

namespace {

ServerStatus parseQuakeFamily(const QString& reply, const ReplyScan::Keys& keys, ReplyScan::KeyWithoutValue rule) {
    ServerStatus status;
    if (!ReplyScan::scanKeys(reply.split(u'\\'), keys, rule, status))
        return status;
    status.players = ReplyScan::playerRows(reply.split(u'\n'));
    return status;
}

} // namespace

ServerStatus QuakeII::ParseReply(const QString& reply) {
    return parseQuakeFamily(reply, {"version"_L1, "maxclients"_L1, "mapname"_L1, "hostname"_L1},
                            ReplyScan::KeyWithoutValue::Skip);
}

ServerStatus RTCW::ParseReply(const QString& reply) {
    return parseQuakeFamily(reply, {"version"_L1, "sv_maxclients"_L1, "mapname"_L1, "sv_hostname"_L1},
                            ReplyScan::KeyWithoutValue::Stop);
}

ServerStatus HalfLife::ParseReply(const QString& reply) {
    ServerStatus status;
    if (ReplyScan::scanKeys(reply.split(QChar(0)), {"version"_L1, "maxclients"_L1, "mapname"_L1, "hostname"_L1},
                            ReplyScan::KeyWithoutValue::Stop, status))
        status.players = QList<PlayerRow>{};
    return status;
}
