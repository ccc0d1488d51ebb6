#include "privatechat/PrivateChat.h"

#include "app/Form1.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "privatechat/Form11.h"
#include "privatechat/Form3.h"
#include "privatechat/Form5.h"
#include "privatechat/Path.h"

PrivateChat::PrivateChat(Form1& main)
    : QObject(&main)
    , m_main(main) {}

PrivateChat::~PrivateChat() = default;

Form11& PrivateChat::transferWindow() {
    if (!m_transferWindow) {
        m_transferWindow = new Form11(&m_main);
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

Form3& PrivateChat::primaryWindow() {
    if (!m_primary)
        m_primary = new Form3(m_main, &m_main);
    return *m_primary;
}

void PrivateChat::showComposer(const QString& recipient) {
    if (!m_composer) {
        m_composer = new Form5(m_main, &m_main);
        m_composer->setAttribute(Qt::WA_DeleteOnClose);
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

void PrivateChat::offerReceived(const QString& sender, const QString& file, const QString& port,
                                const QString& address) {
    auto decline = [&] {
        m_main.send(
            ChatMessage::build(ChatProtocol::PrivateMsg, {sender, ChatProtocol::SendDecline.toString()}));
    };
    for (auto& dialog : m_offers) {
        // An answered dialog is on its way out, and free again once it is gone.
        if (dialog && (dialog->isVisible() || dialog->answered == 1))
            continue;
        if (!dialog)
            dialog = new Path(m_main, &m_main);
        dialog->showOffer(u'<' + sender + u'>', file, port, address, m_main.privateWindowSlotFor(sender));
        return;
    }
    // Every dialog holds an unanswered offer.
    decline();
}

void PrivateChat::declineReceived(const QString& sender) {
    if (Form3* w = m_main.findPrivateWindow(sender))
        w->Winsock1_Close();
}

void PrivateChat::closeWindows() {
    if (m_transferWindow)
        m_transferWindow->hide();
    if (m_composer)
        m_composer->close();
    for (auto& dialog : m_offers) {
        if (dialog)
            dialog->deleteLater();
    }
}
