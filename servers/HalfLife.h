#pragma once

#include "servers/ServerStatus.h"

// A Half-Life reply: fields separated by NUL, a key's value in the field after it.
namespace HalfLife {
// The players list is always emptied: a Half-Life server's players are not read from its reply.
// A key without a value ends the parse there, the list keeping its rows.
ServerStatus ParseReply(const QString& reply);
} // namespace HalfLife
