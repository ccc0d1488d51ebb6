#include "server/ChatRoom.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/PasswordRule.h"
#include "common/Windows1252.h"
#include "server/AccountStore.h"
#include "server/AddressRules.h"
#include "server/MemberSession.h"
#include "server/NameRules.h"

const QString ChatRoom::ServerName = QStringLiteral("Quorvel");

ChatRoom::ChatRoom(AccountStore& store, const ServerLimits& limits, NowFunction now, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_limits(limits)
    , m_now(std::move(now)) {}

QStringList ChatRoom::onlineNames() const {
    QStringList names;
    for (const MemberSession* member : m_members)
        names.append(member->displayName());
    return names;
}

void ChatRoom::handle(MemberSession* session, const QStringList& fields) {
    const QString word = fields.first();
    switch (session->state()) {
    case MemberSession::State::Connected:
        if (word == ChatProtocol::Login)
            handleLogin(session, fields);
        else if (word == ChatProtocol::NewAccount)
            handleNewAccount(session, fields);
        return;
    case MemberSession::State::AwaitingNick:
        if (word == ChatProtocol::Nick)
            handleNick(session, fields);
        return;
    case MemberSession::State::Closing:
        return;
    case MemberSession::State::SignedOn:
        break;
    }
    if (word == ChatProtocol::Msg)
        handleMsg(session, fields);
    else if (word == ChatProtocol::PrivateMsg)
        handlePrivate(session, fields);
    else if (word == ChatProtocol::FollowUser)
        handleFollow(session, fields);
    else if (word == ChatProtocol::FollowUserBack)
        handleFollowAnswer(session, fields);
    else if (word == ChatProtocol::News)
        handleNews(session, fields);
    else if (word == ChatProtocol::Ops)
        handleOps(session, fields);
    // PING answers only show the member is alive; the session has noted that. Anything else is ignored.
}

void ChatRoom::handleLogin(MemberSession* session, const QStringList& fields) {
    const QString name = ChatMessage::field(fields, 1);
    const QString password = ChatMessage::field(fields, 2);
    const std::optional<QString> account =
        NameRules::isValidName(name) ? m_store.verify(name, password) : std::nullopt;
    const QString address = session->address();
    if (!account || m_store.isBanned(*account, address, AddressRules::subnetOf(address), m_now())) {
        session->send(QString(ChatProtocol::Invalid));
        session->closeAfterSending();
        return;
    }
    session->setAccountName(*account);
    if (online(*account)) {
        // The account is signed on elsewhere: this session must pick another display name.
        session->setState(MemberSession::State::AwaitingNick);
        session->send(QString(ChatProtocol::Nick));
        return;
    }
    signOn(session, *account);
}

void ChatRoom::handleNick(MemberSession* session, const QStringList& fields) {
    const QString wanted = ChatMessage::field(fields, 1);
    if (!NameRules::isValidName(wanted) || !isDisplayNameFree(wanted, session->accountName())) {
        session->send(QString(ChatProtocol::Nick));
        return;
    }
    signOn(session, wanted);
}

bool ChatRoom::isDisplayNameFree(const QString& name, const QString& ownAccount) const {
    if (online(name) || NameRules::key(name) == NameRules::key(ServerName))
        return false;
    // Another member's account name is theirs even while they are away.
    return NameRules::key(name) == NameRules::key(ownAccount) || !m_store.accountExists(name);
}

void ChatRoom::handleNewAccount(MemberSession* session, const QStringList& fields) {
    AccountStore::NewAccount account;
    account.name = ChatMessage::field(fields, 1);
    account.password = ChatMessage::field(fields, 2);
    account.age = ChatMessage::field(fields, 3);
    account.email = ChatMessage::field(fields, 4);
    account.website = ChatMessage::field(fields, 5);
    account.hobbies = ChatMessage::field(fields, 6);
    account.address = session->address();
    const bool acceptable = NameRules::isValidName(account.name) &&
                            NameRules::key(account.name) != NameRules::key(ServerName) &&
                            PasswordRule::isAcceptable(account.password);
    if (acceptable && m_store.createAccount(account, m_limits.accountsPerAddress, m_now()) ==
                          AccountStore::CreateResult::Created) {
        // The account is committed; only now is it acknowledged.
        session->send(QString(ChatProtocol::Done));
        return;
    }
    session->send(QString(ChatProtocol::InUse));
}

void ChatRoom::signOn(MemberSession* session, const QString& displayName) {
    session->setDisplayName(displayName);
    session->setState(MemberSession::State::SignedOn);
    m_members.append(session);
    m_byName.insert(NameRules::key(displayName), session);
    for (const MemberSession* member : std::as_const(m_members))
        session->send(ChatMessage::build(ChatProtocol::List, {member->displayName()}));
    broadcast(ChatMessage::build(ChatProtocol::Join, {displayName}), session);
    if (!m_messageOfTheDay.isEmpty())
        serverMessage(session, m_messageOfTheDay);
    if (const auto news = m_store.latestNews()) {
        serverMessage(session, QStringLiteral("Latest news (%1, %2): %3 - %4")
                                   .arg(news->posted.toString(QStringLiteral("yyyy-MM-dd")), news->author,
                                        news->headline, news->body));
    }
    emit memberSignedOn(displayName);
}

void ChatRoom::departed(MemberSession* session) {
    const qsizetype index = m_members.indexOf(session);
    if (index < 0)
        return;
    m_members.removeAt(index);
    m_byName.remove(NameRules::key(session->displayName()));
    const QString key = NameRules::key(session->displayName());
    for (auto it = m_pendingFollows.begin(); it != m_pendingFollows.end();) {
        if (it->first == key || it->second == key)
            it = m_pendingFollows.erase(it);
        else
            ++it;
    }
    m_store.recordSeen(session->accountName(), m_now());
    broadcast(ChatMessage::build(ChatProtocol::Part, {session->displayName()}));
    emit memberLeft(session->displayName());
}

void ChatRoom::removeFromRoom(MemberSession* session, const QString& closingNotice) {
    serverMessage(session, closingNotice);
    session->closeAfterSending();
    departed(session);
}

MemberSession* ChatRoom::online(const QString& displayName) const {
    return m_byName.value(NameRules::key(displayName), nullptr);
}

void ChatRoom::broadcast(const QString& message, MemberSession* except) {
    // A copy: a member dropped for not reading leaves through the event loop, never mid-loop.
    const QList<MemberSession*> members = m_members;
    const QByteArray line = Windows1252::encode(message + ChatProtocol::LineEnd);
    const DeliveryQueue::Kind kind = DeliveryQueue::classify(line, m_limits.strictDelivery);
    for (MemberSession* member : members) {
        if (member != except)
            member->sendEncoded(line, kind);
    }
}

void ChatRoom::notice(MemberSession* session, const QString& text) {
    session->send(ChatMessage::build(ChatProtocol::Msg, {QStringLiteral("<%1> %2").arg(ServerName, text)}));
}

void ChatRoom::serverMessage(MemberSession* session, const QString& text) {
    session->send(ChatMessage::build(ChatProtocol::ServerMsg, {text}));
}
