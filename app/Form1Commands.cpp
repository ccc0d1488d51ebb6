// The room's input line, the address box and the menu commands of the main window.
#include "app/Form1.h"

#include "ancillary/Form2.h"
#include "browser/GameStarter.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatMessage.h"
#include "chat/ChatSession.h"
#include "chat/Form7.h"
#include "chat/Form8.h"
#include "chat/Form9.h"
#include "chat/SlashCommand.h"
#include "privatechat/PrivateChat.h"
#include "servers/GameLaunch.h"

#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QNetworkInterface>
#include <QTcpSocket>
#include <QTextEdit>

namespace {
const QString kTitle = QStringLiteral("Quorvel");

QString localIpAddress(const QTcpSocket& socket) {
    if (socket.state() == QAbstractSocket::ConnectedState)
        return socket.localAddress().toString();
    for (const QHostAddress& a : QNetworkInterface::allAddresses()) {
        if (a.protocol() == QAbstractSocket::IPv4Protocol && !a.isLoopback())
            return a.toString();
    }
    return QStringLiteral("127.0.0.1");
}

QString bracketed(const QString& nickname) { return QLatin1Char('<') + nickname + QLatin1Char('>'); }
} // namespace

void Form1::Text1_Enter() {
    const QString line = Text1->text();
    auto& prompts = m_services.prompts;
    switch (classifySlashCommand(line)) {
    case SlashCommand::Help:
        prompts.message(kTitle, slashHelpText(), Prompts::Icon::Information);
        break;
    case SlashCommand::GameStarter:
        mnuGameStarter_Click();
        break;
    case SlashCommand::Exit:
        // Ends at once without saving: unlike Exit on the menu, and meant to be so.
        m_ending = true;
        Q_EMIT programEnded();
        return;
    case SlashCommand::TimeDate:
        setStatusText(QStringLiteral("The time/date is : ") + m_services.clock.dateText() + QStringLiteral(" : ") +
                      m_services.clock.timeText());
        break;
    case SlashCommand::LocalIp:
        setStatusText(QStringLiteral("Your local IP is : ") + localIpAddress(*Winsock1));
        break;
    case SlashCommand::CopyLocalIp: {
        const QString ip = localIpAddress(*Winsock1);
        QGuiApplication::clipboard()->clear();
        QGuiApplication::clipboard()->setText(ip);
        setStatusText(QStringLiteral("Local IP : ") + ip + QStringLiteral(" copyed..."));
        break;
    }
    case SlashCommand::Email:
        m_services.desktop.openWithShell(QStringLiteral("mailto:"));
        setStatusText(QStringLiteral("Default Email Client loaded..."));
        break;
    case SlashCommand::Clear:
        rtb->clear();
        break;
    case SlashCommand::Chat:
        // Not echoed: the server sends the line back to everyone, this client included. Unsent while
        // signed off, it stays in the input line rather than being lost.
        if (!send(ChatMessage::build(ChatProtocol::Msg, {line})))
            return;
        break;
    }
    // Emptied after every command that ran and every line sent, ready for the next one.
    Text1->clear();
}

void Form1::Combo1_Click(const QString& entry) {
    if (entry.isEmpty() || entry == u"http://" || entry == u"ftp://")
        return;
    m_services.desktop.openWithShell(entry);
}

namespace {
// Dialogs are window-modal but never block the event loop, so chat traffic goes on behind them.
template <typename Dialog> Dialog* openDialog(Dialog* dialog) {
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
    return dialog;
}
} // namespace

void Form1::mnucon_Click() { openDialog(new Form7(*m_session, m_services, this)); }

void Form1::mnuGameStarter_Click() {
    GameStarter& browser = gameStarter();
    browser.show();
    browser.raise();
}

void Form1::mnuClearChat_Click() { rtb->clear(); }

void Form1::mnuCommands_Click() {
    m_services.prompts.message(QStringLiteral("Commands"), commandsHelpText(), Prompts::Icon::Information);
}

void Form1::mnuEd_Click() { openDialog(new Form8(*m_session, m_services, Form8::Purpose::Profile, this)); }

