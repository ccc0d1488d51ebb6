#pragma once

#include <QHostAddress>
#include <QString>

// How a member's address is written in bans, account records and relayed file offers.
namespace AddressRules {

// Dotted IPv4 for IPv4 and IPv4-mapped peers, the usual IPv6 text otherwise.
QString text(const QHostAddress& address);

// The /24 of an IPv4 address ("10.1.2"); for IPv6 the first four groups (a /64).
QString subnetOf(const QString& addressText);

} // namespace AddressRules
