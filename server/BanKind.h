#pragma once

#include <QString>

// The three kinds of ban an operator can place; each has its own OPS word to clear it.
enum class BanKind {
    Timed,     // 60 minutes, on the account name and the address it used (OPS BAN; cleared by CRB)
    Permanent, // no expiry, same scope (OPS BAN on a name already under a timed ban; cleared by CPB)
    Subnet,    // no expiry, every address of the member's /24 (OPS SUBNET; cleared by CSB)
};

inline QString banKindText(BanKind kind) {
    switch (kind) {
    case BanKind::Timed:
        return QStringLiteral("timed");
    case BanKind::Permanent:
        return QStringLiteral("permanent");
    case BanKind::Subnet:
        return QStringLiteral("subnet");
    }
    return {};
}