void Form1::mnuNewsPost_Click() { openDialog(new Form9(*Winsock1, this)); }

Form3* Form1::openPrivateWindow(const QString& nickname) { return m_privateChat->openPrivateWindow(nickname); }

void Form1::mnuPM_Click() {
    const QString n = selectedUser();
    if (n.isEmpty())
        return;
    if (n == nickname()) {
        m_services.prompts.message(kTitle, QStringLiteral("You can't PM your self"), Prompts::Icon::None);
        return;
    }
    openPrivateWindow(n);
}

void Form1::mnuIS_Click() {
    send(ChatMessage::build(ChatProtocol::PrivateMsg, {selectedUser(), ChatProtocol::WhoAmI.toString()}));
}

void Form1::mnuFollowUser_Click() {
    const QString n = selectedUser();
    if (n == nickname()) {
        m_services.prompts.message(kTitle, QStringLiteral("You can't follow your self"),
                                   Prompts::Icon::Exclamation);
        return;
    }
    send(ChatMessage::build(ChatProtocol::FollowUser, {n, nickname()}));
}

void Form1::mnuLastLoggedOn_Click() {
    send(ChatMessage::build(ChatProtocol::Msg, {ChatProtocol::SeenQuery + selectedUser()}));
}

void Form1::mnuIG_Click() { m_session->ignore(bracketed(selectedUser())); }

void Form1::mnuUn_Click() { m_session->unignore(bracketed(selectedUser())); }

void Form1::mnuVI_Click() {
    const QStringList ignored = m_session->ignored();
    if (ignored.isEmpty()) {
        m_services.prompts.message(kTitle, QStringLiteral("You have no ignored users."));
        return;
    }
    m_services.prompts.message(kTitle, ignored.join(QStringLiteral("\r\n")));
}

void Form1::mnucI_Click() {
    if (m_session->ignored().isEmpty()) {
        m_services.prompts.message(kTitle, QStringLiteral("You have no ignored users to clear."),
                                   Prompts::Icon::Exclamation);
        return;
    }
    m_session->clearIgnored();
    m_services.prompts.message(kTitle, QStringLiteral("Ignored users, cleared...."), Prompts::Icon::Information);
}

void Form1::mnuOps_Click(QLatin1StringView subCommand, bool withTarget) {
    QStringList args{subCommand.toString()};
    if (withTarget)
        args.append(selectedUser());
    send(ChatMessage::build(ChatProtocol::Ops, args));
}

void Form1::followuser() { gameStarter().follow(); }

std::optional<FollowTarget> Form1::currentGame() {
    GameStarter& browser = gameStarter();
    if (!browser.isPlaying())
        return std::nullopt;
    return FollowTarget{browser.Text3->text(), browser.Text2->text(), browser.Text4->text(), browser.gameKey()};
}

void Form1::followInto(const FollowTarget& target) {
    GameStarter& browser = gameStarter();
    browser.show();
    browser.setGameKey(target.gameKey);
    browser.Text3->setText(target.serverName);
    browser.Text2->setText(target.address);
    browser.Text4->setText(target.port);
    followuser();
}

void Form1::showIdentification(const QString& sender, const QStringList& entries) {
    Form2& info = userInfo();
    info.showIdentification(sender, entries);
    info.show();
}

void Form1::privateLineArrived(const QString& sender, const QString& bracketedSender, const QString& line) {
    m_privateChat->lineArrived(sender, bracketedSender, line);
}

void Form1::fileOffered(const QString& sender, const QString& file, const QString& port, const QString& address) {
    m_privateChat->offerReceived(sender, file, port, address);
}

void Form1::declineReceived(const QString& sender) { m_privateChat->declineReceived(sender); }

void Form1::BackFromGame() {
    if (!isConnected())
        return;
    send(ChatMessage::build(ChatProtocol::Msg, {GameLaunch::leftAnnouncement(gameStarter().gameKey(),
                                                                             m_services.clock.timeText(),
                                                                             m_services.clock.dateText())}));
}
