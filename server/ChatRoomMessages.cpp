// Public lines, private relay, follow requests and news.
#include "server/ChatRoom.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "server/AccountStore.h"
#include "server/DatabaseThreads.h"
#include "server/MemberSession.h"
#include "server/NameRules.h"

#include <QPointer>

#include <algorithm>

namespace {

// Free text is the last field; a "|¿|" typed by the user split it, so it is joined again.
QString textFrom(const QStringList& fields, qsizetype first) {
    return fields.mid(first).join(ChatProtocol::Separator);
}

// The sender writes "/SENDFILE|@|path|@|port"; the receiver connects back to the sender, so the
// relayed offer carries the sender's address as the server sees it: "/SENDFILE path|@|port|@|address".
// Only an offer with a file and a port number is relayed: anything else would leave the receiver
// with no address or a garbled one. Returns an empty string for such an offer.
QString rewriteFileOffer(const QString& text, const QString& senderAddress) {
    QString rest = text.mid(ChatProtocol::SendFile.size());
    if (rest.startsWith(ChatProtocol::ListSeparator))
        rest = rest.mid(ChatProtocol::ListSeparator.size());
    else if (rest.startsWith(u' '))
        rest = rest.mid(1);
    else
        return {};
    const QStringList parts = rest.split(ChatProtocol::ListSeparator);
    const QString path = parts.value(0);
    const QString port = parts.value(1).trimmed();
    bool numeric = false;
    const uint portNumber = port.toUInt(&numeric);
    const bool portOk = numeric && portNumber >= 1 && portNumber <= 65535 &&
                        std::all_of(port.cbegin(), port.cend(), [](QChar c) { return c.isDigit(); });
    if (parts.size() != 2 || path.trimmed().isEmpty() || path.contains(ChatProtocol::Separator) || !portOk)
        return {};
    return QStringLiteral("%1 %2%3%4%3%5")
        .arg(ChatProtocol::SendFile, path, ChatProtocol::ListSeparator, port, senderAddress);
}

} // namespace

bool ChatRoom::refuseIfMuzzled(MemberSession* session) {
    if (!m_muzzled.contains(NameRules::key(session->accountName())))
        return false;
    serverMessage(session, QStringLiteral("You are suspended by an operator; your lines are not delivered."));
    return true;
}

void ChatRoom::handleMsg(MemberSession* session, const QStringList& fields) {
    const QString text = textFrom(fields, 1);
    // An empty line would only show the sender's name to everyone.
    if (text.trimmed().isEmpty())
        return;
    if (text.startsWith(ChatProtocol::SeenQuery)) {
        answerSeen(session, text.mid(ChatProtocol::SeenQuery.size()).trimmed());
        return;
    }
    if (text.trimmed() == ChatProtocol::OpsQuery) {
        answerOps(session);
        return;
    }
    if (refuseIfMuzzled(session))
        return;
    broadcast(
        ChatMessage::build(ChatProtocol::Msg, {QStringLiteral("<%1> %2").arg(session->displayName(), text)}));
    counted(ServerMetrics::Relayed::Public);
}

void ChatRoom::answerSeen(MemberSession* session, const QString& name) {
    if (const MemberSession* member = online(name)) {
        notice(session, QStringLiteral("%1 is here now.").arg(member->displayName()));
        return;
    }
    // A departure of this run is known here, whether the database answers or not.
    if (const QDateTime departed = m_departedAt.value(NameRules::key(name)); departed.isValid()) {
        tellLastSeen(session, name, departed);
        return;
    }
    struct Found {
        bool isAccount = false;
        std::optional<QDateTime> seen;
    };
    const auto found = std::make_shared<Found>();
    m_database.read(
        this,
        [found, name](AccountStore& store) {
            found->isAccount = store.accountExists(name);
            found->seen = store.lastSeen(name);
        },
        [this, session = QPointer(session), found, name](bool succeeded) {
            if (!session)
                return;
            if (!succeeded)
                notice(session, troubleText(QStringLiteral("%1 cannot be looked up").arg(name)));
            else if (!found->isAccount)
                notice(session, QStringLiteral("%1 has never been here.").arg(name));
            else if (!found->seen)
                notice(session, QStringLiteral("%1 has not been seen yet.").arg(name));
            else
                tellLastSeen(session, name, *found->seen);
        });
}

void ChatRoom::tellLastSeen(MemberSession* session, const QString& name, const QDateTime& when) {
    notice(session, QStringLiteral("%1 was last seen on %2 UTC.")
                        .arg(name, when.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))));
}

