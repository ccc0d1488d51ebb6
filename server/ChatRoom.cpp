#include "server/ChatRoom.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/PasswordRule.h"
#include "common/Windows1252.h"
#include "server/AccountStore.h"
#include "server/AddressRules.h"
#include "server/DatabaseThreads.h"
#include "server/MemberSession.h"
#include "server/NameRules.h"
#include "server/PasswordHasher.h"
#include "server/RelayedText.h"

#include <QMessageAuthenticationCode>
#include <QPointer>
#include <QTimer>

const QString ChatRoom::ServerName = QStringLiteral("Quorvel");

ChatRoom::ChatRoom(DatabaseThreads& database, const ServerLimits& limits, NowFunction now, QObject* parent)
    : QObject(parent)
    , m_database(database)
    , m_hasher(new PasswordHasher(this))
    , m_limits(limits)
    , m_now(std::move(now))
    , m_throttle({.firstDelayMs = limits.signOnDelayMs}, [this] { return m_uptime.elapsed(); })
    , m_pace({.accountSpacingMs = limits.signOnAgainMs,
              .perAddressPerMinute = limits.signOnsPerAddressPerMinute},
             [this] { return m_uptime.elapsed(); })
    , m_standInKey(PasswordHash::newSalt()) {
    m_uptime.start();
    loadLatestNews();
}

ChatRoom::~ChatRoom() {
    // The database outlives the room and gives what is still queued a few seconds at shutdown.
    const QDateTime now = m_now();
    for (const MemberSession* member : std::as_const(m_members)) {
        m_database.changeWhenPossible(
            [account = member->accountName(), now](AccountStore& store) { store.recordSeen(account, now); });
    }
}

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
    case MemberSession::State::Checking:
    case MemberSession::State::Closing:
        return;
    case MemberSession::State::SignedOn:
        break;
    }
    // Everything below is passed on to other members in some form.
    const QStringList relayed = RelayedText::withoutControls(fields);
    if (word == ChatProtocol::Msg)
        handleMsg(session, relayed);
    else if (word == ChatProtocol::PrivateMsg)
        handlePrivate(session, relayed);
    else if (word == ChatProtocol::FollowUser)
        handleFollow(session, relayed);
    else if (word == ChatProtocol::FollowUserBack)
        handleFollowAnswer(session, relayed);
    else if (word == ChatProtocol::News)
        handleNews(session, relayed);
    else if (word == ChatProtocol::Ops)
        handleOps(session, relayed);
    // PING answers only show the member is alive; the session has noted that. Anything else is ignored.
}

void ChatRoom::handleLogin(MemberSession* session, const QStringList& fields) {
    const QString name = ChatMessage::field(fields, 1);
    const QString password = ChatMessage::field(fields, 2);
    const QString key = NameRules::key(name);
    bool byAddress = false;
    if (const qint64 waitMs = m_pace.waitBefore(session->address(), key, &byAddress); waitMs > 0) {
        const QString wait =
            QStringLiteral("please wait %1 seconds before signing on again.").arg((waitMs + 999) / 1000);
        serverMessage(session, byAddress ? QStringLiteral("Too many sign-ons from your address; ") + wait
                                         : QStringLiteral("You signed on moments ago; ") + wait);
        session->closeAfterSending();
        counted(ServerMetrics::Refusal::Throttled);
        return;
    }
    const SignOnThrottle::Ticket ticket = m_throttle.admit(session->address(), key);
    if (ticket.waitMs < 0) {
        serverMessage(session, QStringLiteral("A sign-on from your address is already waiting its turn; "
                                              "please try again once it is answered."));
        session->closeAfterSending();
        counted(ServerMetrics::Refusal::Throttled);
        return;
    }
    session->setState(MemberSession::State::Checking);
    if (ticket.waitMs > 0)
        m_waitingTurns.insert(session, {key, ticket.id});
    QTimer::singleShot(ticket.waitMs, this, [this, session = QPointer(session), name, password] {
        if (!session)
            return;
        m_waitingTurns.remove(session);
        if (session->state() == MemberSession::State::Checking)
            checkLogin(session, name, password);
    });
}

