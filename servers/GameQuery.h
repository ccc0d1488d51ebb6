#pragma once

#include "servers/ServerStatus.h"

#include <QByteArray>
#include <QString>

// The status query of a game server: the request datagram of each game, the checks made on the
// address and port fields before it goes out, and the choice of parser for a reply.
namespace GameQuery {

// Four 0xFF bytes and the game's status word, no terminator; empty for any other game key.
QByteArray requestDatagram(const QString& gameKey);

enum class Check { MissingAddress, MissingPort, PortNotNumeric, PortOutOfRange, Ready };
struct Target {
    Check check = Check::MissingAddress;
    quint16 port = 0;
};
// The address field empty: nothing at all happens. The port text is read as a number rounded to
// the nearest whole; one outside 1..65535 cannot be sent to and is passed over silently.
Target checkTarget(const QString& address, const QString& portText);

// The reply parsed by the parser of the game selected now, whatever game sent it.
// Another game key changes nothing.
ServerStatus parseReply(const QString& gameKey, const QString& reply);

} // namespace GameQuery
