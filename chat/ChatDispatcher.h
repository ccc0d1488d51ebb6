#pragma once

#include <QString>
#include <QStringList>

class ChatRoomView;
class ChatSession;
class Prompts;
struct Services;

// Interprets what the chat server sends: one read at a time, piece by piece. It decides with the
// session and shows the outcome through the room's view.
class ChatDispatcher {
public:
    static constexpr qint64 JoinColour = 0x8000;   // green
    static constexpr qint64 PartColour = 0xFF0000; // blue, in blue-green-red

    ChatDispatcher(ChatSession& session, Services& services, ChatRoomView& view)
        : m_session(session), m_services(services), m_view(view) {}

    // Handles every piece of one read in order. Some messages end the read: the pieces behind them
    // are dropped and the emoticon pass is skipped. Long-standing behaviour, kept as it is.
    void handleRead(const QString& read);

private:
    enum class Next { Continue, EndRead };
    Next handlePiece(const QStringList& fields);
    Next followUserBack(const QStringList& fields);
    Next followUserFinal(const QStringList& fields);
    Next join(const QStringList& fields);
    Next part(const QStringList& fields);
    Next newNick();
    Next publicLine(const QStringList& fields);
    Next privateLine(const QStringList& fields);
    void playIfSoundsOn(const QString& backslashName);
    // The prompt service, once the display shows everything this read has added so far.
    Prompts& promptNow();

    ChatSession& m_session;
    Services& m_services;
    ChatRoomView& m_view;
};
