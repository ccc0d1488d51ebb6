// Sign-on and the events of the chat socket.
#include "app/Form1.h"

#include "browser/GameStarter.h"
#include "chat/ChatAddress.h"
#include "chat/ChatDispatcher.h"
#include "chat/ChatDisplay.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatSession.h"
#include "chat/Form8.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

#include <utility>

void Form1::setStatusText(const QString& text) { m_statusPanel->setText(text); }

void Form1::setConnectionText(const QString& text) { m_connectionPanel->setText(text); }

void Form1::observeSession() {
    ChatSession& session = *m_session;
    connect(&session, &ChatSession::signingOn, this, [this] {
        setStatusText(QStringLiteral("Signing on..."));
        setSignedOnMenus(true);
    });
    connect(&session, &ChatSession::connected, this, &Form1::Winsock1_Connect);
    connect(&session, &ChatSession::hungUp, this, &Form1::Winsock1_Close);
    connect(&session, &ChatSession::unreachable, this, [this](const QString& why) {
        const ChatAddress dialled = ChatAddress::parse(serverHost(), serverPort());
        appendLine(QStringLiteral("Cannot reach the chat server at %1:%2: %3").arg(dialled.host).arg(dialled.port).arg(why),
                   messageColour);
        Winsock1_Error();
    });
    connect(&session, &ChatSession::lost, this, &Form1::Winsock1_Error);
    connect(&session, &ChatSession::tlsRefused, this, [this](const QString& why) {
        if (!why.isEmpty())
            m_services.prompts.message(QStringLiteral("Quorvel"), why, Prompts::Icon::Critical);
        signedOff();
    });
    connect(&session, &ChatSession::readArrived, this, &Form1::Winsock1_DataArrival);
    connect(&session, &ChatSession::readHandled, this, &Form1::readHandled);

    // The controls show the session; what the person types into them goes back to it.
    connect(&session, &ChatSession::nicknameChanged, Text3, [this](const QString& name) {
        if (Text3->text() != name)
            Text3->setText(name);
    });
    connect(Text3, &QLineEdit::textChanged, &session, &ChatSession::setNickname);
    connect(cboServer, &QComboBox::currentTextChanged, &session, &ChatSession::setServerHost);
    connect(&session, &ChatSession::memberAdded, LV1, [this](const QString& name) { LV1->addItem(name); });
    // The browser marks the servers where members play; a member who leaves the room plays nowhere.
    connect(&session, &ChatSession::memberRemoved, LV1, [this](int index, const QString& name) {
        delete LV1->takeItem(index);
        if (m_gameStarter)
            m_gameStarter->roomMemberLeft(name);
    });
    connect(&session, &ChatSession::membersCleared, LV1, [this] {
        LV1->clear();
        if (m_gameStarter)
            m_gameStarter->roomEmptied();
    });
    connect(&session, &ChatSession::ignoredChanged, List1, [this] {
        List1->clear();
        List1->addItems(m_session->ignored());
    });
    connect(&session, &ChatSession::identificationChanged, List2, [this] {
        List2->clear();
        List2->addItems(m_session->identificationEntries());
    });
    connect(mnuIPM, &QAction::toggled, &session, &ChatSession::setRefusesPrivateMessages);
    connect(mnuDEC, &QAction::toggled, &session, &ChatSession::setRefusesFiles);
}

void Form1::closeQuietly() { m_session->closeQuietly(); }

void Form1::setServerAddress(const QString& host, quint16 port) {
    cboServer->setCurrentText(host);
    m_session->setServerAddress(host, port);
}

void Form1::signOn() { m_session->signOn(); }

void Form1::signedOff() {
    m_session->signedOff();
    setStatusText(QStringLiteral("Signed Off"));
    setConnectionText(QStringLiteral("Not Connected"));
    setSignedOnMenus(false);
    // An account dialog left open could only send into a closed connection.
    if (m_accountDialog)
        std::exchange(m_accountDialog, nullptr)->close();
}

void Form1::mnuNews_Click() {
    m_session->requestAccountConnection();
    setSignedOnMenus(false);
    setStatusText(QStringLiteral("Connecting..."));
}

void Form1::accountAnswered(bool created) {
    const std::optional<QString> requested = m_session->requestedAccount();
    if (!requested)
        return;
    // The new account signs on through the sign-on dialog, which offers its name.
    if (created)
        m_session->setNickname(*requested);
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

void Form1::Winsock1_Connect(bool forAccount) {
    setStatusText(QStringLiteral("Signed On"));
    const QString encryption = m_session->encryption();
    setConnectionText(QStringLiteral("Connected To Quorvel at : ") + m_services.clock.timeText() +
                      (encryption.isEmpty() ? QString() : QStringLiteral(" - encrypted (%1)").arg(encryption)));
    if (!forAccount)
        return;
    auto* dialog = new Form8(*m_session, m_services, Form8::Purpose::NewAccount, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::rejected, this, &Form1::endAccountConnection);
    m_accountDialog = dialog;
    dialog->open();
}

void Form1::Winsock1_Close() {
    appendLine(QStringLiteral("Disconnected..."), messageColour);
    signedOff();
}

void Form1::Winsock1_Error() { signedOff(); }

void Form1::Winsock1_DataArrival(const QString& read) {
    m_handlingRead = true;
    m_dispatcher->handleRead(read);
    m_handlingRead = false;
    if (m_followNewest)
        scrollToNewest();
}

void Form1::showDisplayBeforePrompt() {
    // A box opened in the middle of a read comes after the lines before it, on screen too.
    if (m_handlingRead && m_followNewest)
        scrollToNewest();
}

void Form1::runEmoticonPass() { rtb->replaceNewCodes(); }
