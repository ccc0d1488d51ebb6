#pragma once

#include "servers/ServerStatus.h"

// Kingpin's status reply: a header line, the info string ("\key\value..." with "hostname" and
// "maxclients"), then one line per player.
namespace QuakeII {
// A key without a value is passed over and the parse goes on.
ServerStatus ParseReply(const QString& reply);
} // namespace QuakeII