void ChatRoom::checkLogin(MemberSession* session, const QString& name, const QString& password) {
    struct Found {
        std::optional<AccountStore::Credentials> account;
        bool banned = false;
    };
    const auto found = std::make_shared<Found>();
    m_database.read(
        this,
        [found, name, address = session->address(), now = m_now()](AccountStore& store) {
            if (!NameRules::isValidName(name))
                return;
            found->account = store.credentials(name);
            found->banned = found->account && store.isBanned(found->account->name, address,
                                                             AddressRules::subnetOf(address), now);
        },
        [this, session = QPointer(session), found, name, password](bool succeeded) {
            if (session && session->state() == MemberSession::State::Checking)
                compareLogin(session, name, password, found->account, found->banned, !succeeded);
        });
}

void ChatRoom::compareLogin(MemberSession* session, const QString& name, const QString& password,
                            const std::optional<AccountStore::Credentials>& account, bool banned,
                            bool databaseFailed) {
    // A name that is no account is checked against a stand-in password of the same cost, so
    // that the time to the answer tells nobody which names exist.
    PasswordHash::Stored stored;
    if (account) {
        stored = account->password;
    } else {
        stored.salt = QMessageAuthenticationCode::hash(NameRules::key(name).toUtf8(), m_standInKey,
                                                       QCryptographicHash::Sha256)
                          .left(16);
        stored.iterations = m_database.hashIterations();
    }
    m_hasher->derive(this, password, stored.salt, stored.iterations,
                     [this, session = QPointer(session), account, banned, databaseFailed,
                      expected = stored.hash, key = NameRules::key(name)](const QByteArray& hash) {
                         if (!session || session->state() != MemberSession::State::Checking)
                             return; // gone while its password was checked
                         if (databaseFailed) {
                             databaseTrouble(session, QStringLiteral("you cannot sign on now"));
                             session->closeAfterSending();
                             counted(ServerMetrics::Refusal::Database);
                             return;
                         }
                         if (!account || banned || !PasswordHash::matches(expected, hash)) {
                             m_throttle.failed(session->address(), key);
                             refuseSignOn(session);
                             return;
                         }
                         m_throttle.succeeded(session->address(), key);
                         session->setAccountName(account->name);
                         if (online(account->name)) {
                             // Signed on elsewhere: this session must pick another display name.
                             session->setState(MemberSession::State::AwaitingNick);
                             m_awaitingNick.append(session);
                             askForDisplayName(session);
                             return;
                         }
                         signOn(session, account->name);
                     });
}

void ChatRoom::handleNick(MemberSession* session, const QStringList& fields) {
    struct Found {
        bool banned = false;
        bool isAccount = false;
    };
    const auto found = std::make_shared<Found>();
    const QString wanted = ChatMessage::field(fields, 1);
    session->setState(MemberSession::State::Checking);
    m_database.read(
        this,
        [found, wanted, account = session->accountName(), address = session->address(),
         now = m_now()](AccountStore& store) {
            // A ban may have landed while the member was choosing.
            found->banned = store.isBanned(account, address, AddressRules::subnetOf(address), now);
            found->isAccount = store.accountExists(wanted);
        },
        [this, session = QPointer(session), found, wanted](bool succeeded) {
            if (!session || session->state() != MemberSession::State::Checking)
                return;
            session->setState(MemberSession::State::AwaitingNick);
            if (!succeeded) {
                m_awaitingNick.removeOne(session);
                databaseTrouble(session, QStringLiteral("you cannot sign on now"));
                session->closeAfterSending();
                counted(ServerMetrics::Refusal::Database);
                return;
            }
            answerNick(session, wanted, found->banned, found->isAccount);
        });
}

void ChatRoom::answerNick(MemberSession* session, const QString& wanted, bool banned, bool isAccount) {
    if (banned) {
        refuseSignOn(session);
        return;
    }
    if (!isDisplayNameFree(wanted, session->accountName(), isAccount)) {
        askForDisplayName(session);
        return;
    }
    m_awaitingNick.removeOne(session);
    signOn(session, wanted);
}

