#pragma once

#include "server/AccountStore.h"
#include "server/ServerClock.h"
#include "server/ServerLimits.h"
#include "server/ServerMetrics.h"
#include "server/SignOnPace.h"
#include "server/SignOnThrottle.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

class DatabaseThreads;
class MemberSession;
class PasswordHasher;

// The one room: who is signed on, and what each client message does.
// Sign-on and departures are here; chat lines in ChatRoomMessages.cpp; OPS in ChatRoomOperators.cpp.
class ChatRoom : public QObject {
    Q_OBJECT
public:
    // The name the server's own lines carry ("<Quorvel> ..."); no account may take it.
    static const QString ServerName;

    // Every read and change goes through database; this thread never waits for it.
    ChatRoom(DatabaseThreads& database, const ServerLimits& limits, NowFunction now,
             QObject* parent = nullptr);
    // Members still signed on leave with the server: their last-seen time is recorded.
    ~ChatRoom() override;

    void setMessageOfTheDay(const QString& text) { m_messageOfTheDay = text; }
    // Where sign-ons, refusals and relayed lines are counted; none by default.
    void setMetrics(ServerMetrics* metrics) { m_metrics = metrics; }
    void handle(MemberSession* session, const QStringList& fields);
    void departed(MemberSession* session);

    QStringList onlineNames() const;
    qsizetype memberCount() const { return m_members.size(); }

signals:
    void memberSignedOn(const QString& name);
    void memberLeft(const QString& name);

private:
    // Sign-on and accounts.
    void handleLogin(MemberSession* session, const QStringList& fields);
    void checkLogin(MemberSession* session, const QString& name, const QString& password);
    void compareLogin(MemberSession* session, const QString& name, const QString& password,
                      const std::optional<AccountStore::Credentials>& account, bool banned,
                      bool databaseFailed);
    void handleNick(MemberSession* session, const QStringList& fields);
    void answerNick(MemberSession* session, const QString& wanted, bool banned, bool isAccount);
    void handleNewAccount(MemberSession* session, const QStringList& fields);
    void createAccount(MemberSession* session, const AccountStore::NewAccount& account);
    void signOn(MemberSession* session, const QString& displayName);
    void loadLatestNews();
    bool isDisplayNameFree(const QString& name, const QString& ownAccount, bool isAccount) const;
    void askForDisplayName(MemberSession* session);
    void refuseSignOn(MemberSession* session);
    void counted(ServerMetrics::Refusal refusal);
    void counted(ServerMetrics::Relayed line);

    // Chat.
    void handleMsg(MemberSession* session, const QStringList& fields);
    void handlePrivate(MemberSession* session, const QStringList& fields);
    void handleFollow(MemberSession* session, const QStringList& fields);
    void handleFollowAnswer(MemberSession* session, const QStringList& fields);
    void handleNews(MemberSession* session, const QStringList& fields);
    void answerSeen(MemberSession* session, const QString& name);
    void tellLastSeen(MemberSession* session, const QString& name, const QDateTime& when);
    void answerOps(MemberSession* session);
    bool refuseIfMuzzled(MemberSession* session);

    // Operators.
    void handleOps(MemberSession* session, const QStringList& fields);
    void carryOutOps(MemberSession* session, const QStringList& fields);
    void kick(MemberSession* op, const QString& target);
    void ban(MemberSession* op, const QString& target);
    void subnetBan(MemberSession* op, const QString& target);
    void muzzle(MemberSession* op, const QString& target);
    void clearBans(MemberSession* op, const QString& word);

    // Delivery.
    MemberSession* online(const QString& displayName) const;
    void broadcast(const QString& message, MemberSession* except = nullptr);
    void notice(MemberSession* session, const QString& text);        // a MSG line from the server
    void serverMessage(MemberSession* session, const QString& text); // an SMSG box
    static QString troubleText(const QString& consequence);
    void databaseTrouble(MemberSession* session, const QString& consequence); // as an SMSG box
    void removeFromRoom(MemberSession* session, const QString& closingNotice);
    // Every session of an account, signed on or still choosing its display name.
    QList<MemberSession*> sessionsOfAccount(const QString& account) const;
    void removeAccount(const QString& account, const QString& closingNotice);

    DatabaseThreads& m_database;
    PasswordHasher* m_hasher;
    ServerLimits m_limits;
    NowFunction m_now;
    QString m_messageOfTheDay;
    // The latest news, shown at each sign-on without a read; loaded at start and kept current
    // by the news posted here.
    std::optional<AccountStore::NewsItem> m_latestNews;
    bool m_newsKnown = false;
    bool m_newsLoading = false;
    // In sign-on order, which is the order of the LIST lines a newcomer receives.
    QList<MemberSession*> m_members;
    QHash<QString, MemberSession*> m_byName;
    // Sessions of accounts already online, sent NICK and not yet answered.
    QList<MemberSession*> m_awaitingNick;
    // Account keys of suspended members; lasts until lifted or until the server restarts.
    QSet<QString> m_muzzled;
    // (follower key, followed key) pairs awaiting the followed member's answer.
    QSet<QPair<QString, QString>> m_pendingFollows;
    // Last-seen times of this run by account key: they answer !Seen without the database, which
    // may not be answering, and while their write may still wait in the writer's queue.
    QHash<QString, QDateTime> m_departedAt;
    QElapsedTimer m_uptime;
    SignOnThrottle m_throttle;
    SignOnPace m_pace;
    // Sessions whose LOGIN waits for its turn: the account key and the throttle's ticket, so that
    // a session that leaves first gives its turn back.
    QHash<MemberSession*, std::pair<QString, qint64>> m_waitingTurns;
    // Salts the stand-in password of names that are not accounts; made at start, never stored.
    QByteArray m_standInKey;
    ServerMetrics* m_metrics = nullptr;
};
