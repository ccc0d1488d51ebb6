// OPS: moderation by operators. Operators are granted on the command line (quorvel-server op add).
#include "server/ChatRoom.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "server/AccountStore.h"
#include "server/AddressRules.h"
#include "server/DatabaseThreads.h"
#include "server/MemberSession.h"
#include "server/NameRules.h"

#include <QPointer>

namespace {
constexpr int TimedBanMinutes = 60;
}

void ChatRoom::handleOps(MemberSession* session, const QStringList& fields) {
    // Checked at every command, so "op remove" takes effect on a running server.
    const auto isOperator = std::make_shared<bool>(false);
    m_database.read(
        this,
        [isOperator, account = session->accountName()](AccountStore& store) {
            *isOperator = store.isOperator(account);
        },
        [this, session = QPointer(session), isOperator, fields](bool succeeded) {
            if (!session || session->state() != MemberSession::State::SignedOn)
                return;
            if (!succeeded)
                notice(session, troubleText(QStringLiteral("your operator command was not carried out")));
            else if (!*isOperator)
                notice(session, QStringLiteral("Only operators can use operator commands."));
            else
                carryOutOps(session, fields);
        });
}

void ChatRoom::carryOutOps(MemberSession* session, const QStringList& fields) {
    const QString word = ChatMessage::field(fields, 1);
    const QString target = ChatMessage::field(fields, 2);
    const bool needsTarget = word == ChatProtocol::OpKick || word == ChatProtocol::OpBan ||
                             word == ChatProtocol::OpSubnet || word == ChatProtocol::OpMuzzle;
    const MemberSession* member = online(target);
    const QString targetAccount = member ? member->accountName() : target;
    if (needsTarget && NameRules::key(targetAccount) == NameRules::key(session->accountName())) {
        notice(session, QStringLiteral("Operator commands do not act on yourself."));
        return;
    }
    if (word == ChatProtocol::OpKick)
        kick(session, target);
    else if (word == ChatProtocol::OpBan)
        ban(session, target);
    else if (word == ChatProtocol::OpSubnet)
        subnetBan(session, target);
    else if (word == ChatProtocol::OpMuzzle)
        muzzle(session, target);
    else if (word == ChatProtocol::OpClearSubnetBans || word == ChatProtocol::OpClearPermanentBans ||
             word == ChatProtocol::OpClearTimedBans)
        clearBans(session, word);
    else
        notice(session, QStringLiteral("Unknown operator command."));
}

// Kicks, bans and suspensions go with the account: every session it has, whatever display
// name it took, and a session still choosing its name.
void ChatRoom::kick(MemberSession* op, const QString& target) {
    MemberSession* member = online(target);
    if (!member) {
        notice(op, QStringLiteral("%1 is not online.").arg(target));
        return;
    }
    const QString name = member->displayName();
    removeAccount(member->accountName(), QStringLiteral("You were kicked by %1.").arg(op->displayName()));
    notice(op, QStringLiteral("%1 was kicked.").arg(name));
}

