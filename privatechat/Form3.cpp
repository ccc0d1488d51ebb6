#include "privatechat/Form3.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatSession.h"
#include "common/AccessibleWindows.h"
#include "common/Services.h"
#include "privatechat/FileReceiver.h"
#include "privatechat/FileSender.h"
#include "privatechat/TransferText.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QTcpSocket>
#include <QTextCursor>
#include <QTextEdit>
#include <QVBoxLayout>

Form3::Form3(ChatSession& session, Services& services, FileSlots& fileSlots, TransferView& transfers,
             QWidget* parent)
    : QWidget(parent, Qt::Window)
    , Winsock2(new QTcpSocket(this))
    , Winsock1(new QTcpSocket(this))
    , rtb(new QTextEdit(this))
    , Text1(new QLineEdit(this))
    , m_session(session)
    , m_services(services) {
    setObjectName(QStringLiteral("Form3"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Messaging With :"));
    Winsock2->setObjectName(QStringLiteral("Winsock2"));
    Winsock1->setObjectName(QStringLiteral("Winsock1"));
    rtb->setObjectName(QStringLiteral("rtb"));
    rtb->setReadOnly(true);
    rtb->setAccessibleName(QStringLiteral("Conversation"));
    rtb->setFont(QFont(QStringLiteral("Verdana")));
    rtb->installEventFilter(this);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setAccessibleName(QStringLiteral("Message"));
    Text1->setFont(QFont(QStringLiteral("Verdana")));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    buildMenus();
    // The conversation takes every change of size; the input line keeps its height along the bottom.
    layout->addWidget(rtb, 1);
    layout->addWidget(Text1);
    resize(420, 300);

    Prompts& prompts = services.prompts;
    m_sender = new FileSender(*Winsock1, transfers, fileSlots, prompts, this);
    m_receiver = new FileReceiver(
        *Winsock2, transfers, fileSlots, prompts, [&session] { return session.downloadFolder(); }, this);
    // The sender would otherwise see only a connection that ended.
    connect(m_receiver, &FileReceiver::notSaved, this, [this](const QString& why) {
        if (m_session.isConnected())
            m_session.send(ChatMessage::build(ChatProtocol::PrivateMsg, {peer(), why}));
    });

    connect(Text1, &QLineEdit::returnPressed, this, &Form3::Text1_KeyPress);
    connect(Text1, &QLineEdit::textChanged, this, &Form3::Text1_Change);
    connect(rtb, &QTextEdit::textChanged, this, [this] { rtb->moveCursor(QTextCursor::End); });
}

Form3::~Form3() {
    // The sockets go first among the children; their last signals must not reach the transfer ends.
    Winsock1->disconnect();
    Winsock2->disconnect();
}

void Form3::buildMenus() {
    auto* bar = new QMenuBar(this);
    layout()->setMenuBar(bar);
    auto item = [this](QMenu* menu, const char* name, const QString& caption, void (Form3::*handler)()) {
        QAction* a = menu->addAction(caption);
        a->setObjectName(QLatin1StringView(name));
        connect(a, &QAction::triggered, this, handler);
        return a;
    };
    mnuFile = bar->addMenu(QStringLiteral("&File"));
    mnuFile->setObjectName(QStringLiteral("mnuFile"));
    mnuSND = item(mnuFile, "mnuSND", QStringLiteral("&Send formated text"), &Form3::mnuSND_Click);
    mnuSNDFile = item(mnuFile, "mnuSNDFile", QStringLiteral("Send File"), &Form3::mnuSNDFile_Click);
    mnuHide = item(mnuFile, "mnuHide", QStringLiteral("Hide Transfers"), &Form3::mnuHide_Click);
    mnuShow = item(mnuFile, "mnuShow", QStringLiteral("Show Transfers"), &Form3::mnuShow_Click);
    mnuMenu = bar->addMenu(QStringLiteral("Menu"));
    mnuMenu->setObjectName(QStringLiteral("mnuMenu"));
    mnuClearPersonalChat = item(mnuMenu, "mnuClearPersonalChat", QStringLiteral("Clear Personal Chat Area"),
                                &Form3::mnuClearPersonalChat_Click);
}

QString Form3::peer() const {
    const QString last = windowTitle().split(u' ').last();
    return last.size() >= 2 ? last.mid(1, last.size() - 2) : QString();
}

void Form3::appendIncoming(const QString& line) {
    QTextCursor cursor(rtb->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(QStringLiteral("\n") + line);
}

void Form3::showWithoutActivating() {
    if (isVisible())
        return;
    setAttribute(Qt::WA_ShowWithoutActivating, true);
    show();
    setAttribute(Qt::WA_ShowWithoutActivating, false);
}

void Form3::showForTyping() {
    show();
    raise();
    activateWindow();
    Text1->setFocus();
}

void Form3::Text1_KeyPress() {
    const QString text = Text1->text();
    if (text.isEmpty())
        return;
    if (text.toLower() == u"/cancel") {
        Winsock1_Close();
        Winsock2_Close();
        Text1->clear();
        return;
    }
    if (m_session.isConnected()) {
        m_session.send(ChatMessage::build(ChatProtocol::PrivateMsg, {peer(), text}));
        echoOwnLine(text);
    }
    Text1->clear();
}

void Form3::Text1_Change() {
    // The upper-case word is the automatic identification answer; nobody may send it by hand.
    const QString text = Text1->text();
    if (!text.contains(ChatProtocol::WhoYou))
        return;
    const int caret = Text1->cursorPosition();
    Text1->setText(QString(text).replace(ChatProtocol::WhoYou, QStringLiteral("/whoyou")));
    Text1->setCursorPosition(caret);
}

bool Form3::eventFilter(QObject* watched, QEvent* event) {
    if (watched == rtb && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        // Typing in the conversation goes to the input line; copying stays where the selection is.
        if (!key->matches(QKeySequence::Copy) && !key->text().isEmpty() && key->text().at(0).isPrint()) {
            Text1->setFocus();
            Text1->setText(Text1->text() + key->text());
            Text1->end(false);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void Form3::mnuClearPersonalChat_Click() {
    rtb->clear();
}

void Form3::mnuSND_Click() {
    Q_EMIT composerWanted(peer());
}

void Form3::mnuSNDFile_Click() {
    if (m_sender->uploadBusy())
        return;
    m_sender->setUploadBusy(true);
    Prompts& prompts = m_services.prompts;
    const QString path =
        prompts.openFile(QStringLiteral("Select a File To Send."), QString(), QStringLiteral("All Files"));
    QString port;
    if (path.isEmpty() || !choosePort(path, &port)) {
        m_sender->setUploadBusy(false);
        return;
    }
    // Without the chat connection the offer cannot go out; the port keeps listening until "/cancel".
    if (!m_session.isConnected())
        return;
    Q_EMIT offerGoingOut();
    m_session.send(ChatMessage::build(ChatProtocol::PrivateMsg,
                                      {peer(), QString(ChatProtocol::SendFile) + ChatProtocol::ListSeparator + path +
                                                   ChatProtocol::ListSeparator + port}));
    echoOwnLine(QStringLiteral("Trying to send ") + path);
}

void Form3::echoOwnLine(const QString& text) {
    // The echo rewrites the whole conversation, as it always has.
    rtb->setPlainText(rtb->toPlainText() + QStringLiteral("\n<") + m_session.nickname() + QStringLiteral("> ") +
                      text);
}

bool Form3::choosePort(const QString& path, QString* portText) {
    Services& services = m_services;
    for (;;) {
        const std::optional<QString> answer = services.prompts.input(
            QStringLiteral("Select a port... Must allow connections through firewall/router..."),
            QStringLiteral("PORT"), QString::number(services.random.between(200, 5199)));
        if (!answer || answer->isEmpty())
            return false;
        if (!TransferText::usablePort(*answer)) {
            services.prompts.message(QStringLiteral("Quorvel"), QStringLiteral("Unusable Port"));
            continue;
        }
        const auto port = quint16(TransferText::leadingNumber(*answer));
        QString error;
        if (m_sender->listen(port, path, &error)) {
            *portText = *answer;
            return true;
        }
        services.prompts.message(QStringLiteral("Quorvel"),
                                 QStringLiteral("Unable to listen on port %1: %2").arg(port).arg(error),
                                 Prompts::Icon::Exclamation);
    }
}

void Form3::receiveFile(const QString& host, quint16 port) {
    m_receiver->start(host, port);
}

void Form3::closeSockets() {
    Winsock1->abort();
    Winsock2->abort();
}

void Form3::Winsock1_Close() {
    m_sender->close();
}

void Form3::Winsock2_Close() {
    m_receiver->close();
}
