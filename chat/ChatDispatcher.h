#pragma once

#include <QString>
#include <QStringList>

class Form1;
class Prompts;

// Interprets what the chat server sends: one read at a time, piece by piece, on the main window.
class ChatDispatcher {
public:
    static constexpr qint64 JoinColour = 0x8000;   // green
    static constexpr qint64 PartColour = 0xFF0000; // blue, in blue-green-red

    explicit ChatDispatcher(Form1& main) : m_main(main) {}

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

    Form1& m_main;
};