void ChatRoom::answerOps(MemberSession* session) {
    const auto operators = std::make_shared<QStringList>();
    m_database.read(
        this, [operators](AccountStore& store) { *operators = store.operators(); },
        [this, session = QPointer(session), operators](bool succeeded) {
            if (!session)
                return;
            if (!succeeded) {
                notice(session, troubleText(QStringLiteral("the operators cannot be listed")));
                return;
            }
            QSet<QString> operatorKeys;
            for (const QString& name : std::as_const(*operators))
                operatorKeys.insert(NameRules::key(name));
            QStringList present;
            for (const MemberSession* member : std::as_const(m_members)) {
                if (operatorKeys.contains(NameRules::key(member->accountName())))
                    present.append(member->displayName());
            }
            if (present.isEmpty())
                notice(session, QStringLiteral("No operator is online."));
            else
                notice(session,
                       QStringLiteral("Operators online: %1").arg(present.join(QStringLiteral(", "))));
        });
}

void ChatRoom::handlePrivate(MemberSession* session, const QStringList& fields) {
    const QString target = ChatMessage::field(fields, 1);
    QString text = textFrom(fields, 2);
    if (refuseIfMuzzled(session))
        return;
    MemberSession* receiver = online(target);
    if (!receiver) {
        notice(session,
               QStringLiteral("%1 is not online; your private message was not delivered.").arg(target));
        return;
    }
    // The receiving client takes any text starting "/SENDFILE" as an offer.
    if (text.startsWith(ChatProtocol::SendFile)) {
        text = rewriteFileOffer(text, session->address());
        if (text.isEmpty()) {
            notice(session, QStringLiteral("Your file offer to %1 was not sent: it needs a file and a port "
                                           "number from 1 to 65535.")
                                .arg(receiver->displayName()));
            return;
        }
    }
    receiver->send(ChatMessage::build(ChatProtocol::PrivateMsg,
                                      {QStringLiteral("<%1> %2").arg(session->displayName(), text)}));
    counted(ServerMetrics::Relayed::Private);
}

void ChatRoom::handleFollow(MemberSession* session, const QStringList& fields) {
    // The follower is the sender as we know it; the name it claims in field 2 is not trusted.
    MemberSession* followed = online(ChatMessage::field(fields, 1));
    if (!followed || followed == session) {
        notice(session, QStringLiteral("%1 is not online.").arg(ChatMessage::field(fields, 1)));
        return;
    }
    m_pendingFollows.insert(
        {NameRules::key(session->displayName()), NameRules::key(followed->displayName())});
    followed->send(ChatMessage::build(ChatProtocol::FollowUserBack, {session->displayName()}));
}

void ChatRoom::handleFollowAnswer(MemberSession* session, const QStringList& fields) {
    // Only an answer to a request actually made is passed on: the answer makes the follower's
    // client join a game server, which nobody else should be able to trigger.
    MemberSession* follower = online(ChatMessage::field(fields, 1));
    if (!follower)
        return;
    const QPair<QString, QString> request{NameRules::key(follower->displayName()),
                                          NameRules::key(session->displayName())};
    if (!m_pendingFollows.remove(request))
        return;
    follower->send(ChatMessage::build(ChatProtocol::FollowUserFinal,
                                      {ChatMessage::field(fields, 2), ChatMessage::field(fields, 3),
                                       ChatMessage::field(fields, 4), ChatMessage::field(fields, 5)}));
}

void ChatRoom::handleNews(MemberSession* session, const QStringList& fields) {
    if (refuseIfMuzzled(session))
        return;
    const QString headline = ChatMessage::field(fields, 1).trimmed();
    const QString body = textFrom(fields, 2).trimmed();
    if (headline.isEmpty() && body.isEmpty()) {
        notice(session, QStringLiteral("Empty news is not posted."));
        return;
    }
    const AccountStore::NewsItem item{session->displayName(), headline, body, m_now()};
    m_database.change(
        this, [item](AccountStore& store) { store.postNews(item); },
        [this, session = QPointer(session), item](bool committed) {
            if (!committed) {
                if (session)
                    databaseTrouble(session, QStringLiteral("your news was not posted"));
                return;
            }
            m_latestNews = item;
            m_newsKnown = true;
            const QString shown =
                QStringLiteral("News from %1: %2 - %3").arg(item.author, item.headline, item.body);
            for (MemberSession* member : QList<MemberSession*>(m_members))
                serverMessage(member, shown);
        });
}
