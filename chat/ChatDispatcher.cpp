#include "chat/ChatDispatcher.h"

#include "ancillary/Form2.h"
#include "app/Form1.h"
#include "browser/GameStarter.h"
#include "chat/ChatLine.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "privatechat/Form3.h"
#include "privatechat/PrivateChat.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>

using namespace ChatProtocol;

namespace {
const QString kTitle = QStringLiteral("Quorvel");

bool listHas(const QListWidget& list, const QString& text) {
    return !list.findItems(text, Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty();
}
} // namespace

void ChatDispatcher::handleRead(const QString& read) {
    for (const QStringList& fields : ChatMessage::splitRead(read)) {
        if (handlePiece(fields) == Next::EndRead)
            return;
    }
    m_main.runEmoticonPass();
}

ChatDispatcher::Next ChatDispatcher::handlePiece(const QStringList& fields) {
    const QString word = fields.value(0);
    if (word == FollowUserBack)
        return followUserBack(fields);
    if (word == FollowUserFinal)
        return followUserFinal(fields);
    if (word == Ping) {
        m_main.send(ChatMessage::build(Ping, {m_main.services().clock.timeText() + LineEnd}));
        return Next::Continue;
    }
    if (word == InUse) {
        promptNow().message(kTitle,
                        QStringLiteral("Unable To Create New Account... Possible Resons, Invalid Name, Name in Use, "
                                       "You Own 2 Accounts... Please Check this and Try Again"),
                        Prompts::Icon::Critical);
        m_main.accountAnswered(false);
        return Next::Continue;
    }
    if (word == Done) {
        promptNow().message(kTitle, QStringLiteral("Thank you, account created ok."), Prompts::Icon::Information);
        m_main.accountAnswered(true);
        return Next::EndRead;
    }
    if (word == Invalid) {
        promptNow().message(kTitle, QStringLiteral("Login Error : Please Try Again"), Prompts::Icon::Critical);
        // Handled as the server hanging up, which it is about to do; if it hung up while the box
        // was open, that has been reported already.
        const bool stillOpen = m_main.isConnected();
        m_main.closeQuietly();
        if (stillOpen)
            m_main.Winsock1_Close();
        return Next::EndRead;
    }
    if (word == List) {
        m_main.removeGreeting();
        if (fields.size() > 1)
            m_main.LV1->addItem(fields.at(1));
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
    m_main.showDisplayBeforePrompt();
    return m_main.services().prompts;
}

void ChatDispatcher::playIfSoundsOn(const QString& backslashName) {
    if (m_main.soundsOn())
        m_main.services().sounds.play(m_main.services().folder.file(backslashName));
}

ChatDispatcher::Next ChatDispatcher::followUserBack(const QStringList& fields) {
    GameStarter& browser = m_main.gameStarter();
    if (!browser.isPlaying() || fields.size() < 2)
        return Next::Continue;
    m_main.send(ChatMessage::build(FollowUserBack, {fields.at(1), browser.Text3->text(), browser.Text2->text(),
                                                    browser.Text4->text(), browser.gameKey()}));
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::followUserFinal(const QStringList& fields) {
    GameStarter& browser = m_main.gameStarter();
    browser.show();
    browser.setGameKey(fields.value(4));
    browser.Text3->setText(fields.value(1));
    browser.Text2->setText(fields.value(2));
    browser.Text4->setText(fields.value(3));
    m_main.followuser();
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::join(const QStringList& fields) {
    playIfSoundsOn(QStringLiteral("\\enter.wav"));
    if (fields.size() < 2)
        return Next::Continue;
    m_main.LV1->addItem(fields.at(1));
    m_main.appendLine(QStringLiteral(" ^ ") + fields.at(1) + QStringLiteral(" Has entered..."), JoinColour);
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::part(const QStringList& fields) {
    const QString name = fields.value(1);
    for (int i = 0; i < m_main.LV1->count(); ++i) {
        if (m_main.LV1->item(i)->text() != name)
            continue;
        delete m_main.LV1->takeItem(i);
        m_main.gameStarter().roomMemberLeft(name);
        m_main.appendLine(QStringLiteral(" ^ ") + name + QStringLiteral(" Has left..."), PartColour);
        playIfSoundsOn(QStringLiteral("\\left.wav"));
        return Next::EndRead;
    }
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::newNick() {
    // A cancelled box gives an empty name, and that is what is sent.
    const auto answer = promptNow().input(QStringLiteral("Please Select a New Nick..."),
                                                        QStringLiteral("NewNick"), QStringLiteral("NewNick"));
    m_main.Text3->setText(answer.value_or(QString()));
    m_main.send(ChatMessage::build(Nick, {m_main.Text3->text()}));
    return Next::EndRead;
}

ChatDispatcher::Next ChatDispatcher::publicLine(const QStringList& fields) {
    if (fields.size() < 2)
        return Next::Continue;
    const ChatLine line(fields.at(1));
    if (listHas(*m_main.List1, line.bracketedSender()))
        return Next::EndRead;
    m_main.gameStarter().roomLineArrived(fields.at(1));
    playIfSoundsOn(QStringLiteral("\\msg.wav"));
    if (line.isAction()) {
        m_main.appendLine(line.actionText(), m_main.actionColour);
        return Next::EndRead;
    }
    m_main.appendLine(fields.at(1), m_main.messageColour);
    return Next::Continue;
}

ChatDispatcher::Next ChatDispatcher::privateLine(const QStringList& fields) {
    const ChatLine line(fields.value(1));
    const QString sender = line.senderName();
    auto reply = [&](const QString& text) { m_main.send(ChatMessage::build(PrivateMsg, {sender, text})); };
    if (listHas(*m_main.List1, line.bracketedSender())) {
        reply(IgnoredYou.toString());
        return Next::EndRead;
    }
    if (m_main.mnuIPM->isChecked()) {
        reply(IgnoringAllPm.toString());
        return Next::EndRead;
    }
    const QString second = line.secondWord();
    if (second.left(9) == SendFile) {
        if (m_main.mnuDEC->isChecked()) {
            reply(SendDecline.toString());
            return Next::EndRead;
        }
        // The file name may hold blanks: everything from the third word on is the offer.
        const QStringList offer = line.fromThirdWord().split(ListSeparator);
        Q_EMIT m_main.fileOffered(sender, offer.value(0), offer.value(1), offer.value(2));
        return Next::EndRead;
    }
    if (second.left(12) == SendDecline) {
        promptNow().message(QStringLiteral("Declined"), QStringLiteral("Transfer Declined..."),
                                          Prompts::Icon::None);
        m_main.privateChat().declineReceived(sender);
        return Next::EndRead;
    }
    if (second.left(7) == WhoYou) {
        Form2& info = m_main.userInfo();
        info.showIdentification(sender, line.fromThirdWord().split(ListSeparator));
        info.show();
        return Next::EndRead;
    }
    if (second.left(7) == WhoAmI) {
        QString answer = WhoYou.toString() + u' ';
        for (const QString& entry : m_main.identificationEntries())
            answer += entry + ListSeparator;
        reply(answer);
        return Next::EndRead;
    }
    Form3* window = m_main.findPrivateWindow(sender);
    if (!window)
        window = m_main.createPrivateWindow(QStringLiteral("Chat With ") + line.bracketedSender());
    // With all ten windows taken by others the line is dropped, as it always was. A window the user
    // closed comes back with the line, but leaves the keyboard where the user is typing.
    if (window) {
        window->appendIncoming(fields.value(1));
        window->showWithoutActivating();
    }
    return Next::EndRead;
}