void ChatRoom::askForDisplayName(MemberSession* session) {
    serverMessage(session, QStringLiteral("%1 is already signed on. Choose a name of the form %1%2place, "
                                          "at most %3 characters, for example %1%2home.")
                               .arg(session->accountName())
                               .arg(NameRules::SessionTagMark)
                               .arg(NameRules::MaxNameLength));
    session->send(QString(ChatProtocol::Nick));
}

void ChatRoom::refuseSignOn(MemberSession* session) {
    m_awaitingNick.removeOne(session);
    session->send(QString(ChatProtocol::Invalid));
    session->closeAfterSending();
    counted(ServerMetrics::Refusal::Invalid);
}

void ChatRoom::counted(ServerMetrics::Refusal refusal) {
    if (m_metrics)
        m_metrics->refusals(refusal).add();
}

void ChatRoom::counted(ServerMetrics::Relayed line) {
    if (m_metrics)
        m_metrics->relayed(line).add();
}

bool ChatRoom::isDisplayNameFree(const QString& name, const QString& ownAccount, bool isAccount) const {
    // An extra session's name carries the account's own name and a mark no account name may
    // hold, so it can neither pose as another member nor take a name a future account wants.
    // An older account whose name has the mark keeps it. The account's own name is fine once
    // its other session has gone.
    const bool ownName = NameRules::key(name) == NameRules::key(ownAccount);
    return (ownName || (NameRules::isSessionName(name, ownAccount) && !isAccount)) && !online(name);
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
    const bool acceptable = NameRules::isValidAccountName(account.name) &&
                            NameRules::key(account.name) != NameRules::key(ServerName) &&
                            PasswordRule::isAcceptable(account.password);
    if (!acceptable) {
        session->send(QString(ChatProtocol::InUse));
        return;
    }
    // Refusals that a read can tell cost no hashing; the write checks again, in its transaction.
    session->setState(MemberSession::State::Checking);
    struct Check {
        AccountStore::CreateResult result = AccountStore::CreateResult::Failed;
        QString lookalike;
    };
    const auto check = std::make_shared<Check>();
    m_database.read(
        this,
        [check, name = account.name, address = account.address,
         cap = m_limits.accountsPerAddress](AccountStore& store) {
            check->result = store.checkNewAccount(name, address, cap, &check->lookalike);
        },
        [this, session = QPointer(session), check, account](bool succeeded) {
            if (!session || session->state() != MemberSession::State::Checking)
                return;
            if (succeeded && check->result == AccountStore::CreateResult::Created) {
                createAccount(session, account);
                return;
            }
            session->setState(MemberSession::State::Connected);
            if (!succeeded) {
                databaseTrouble(session, QStringLiteral("your account was not created"));
                return;
            }
            if (check->result == AccountStore::CreateResult::NameLooksTaken)
                serverMessage(session,
                              QStringLiteral("The name %1 was not taken: it looks too much like %2, the "
                                             "name of a member. Please choose another.")
                                  .arg(account.name, check->lookalike));
            session->send(QString(ChatProtocol::InUse));
        });
}

void ChatRoom::createAccount(MemberSession* session, const AccountStore::NewAccount& account) {
    const QByteArray salt = PasswordHash::newSalt();
    const int iterations = m_database.hashIterations();
    m_hasher->derive(
        this, account.password, salt, iterations,
        [this, session = QPointer(session), account, salt, iterations](const QByteArray& hash) {
            const auto result = std::make_shared<AccountStore::CreateResult>();
            const PasswordHash::Stored stored{salt, hash, iterations};
            const int cap = m_limits.accountsPerAddress;
            const QDateTime now = m_now();
            m_database.change(
                this, [=](AccountStore& store) { *result = store.createAccount(account, stored, cap, now); },
                [this, session, result](bool committed) {
                    if (!session || session->state() != MemberSession::State::Checking)
                        return;
                    session->setState(MemberSession::State::Connected);
                    if (!committed)
                        databaseTrouble(session, QStringLiteral("your account was not created"));
                    else if (*result == AccountStore::CreateResult::Created)
                        session->send(QString(ChatProtocol::Done)); // committed, only now acknowledged
                    else
                        session->send(QString(ChatProtocol::InUse));
                });
        });
}

