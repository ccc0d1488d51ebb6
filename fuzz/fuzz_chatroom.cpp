// Any bytes as what three signed-on members send the room: the input is cut at each 0xFE byte into
// reads, handed in turn to ann (an operator), bob and cat. Each member's session frames and limits
// its reads and hands the messages to the room, which answers, relays, kicks and bans as it would on
// the server. The room and its database are made afresh for every input, so no ban or departure
// carries over. Every write to a member is whole lines.
#include "FakeConnection.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"
#include "server/AccountStore.h"
#include "server/ChatRoom.h"
#include "server/DatabaseThreads.h"
#include "server/MemberSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QPointer>
#include <QTemporaryDir>
#include <QTimer>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace {
const std::array<QString, 3> kNames{QStringLiteral("ann"), QStringLiteral("bob"), QStringLiteral("cat")};
const QString kPassword = QStringLiteral("pw");

struct Room {
    AccountStore::Config config;
    QDateTime now = QDateTime(QDate(2026, 11, 23), QTime(20, 0), Qt::UTC);
    ServerLimits limits;
    std::unique_ptr<AccountStore> store;
    std::unique_ptr<DatabaseThreads> database;
    std::unique_ptr<ChatRoom> room;
    std::array<QPointer<MemberSession>, 3> sessions;
    std::array<FakeConnection*, 3> connections{};

    explicit Room(const QString& databasePath) {
        config.databaseName = databasePath;
        config.hashIterations = 1;
        limits.floodLines = 1000;
        limits.signOnDelayMs = 0;
        QDir().remove(databasePath);
        store = std::make_unique<AccountStore>(config);
        QString error;
        if (!store->open(&error))
            qFatal("fuzz database: %s", qPrintable(error));
        for (const QString& name : kNames) {
            AccountStore::NewAccount account;
            account.name = name;
            account.password = kPassword;
            if (store->createAccount(account, 0, now) != AccountStore::CreateResult::Created)
                qFatal("fuzz account %s", qPrintable(name));
        }
        store->setOperator(kNames[0], true);
        database = std::make_unique<DatabaseThreads>(config, 1000);
        if (!database->open(&error))
            qFatal("fuzz database threads: %s", qPrintable(error));
        room = std::make_unique<ChatRoom>(*database, limits, [this] { return now; });
    }

    ~Room() {
        // The room goes first: it records the last-seen times of those still in it.
        room.reset();
        for (const QPointer<MemberSession>& session : sessions)
            delete session.data();
        database.reset();
    }

    // Connects the three members and waits until the room has signed each of them on.
    bool signOnEveryone() {
        int signedOn = 0;
        QEventLoop loop;
        QObject::connect(room.get(), &ChatRoom::memberSignedOn, &loop, [&] {
            if (++signedOn == int(kNames.size()))
                loop.quit();
        });
        QTimer::singleShot(10000, &loop, &QEventLoop::quit);
        for (std::size_t i = 0; i < kNames.size(); ++i) {
            connections[i] = new FakeConnection;
            connections[i]->connectToHost(QString(), 0, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
            auto* session = new MemberSession(connections[i], limits, [this] { return now; });
            sessions[i] = session;
            QObject::connect(session, &MemberSession::messageReceived, room.get(), &ChatRoom::handle);
            QObject::connect(session, &MemberSession::gone, room.get(), [this](MemberSession* gone) {
                room->departed(gone);
                gone->deleteLater();
            });
            connections[i]->deliver(Windows1252::encode(ChatMessage::build(ChatProtocol::Login, {kNames[i], kPassword}) +
                                                        ChatProtocol::LineEnd));
        }
        loop.exec();
        return signedOn == int(kNames.size());
    }
};

bool wholeLines(const QList<QByteArray>& writes) {
    for (const QByteArray& write : writes) {
        if (!write.endsWith("\r\n"))
            return false;
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // In memory where the system has a place for it: every input writes a new database.
    static QTemporaryDir folder(QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm/quorvel-fuzz-XXXXXX")
                                                                        : QDir::tempPath() + QStringLiteral("/quorvel-fuzz-XXXXXX"));
    {
        Room r(folder.filePath(QStringLiteral("room.sqlite")));
        if (!r.signOnEveryone())
            __builtin_trap();
        for (FakeConnection* connection : r.connections)
            connection->forget();
        const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
        std::size_t member = 0;
        for (const QByteArray& read : bytes.split('\xFE')) {
            // A member sent away is not heard from again; the others go on.
            if (r.sessions[member % kNames.size()])
                r.connections[member % kNames.size()]->deliver(read);
            ++member;
            // The room's answers go out as the event loop would send them, between reads.
            QCoreApplication::sendPostedEvents();
        }
        for (std::size_t i = 0; i < kNames.size(); ++i) {
            if (r.sessions[i] && !wholeLines(r.connections[i]->written))
                __builtin_trap();
        }
    }
    // What Qt deferred (deletions, queued calls) is done now, so that each input frees what it allocated.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
