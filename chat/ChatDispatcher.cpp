#include "chat/ChatDispatcher.h"

#include "chat/ChatLine.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatRoomView.h"
#include "chat/ChatSession.h"
#include "common/Services.h"

using namespace ChatProtocol;

namespace {
const QString kTitle = QStringLiteral("Quorvel");
} // namespace

void ChatDispatcher::handleRead(const QString& read) {
    for (const QStringList& fields : ChatMessage::splitRead(read)) {
        if (handlePiece(fields) == Next::EndRead)
            return;
    }
    m_view.runEmoticonPass();
}

ChatDispatcher::Next ChatDispatcher::handlePiece(const QStringList& fields) {
    const QString word = fields.value(0);
    if (word == FollowUserBack)
        return followUserBack(fields);
    if (word == FollowUserFinal)
        return followUserFinal(fields);
    if (word == Ping) {
        m_session.send(ChatMessage::build(Ping, {m_services.clock.timeText() + LineEnd}));
        return Next::Continue;
    }
    if (word == InUse) {
        promptNow().message(kTitle,
                        QStringLiteral("Unable To Create New Account... Possible Resons, Invalid Name, Name in Use, "
                                       "You Own 2 Accounts... Please Check this and Try Again"),
                        Prompts::Icon::Critical);
        m_view.accountAnswered(false);
        return Next::Continue;
    }
    if (word == Done) {
        promptNow().message(kTitle, QStringLiteral("Thank you, account created ok."), Prompts::Icon::Information);
        m_view.accountAnswered(true);
        return Next::EndRead;
    }
    if (word == Invalid) {
        promptNow().message(kTitle, QStringLiteral("Login Error : Please Try Again"), Prompts::Icon::Critical);
        // Handled as the server hanging up, which it is about to do; if it hung up while the box
        // was open, that has been reported already.
        const bool stillOpen = m_session.isConnected();
        m_session.closeQuietly();
        if (stillOpen)
            m_view.connectionEnded();
        return Next::EndRead;
    }
    if (word == List) {
        m_view.removeGreeting();
        if (fields.size() > 1)
            m_session.addMember(fields.at(1));
        return Next::Continue;
    }
    if (word == Join)
        return join(fields);
    if (word == Part)
        return part(fields);
    if (word == Nick)
        return newNick();
    if (word == Msg)
        return publicLine(fields);
    if (word == ServerMsg) {
        promptNow().message(QStringLiteral("Quorvel Public Server Message!"), fields.value(1),
                        Prompts::Icon::Information);
        return Next::Continue;
    }
    if (word == PrivateMsg)
        return privateLine(fields);
    return Next::Continue;
}

Prompts& ChatDispatcher::promptNow() {
    m_view.showDisplayBeforePrompt();
    return m_services.prompts;
}

void ChatDispatcher::playIfSoundsOn(const QString& backslashName) {
    if (m_view.soundsOn())
        m_services.sounds.play(m_services.folder.file(backslashName));
}

ChatDispatcher::Next ChatDispatcher::followUserBack(const QStringList& fields) {
    if (fields.size() < 2)
        return Next::Continue;
    const std::optional<FollowTarget> game = m_view.currentGame();
    if (game) {
        m_session.send(ChatMessage::build(FollowUserBack,
                                          {fields.at(1), game->serverName, game->address, game->port, game->gameKey}));
    }
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::followUserFinal(const QStringList& fields) {
    m_view.followInto(FollowTarget{fields.value(1), fields.value(2), fields.value(3), fields.value(4)});
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::join(const QStringList& fields) {
    playIfSoundsOn(QStringLiteral("\\enter.wav"));
    if (fields.size() < 2)
        return Next::Continue;
    m_session.addMember(fields.at(1));
    m_view.appendLine(QStringLiteral(" ^ ") + fields.at(1) + QStringLiteral(" Has entered..."), JoinColour);
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::part(const QStringList& fields) {
    const QString name = fields.value(1);
    if (!m_session.removeMember(name))
        return Next::Continue;
    m_view.appendLine(QStringLiteral(" ^ ") + name + QStringLiteral(" Has left..."), PartColour);
    playIfSoundsOn(QStringLiteral("\\left.wav"));
    return Next::EndRead;
}

ChatDispatcher::Next ChatDispatcher::newNick() {
    // A cancelled box gives an empty name, and that is what is sent.
    const auto answer = promptNow().input(QStringLiteral("Please Select a New Nick..."),
                                                        QStringLiteral("NewNick"), QStringLiteral("NewNick"));
    m_session.setNickname(answer.value_or(QString()));
    m_session.send(ChatMessage::build(Nick, {m_session.nickname()}));
    return Next::EndRead;
}

ChatDispatcher::Next ChatDispatcher::publicLine(const QStringList& fields) {
    if (fields.size() < 2)
        return Next::Continue;
    const ChatLine line(fields.at(1));
    if (m_session.isIgnored(line.bracketedSender()))
        return Next::EndRead;
    playIfSoundsOn(QStringLiteral("\\msg.wav"));
    if (line.isAction()) {
        m_view.appendLine(line.actionText(), m_view.actionLineColour());
        return Next::EndRead;
    }
    m_view.appendLine(fields.at(1), m_view.messageLineColour());
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::privateLine(const QStringList& fields) {
    const ChatLine line(fields.value(1));
    const QString sender = line.senderName();
    auto reply = [&](const QString& text) { m_session.send(ChatMessage::build(PrivateMsg, {sender, text})); };
    if (m_session.isIgnored(line.bracketedSender())) {
        reply(IgnoredYou.toString());
        return Next::EndRead;
    }
    if (m_session.refusesPrivateMessages()) {
        reply(IgnoringAllPm.toString());
        return Next::EndRead;
    }
    const QString second = line.secondWord();
    if (second.left(9) == SendFile) {
        if (m_session.refusesFiles()) {
            reply(SendDecline.toString());
            return Next::EndRead;
        }
        // The file name may hold blanks: everything from the third word on is the offer.
        const QStringList offer = line.fromThirdWord().split(ListSeparator);
        m_view.fileOffered(sender, offer.value(0), offer.value(1), offer.value(2));
        return Next::EndRead;
    }
    if (second.left(12) == SendDecline) {
        promptNow().message(QStringLiteral("Declined"), QStringLiteral("Transfer Declined..."),
                                          Prompts::Icon::None);
        m_view.declineReceived(sender);
        return Next::EndRead;
    }
    if (second.left(7) == WhoYou) {
        m_view.showIdentification(sender, line.fromThirdWord().split(ListSeparator));
        return Next::EndRead;
    }
    if (second.left(7) == WhoAmI) {
        QString answer = WhoYou.toString() + u' ';
        for (const QString& entry : m_session.identificationEntries())
            answer += entry + ListSeparator;
        reply(answer);
        return Next::EndRead;
    }
    m_view.privateLineArrived(sender, line.bracketedSender(), fields.value(1));
    return Next::EndRead;
}