void ChatRoom::ban(MemberSession* op, const QString& target) {
    MemberSession* member = online(target);
    const QString account = member ? member->accountName() : target;
    // The name, and each address the account is using now.
    QStringList addresses;
    for (const MemberSession* session : sessionsOfAccount(account)) {
        if (!addresses.contains(session->address()))
            addresses.append(session->address());
    }
    if (addresses.isEmpty())
        addresses.append(QString());
    // Decided at the first try; a retry goes on from the first address not stored yet.
    struct Outcome {
        bool isAccount = true;
        std::optional<bool> escalate;
        qsizetype stored = 0;
    };
    const auto outcome = std::make_shared<Outcome>();
    m_database.change(
        this,
        [=, online = member != nullptr, now = m_now()](AccountStore& store) {
            if (!outcome->escalate) {
                const bool isAccount = online || store.accountExists(account);
                // A second BAN on a name still under its 60-minute ban makes the ban permanent.
                const bool escalate = isAccount && store.hasActiveBan(BanKind::Timed, account, now);
                if (store.failed())
                    return;
                outcome->isAccount = isAccount;
                outcome->escalate = escalate;
            }
            if (!outcome->isAccount)
                return;
            const BanKind kind = *outcome->escalate ? BanKind::Permanent : BanKind::Timed;
            const std::optional<QDateTime> expires =
                *outcome->escalate ? std::nullopt
                                   : std::optional<QDateTime>(now.addSecs(TimedBanMinutes * 60));
            for (; outcome->stored < addresses.size(); ++outcome->stored) {
                if (!store.addBan(kind, account, addresses.at(outcome->stored), expires))
                    return;
            }
        },
        [this, op = QPointer(op), account, target, outcome](bool committed) {
            if (!committed) {
                if (op)
                    notice(op, QStringLiteral("The ban could not be stored."));
                return;
            }
            if (!outcome->isAccount) {
                if (op)
                    notice(op, QStringLiteral("There is no member %1.").arg(target));
                return;
            }
            const QString what = *outcome->escalate ? QStringLiteral("permanently banned")
                                                    : QStringLiteral("banned for 60 minutes");
            const QString by = op ? op->displayName() : QStringLiteral("an operator");
            removeAccount(account, QStringLiteral("You were %1 by %2.").arg(what, by));
            if (op)
                notice(op, QStringLiteral("%1 was %2.").arg(target, what));
        });
}

void ChatRoom::subnetBan(MemberSession* op, const QString& target) {
    MemberSession* member = online(target);
    if (!member) {
        notice(op, QStringLiteral("%1 is not online; a subnet ban needs their address.").arg(target));
        return;
    }
    const QString subnet = AddressRules::subnetOf(member->address());
    m_database.change(
        this,
        [subnet, account = member->accountName()](AccountStore& store) {
            store.addBan(BanKind::Subnet, account, subnet, std::nullopt);
        },
        [this, op = QPointer(op), account = member->accountName(), name = member->displayName(),
         subnet](bool committed) {
            if (!committed) {
                if (op)
                    notice(op, QStringLiteral("The ban could not be stored."));
                return;
            }
            const QString by = op ? op->displayName() : QStringLiteral("an operator");
            removeAccount(account, QStringLiteral("Your network was banned by %1.").arg(by));
            if (op)
                notice(op, QStringLiteral("The subnet of %1 (%2) was banned.").arg(name, subnet));
        });
}

void ChatRoom::muzzle(MemberSession* op, const QString& target) {
    MemberSession* member = online(target);
    if (!member) {
        notice(op, QStringLiteral("%1 is not online.").arg(target));
        return;
    }
    // MUZZLE on a suspended member lifts the suspension.
    const QString key = NameRules::key(member->accountName());
    const bool lift = m_muzzled.remove(key);
    if (!lift)
        m_muzzled.insert(key);
    const QString told = lift ? QStringLiteral("Your suspension was lifted by %1.")
                              : QStringLiteral("You were suspended by %1.");
    for (MemberSession* session : sessionsOfAccount(member->accountName()))
        serverMessage(session, told.arg(op->displayName()));
    notice(op, (lift ? QStringLiteral("%1 may speak again.") : QStringLiteral("%1 was suspended."))
                   .arg(member->displayName()));
}

void ChatRoom::clearBans(MemberSession* op, const QString& word) {
    const BanKind kind = word == ChatProtocol::OpClearSubnetBans      ? BanKind::Subnet
                         : word == ChatProtocol::OpClearPermanentBans ? BanKind::Permanent
                                                                      : BanKind::Timed;
    const auto removed = std::make_shared<int>(-1);
    m_database.change(
        this, [kind, removed](AccountStore& store) { *removed = store.clearBans(kind); },
        [this, op = QPointer(op), kind, removed](bool committed) {
            if (!op)
                return;
            if (!committed || *removed < 0) {
                notice(op, QStringLiteral("The bans could not be cleared."));
                return;
            }
            notice(op, QStringLiteral("Cleared %1 %2 bans.").arg(*removed).arg(banKindText(kind)));
        });
}
