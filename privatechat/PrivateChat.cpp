#include "privatechat/PrivateChat.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatSession.h"
#include "privatechat/Form11.h"
#include "privatechat/Form3.h"
#include "privatechat/Form5.h"
#include "privatechat/Path.h"
#include "privatechat/TransferText.h"

#include <QWidget>

namespace {
QString captionFor(const QString& nickname) { return QStringLiteral("Chat With <") + nickname + u'>'; }
} // namespace

PrivateChat::PrivateChat(ChatSession& session, Services& services, QWidget& windowParent)
    : QObject(&windowParent)
    , m_session(session)
    , m_services(services)
    , m_windowParent(windowParent) {}

PrivateChat::~PrivateChat() = default;

Form11& PrivateChat::transferWindow() {
    if (!m_transferWindow) {
        m_transferWindow = new Form11(&m_windowParent);
        connect(m_transferWindow, &Form11::cancelDownload, this,
                [this] { primaryWindow().Winsock2_Close(); });
        connect(m_transferWindow, &Form11::cancelUpload, this, [this] { primaryWindow().Winsock1_Close(); });
        connect(m_transferWindow, &Form11::closed, this, [this] { primaryWindow().closeSockets(); });
    }
    return *m_transferWindow;
}

void PrivateChat::showTransferWindow() {
    Form11& w = transferWindow();
    w.show();
    w.raise();
}

Form3* PrivateChat::newWindow() {
    auto* w = new Form3(m_session, m_services, m_slots, transferWindow(), &m_windowParent);
    connect(w, &Form3::composerWanted, this, &PrivateChat::showComposer);
    connect(w, &Form3::offerGoingOut, this, &PrivateChat::showTransferWindow);
    return w;
}

Form3& PrivateChat::primaryWindow() {
    if (!m_primary)
        m_primary = newWindow();
    return *m_primary;
}

void PrivateChat::showComposer(const QString& recipient) {
    if (!m_composer) {
        m_composer = new Form5(m_session, &m_windowParent);
        m_composer->setAttribute(Qt::WA_DeleteOnClose);
        // The conversation with the recipient shows the block as if each line had been typed there.
        connect(m_composer, &Form5::lineSent, this, [this](const QString& to, const QString& line) {
            if (Form3* window = findPrivateWindow(to))
                window->echoOwnLine(line);
        });
    }
    m_composer->show();
    m_composer->raise();
    m_composer->setRecipient(recipient);
}

Form5* PrivateChat::composer() const {
    return m_composer;
}

Path* PrivateChat::offerDialog(int index) const {
    return index >= 0 && index < OfferDialogs ? m_offers[std::size_t(index)].data() : nullptr;
}

Form3* PrivateChat::privateWindow(int slot) const {
    return slot >= 0 && slot < PrivateWindowSlots ? m_windows[std::size_t(slot)].data() : nullptr;
}

Form3* PrivateChat::privateWindowAt(int slot) {
    if (slot < 0 || slot >= PrivateWindowSlots)
        return nullptr;
    auto& w = m_windows[std::size_t(slot)];
    if (!w)
        w = newWindow();
    return w;
}

Form3* PrivateChat::findPrivateWindow(const QString& nickname) const {
    Form3* w = privateWindow(privateWindowSlotFor(nickname));
    return w && w->windowTitle() == captionFor(nickname) ? w : nullptr;
}

int PrivateChat::privateWindowSlotFor(const QString& nickname) const {
    const QString caption = captionFor(nickname);
    int empty = 0;
    for (int slot = 1; slot < PrivateWindowSlots; ++slot) {
        const Form3* w = m_windows[std::size_t(slot)];
        if (w && w->windowTitle() == caption)
            return slot;
        if (!w && !empty)
            empty = slot;
    }
    return empty;
}

Form3* PrivateChat::createPrivateWindow(const QString& caption) {
    // Slot 0 has never been used for a conversation.
    for (int slot = 1; slot < PrivateWindowSlots; ++slot) {
        if (!m_windows[std::size_t(slot)]) {
            Form3* w = privateWindowAt(slot);
            w->setWindowTitle(caption);
            return w;
        }
    }
    return nullptr;
}

Form3* PrivateChat::openPrivateWindow(const QString& nickname) {
    const QString bracketed = u'<' + nickname + u'>';
    Form3* w = nullptr;
    for (int slot = 1; slot < PrivateWindowSlots && !w; ++slot) {
        Form3* candidate = m_windows[std::size_t(slot)];
        if (candidate && candidate->windowTitle().contains(bracketed))
            w = candidate;
    }
    if (!w)
        w = createPrivateWindow(captionFor(nickname));
    if (w)
        w->showForTyping();
    return w;
}

void PrivateChat::lineArrived(const QString& sender, const QString& bracketedSender, const QString& line) {
    Form3* window = findPrivateWindow(sender);
    if (!window)
        window = createPrivateWindow(QStringLiteral("Chat With ") + bracketedSender);
    // With all ten windows taken by others the line is dropped, as it always was. A window the user
    // closed comes back with the line, but leaves the keyboard where the user is typing.
    if (window) {
        window->appendIncoming(line);
        window->showWithoutActivating();
    }
}

void PrivateChat::offerReceived(const QString& sender, const QString& file, const QString& port,
                                const QString& address) {
    for (auto& dialog : m_offers) {
        // An answered dialog is on its way out, and free again once it is gone.
        if (dialog && (dialog->isVisible() || dialog->answered == 1))
            continue;
        if (!dialog) {
            dialog = new Path(m_session, &m_windowParent);
            connect(dialog, &Path::offerAccepted, this, &PrivateChat::receiveOffer);
        }
        dialog->showOffer(u'<' + sender + u'>', file, port, address, privateWindowSlotFor(sender));
        return;
    }
    // Every dialog holds an unanswered offer.
    m_session.send(ChatMessage::build(ChatProtocol::PrivateMsg, {sender, ChatProtocol::SendDecline.toString()}));
}

void PrivateChat::receiveOffer(int windowIndex, const QString& bracketedSender, const QString& host,
                               const QString& port) {
    Form3* window = privateWindowAt(windowIndex);
    if (!window)
        return;
    window->setWindowTitle(QStringLiteral("Chat With ") + bracketedSender);
    window->show();
    const qint64 number = TransferText::leadingNumber(port);
    // A port that cannot exist fails to connect, which the transfer window reports.
    window->receiveFile(host, number <= 65535 ? quint16(number) : 0);
}

void PrivateChat::declineReceived(const QString& sender) {
    if (Form3* w = findPrivateWindow(sender))
        w->Winsock1_Close();
}

void PrivateChat::closeWindows() {
    for (auto& w : m_windows) {
        if (w)
            w->close();
    }
    if (m_transferWindow)
        m_transferWindow->hide();
    if (m_composer)
        m_composer->close();
    for (auto& dialog : m_offers) {
        if (dialog)
            dialog->deleteLater();
    }
}
