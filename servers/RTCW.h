#pragma once

#include "servers/ServerStatus.h"

// RTCW's statusResponse: laid out as Kingpin's reply, with "sv_hostname" and "sv_maxclients".
namespace RTCW {
// A key without a value ends the parse there: the labels found so far change, the players list
// keeps its rows.
ServerStatus ParseReply(const QString& reply);
} // namespace RTCW
