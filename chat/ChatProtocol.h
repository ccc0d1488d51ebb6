#pragma once

#include <QLatin1StringView>
#include <QString>

// Every word and fixed text of the chat protocol, shared by the client and quorvel-server.
namespace ChatProtocol {

inline constexpr quint16 DefaultChatPort = 27800;
inline constexpr quint16 DefaultHttpPort = 27801;
// The same two services over TLS.
inline constexpr quint16 DefaultTlsChatPort = 27802;
inline constexpr quint16 DefaultHttpsPort = 27803;

// "|¿|": the inverted question mark travels as the single byte 0xBF.
inline const QString Separator = QStringLiteral("|\u00BF|");
inline const QString LineEnd = QStringLiteral("\r\n");
// Separates the entries of an identification list and the fields of a file offer inside PMSG text.
inline const QString ListSeparator = QStringLiteral("|@|");

// Client to server.
inline constexpr QLatin1StringView Login{"LOGIN"};
inline constexpr QLatin1StringView Nick{"NICK"};
inline constexpr QLatin1StringView Ping{"PING"};
inline constexpr QLatin1StringView Msg{"MSG"};
inline constexpr QLatin1StringView PrivateMsg{"PMSG"};
inline constexpr QLatin1StringView FollowUser{"FOLLOWUSER"};
inline constexpr QLatin1StringView FollowUserBack{"FOLLOWUSERBACK"};
inline constexpr QLatin1StringView News{"NEWS"};
inline constexpr QLatin1StringView Ops{"OPS"};
// The account request; the system leaves its word open, see docs/protocol.md.
inline constexpr QLatin1StringView NewAccount{"NEWACCOUNT"};

// Server to client, in the order the dispatcher tests them (FollowUserBack and Ping above too).
inline constexpr QLatin1StringView FollowUserFinal{"FOLLOWUSERFINAL"};
inline constexpr QLatin1StringView InUse{"INUSE"};
inline constexpr QLatin1StringView Done{"DONER"};
inline constexpr QLatin1StringView Invalid{"INVALID"};
inline constexpr QLatin1StringView List{"LIST"};
inline constexpr QLatin1StringView Join{"JOIN"};
inline constexpr QLatin1StringView Part{"PART"};
inline constexpr QLatin1StringView ServerMsg{"SMSG"};

// Operator sub-commands carried by OPS.
inline constexpr QLatin1StringView OpKick{"KICK"};
inline constexpr QLatin1StringView OpBan{"BAN"};
inline constexpr QLatin1StringView OpSubnet{"SUBNET"};
inline constexpr QLatin1StringView OpMuzzle{"MUZZLE"};
inline constexpr QLatin1StringView OpClearSubnetBans{"CSB"};
inline constexpr QLatin1StringView OpClearPermanentBans{"CPB"};
inline constexpr QLatin1StringView OpClearTimedBans{"CRB"};

// Private-channel control texts carried as PMSG text.
inline constexpr QLatin1StringView WhoAmI{"/WHOAMI"};
inline constexpr QLatin1StringView WhoYou{"/WHOYOU"};
inline constexpr QLatin1StringView SendFile{"/SENDFILE"};
inline constexpr QLatin1StringView SendDecline{"/SENDDECLINE"};
inline constexpr QLatin1StringView IgnoredYou{"User has ignored you"};
inline constexpr QLatin1StringView IgnoringAllPm{"is ignoring all PM msg's"};

// Public lines the server answers itself.
inline constexpr QLatin1StringView SeenQuery{"!Seen "};
inline constexpr QLatin1StringView OpsQuery{"/Ops"};

} // namespace ChatProtocol
