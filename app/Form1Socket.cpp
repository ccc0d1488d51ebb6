// Sign-on and the events of the chat socket.
#include "app/Form1.h"

#include "browser/GameStarter.h"
#include "chat/ChatDispatcher.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/EmoticonReplacer.h"
#include "chat/Form8.h"
#include "common/Windows1252.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalBlocker>
#include <QTcpSocket>
#include <QTextEdit>
#include <QTimer>

#include <utility>

void Form1::setStatusText(const QString& text) { m_statusPanel->setText(text); }

void Form1::setConnectionText(const QString& text) { m_connectionPanel->setText(text); }

void Form1::closeQuietly() {
    // A close we asked for is not the server hanging up: no "Disconnected..." for it.
    const QSignalBlocker blocker(Winsock1);
    Winsock1->abort();
}

void Form1::setServerAddress(const QString& host, quint16 port) {
    cboServer->setCurrentText(host);
    m_serverPort = port;
}

void Form1::connectToChatServer() {
    closeQuietly();
    m_reachedServer = false;
    Winsock1->connectToHost(serverHost(), m_serverPort);
}

void Form1::signOn() {
    m_accountCreation = 0;
    connectToChatServer();
    setStatusText(QStringLiteral("Signing on..."));
    setSignedOnMenus(true);
}

void Form1::signedOff() {
    m_accountCreation = 0;
    m_requestedAccount.reset();
    setStatusText(QStringLiteral("Signed Off"));
    setConnectionText(QStringLiteral("Not Connected"));
    LV1->clear();
    if (m_gameStarter)
        m_gameStarter->roomEmptied();
    setSignedOnMenus(false);
    // An account dialog left open could only send into a closed connection.
    if (m_accountDialog)
        std::exchange(m_accountDialog, nullptr)->close();
}

void Form1::mnuNews_Click() {
    // The connection for an account request is not a sign-on: whatever was signed on ends here.
    LV1->clear();
    setSignedOnMenus(false);
    m_accountCreation = 1;
    connectToChatServer();
    setStatusText(QStringLiteral("Connecting..."));
}

void Form1::accountRequested(const QString& name) {
    m_requestedAccount = name;
}

void Form1::accountAnswered(bool created) {
    if (!m_requestedAccount)
        return;
    // The new account signs on through the sign-on dialog, which offers its name.
    if (created)
        Text3->setText(*m_requestedAccount);
    endAccountConnection();
}

void Form1::endAccountConnection() {
    closeQuietly();
    signedOff();
}

void Form1::mnudis_Click() {
    closeQuietly();
    signedOff();
    setStatusText(QStringLiteral("Signed Off : ") + m_services.clock.timeText());
}

void Form1::Winsock1_Connect() {
    m_reachedServer = true;
    Winsock1->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    setStatusText(QStringLiteral("Signed On"));
    setConnectionText(QStringLiteral("Connected To Quorvel at : ") + m_services.clock.timeText());
    if (m_accountCreation != 1) {
        send(ChatMessage::build(ChatProtocol::Login, {nickname(), m_password}));
        LV1->clear();
        return;
    }
    m_accountCreation = 0;
    auto* dialog = new Form8(*this, Form8::Purpose::NewAccount, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::rejected, this, &Form1::endAccountConnection);
    m_accountDialog = dialog;
    dialog->open();
}

void Form1::Winsock1_Close() {
    appendLine(QStringLiteral("Disconnected..."), messageColour);
    signedOff();
}

void Form1::Winsock1_Error() {
    if (Winsock1->error() == QAbstractSocket::RemoteHostClosedError)
        return; // the close handler reports it
    if (!std::exchange(m_reachedServer, true)) {
        appendLine(QStringLiteral("Cannot reach the chat server at %1:%2: %3")
                       .arg(serverHost())
                       .arg(m_serverPort)
                       .arg(Winsock1->errorString()),
                   messageColour);
    }
    signedOff();
}

void Form1::Winsock1_DataArrival() {
    // A message box opened while a read is handled runs the event loop; data that arrives meanwhile
    // waits in the socket and is handled as the next read, once this one has ended.
    if (m_handlingRead)
        return;
    handleRead(Windows1252::decode(Winsock1->readAll()));
    Q_EMIT readHandled();
    if (Winsock1->bytesAvailable() > 0)
        QTimer::singleShot(0, this, &Form1::Winsock1_DataArrival);
}

void Form1::handleRead(const QString& read) {
    m_handlingRead = true;
    // The display lays out the lines of one read together instead of one by one.
    m_readEdit = QTextCursor(rtb->document());
    m_readEdit.beginEditBlock();
    m_dispatcher->handleRead(read);
    m_readEdit.endEditBlock();
    m_handlingRead = false;
    if (m_followNewest)
        scrollToNewest();
}

void Form1::showDisplayBeforePrompt() {
    // A box opened in the middle of a read comes after the lines before it, on screen too.
    if (!m_handlingRead)
        return;
    m_readEdit.endEditBlock();
    if (m_followNewest)
        scrollToNewest();
    m_readEdit.beginEditBlock();
}

void Form1::runEmoticonPass() { m_emoticons->replaceNewCodes(); }