void ChatRoom::signOn(MemberSession* session, const QString& displayName) {
    session->setDisplayName(displayName);
    session->setState(MemberSession::State::SignedOn);
    m_members.append(session);
    m_byName.insert(NameRules::key(displayName), session);
    m_pace.signedOn(session->address(), NameRules::key(session->accountName()));
    if (m_metrics)
        m_metrics->signOns.add();
    for (const MemberSession* member : std::as_const(m_members))
        session->send(ChatMessage::build(ChatProtocol::List, {member->displayName()}));
    broadcast(ChatMessage::build(ChatProtocol::Join, {displayName}), session);
    if (!m_messageOfTheDay.isEmpty())
        serverMessage(session, m_messageOfTheDay);
    if (m_latestNews) {
        // News stored before control characters were removed on arrival is cleaned here.
        serverMessage(session,
                      RelayedText::withoutControls(
                          QStringLiteral("Latest news (%1, %2): %3 - %4")
                              .arg(m_latestNews->posted.toString(QStringLiteral("yyyy-MM-dd")),
                                   m_latestNews->author, m_latestNews->headline, m_latestNews->body)));
    } else if (!m_newsKnown) {
        loadLatestNews(); // the database did not answer at start; this member goes without
    }
    emit memberSignedOn(displayName);
}

void ChatRoom::loadLatestNews() {
    if (m_newsLoading)
        return;
    m_newsLoading = true;
    const auto news = std::make_shared<std::optional<AccountStore::NewsItem>>();
    m_database.read(
        this, [news](AccountStore& store) { *news = store.latestNews(); },
        [this, news](bool succeeded) {
            m_newsLoading = false;
            // News posted meanwhile is newer than what was read.
            if (succeeded && !m_newsKnown) {
                m_latestNews = *news;
                m_newsKnown = true;
            }
        });
}

void ChatRoom::departed(MemberSession* session) {
    if (const auto waiting = m_waitingTurns.find(session); waiting != m_waitingTurns.end()) {
        m_throttle.giveBack(session->address(), waiting->first, waiting->second);
        m_waitingTurns.erase(waiting);
    }
    m_awaitingNick.removeOne(session);
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
    const QDateTime now = m_now();
    m_departedAt.insert(NameRules::key(session->accountName()), now);
    // Due, so it waits in the writer's queue for as long as the database refuses it.
    m_database.changeWhenPossible(
        [account = session->accountName(), now](AccountStore& store) { store.recordSeen(account, now); });
    broadcast(ChatMessage::build(ChatProtocol::Part, {session->displayName()}));
    emit memberLeft(session->displayName());
}

void ChatRoom::removeFromRoom(MemberSession* session, const QString& closingNotice) {
    serverMessage(session, closingNotice);
    session->closeAfterSending();
    departed(session);
}

QList<MemberSession*> ChatRoom::sessionsOfAccount(const QString& account) const {
    const QString key = NameRules::key(account);
    QList<MemberSession*> sessions;
    for (MemberSession* session : m_members + m_awaitingNick) {
        if (NameRules::key(session->accountName()) == key)
            sessions.append(session);
    }
    return sessions;
}

void ChatRoom::removeAccount(const QString& account, const QString& closingNotice) {
    for (MemberSession* session : sessionsOfAccount(account))
        removeFromRoom(session, closingNotice);
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

QString ChatRoom::troubleText(const QString& consequence) {
    return QStringLiteral("The server's database is not answering, so %1. Please try again in a minute.")
        .arg(consequence);
}

void ChatRoom::databaseTrouble(MemberSession* session, const QString& consequence) {
    serverMessage(session, troubleText(consequence));
}
