#pragma once

#include "privatechat/FileSlots.h"

#include <QObject>
#include <QPointer>

#include <array>

class ChatSession;
class Form3;
class Form5;
class Form11;
class Path;
class QWidget;
struct Services;

// Private chat program-wide: the table of private windows, the two file slots, the transfer window,
// the composer, the offer dialogs and the primary private window. It works with the session; its
// windows belong to the window given as their parent.
class PrivateChat : public QObject {
    Q_OBJECT
public:
    static constexpr int OfferDialogs = 51;
    static constexpr int PrivateWindowSlots = 11;

    PrivateChat(ChatSession& session, Services& services, QWidget& windowParent);
    ~PrivateChat() override;

    FileSlots& fileSlots() { return m_slots; }
    Form11& transferWindow();
    void showTransferWindow();
    // The private window that exists under the form's own name: the transfer window's Cancel buttons
    // act on it, whichever window runs the transfer.
    Form3& primaryWindow();
    void showComposer(const QString& recipient);
    Form5* composer() const;
    Path* offerDialog(int index) const;

    Form3* privateWindow(int slot) const;
    // The window in a slot, created (hidden) when the slot is empty.
    Form3* privateWindowAt(int slot);
    // The private window captioned for this member, or null.
    Form3* findPrivateWindow(const QString& nickname) const;
    // The slot a member's window has, else the first empty one, else slot 0, which conversations never use.
    int privateWindowSlotFor(const QString& nickname) const;
    // Puts a new, still hidden window into the first free slot (1 to 10); null when all are taken.
    Form3* createPrivateWindow(const QString& caption);
    // Opens or brings forward the window for a member, ready for typing; null when all slots are taken.
    Form3* openPrivateWindow(const QString& nickname);

    // A private line from a member, shown in that member's window.
    void lineArrived(const QString& sender, const QString& bracketedSender, const QString& line);
    // An offer from a member, as the dispatcher found it.
    void offerReceived(const QString& sender, const QString& file, const QString& port,
                       const QString& address);
    // The member refused an offer: the sending end of that member's window stops listening.
    void declineReceived(const QString& sender);
    void closeWindows();

private:
    Form3* newWindow();
    void receiveOffer(int windowIndex, const QString& bracketedSender, const QString& host, const QString& port);

    ChatSession& m_session;
    Services& m_services;
    QWidget& m_windowParent;
    FileSlots m_slots;
    std::array<QPointer<Form3>, PrivateWindowSlots> m_windows;
    QPointer<Form11> m_transferWindow;
    QPointer<Form3> m_primary;
    QPointer<Form5> m_composer;
    std::array<QPointer<Path>, OfferDialogs> m_offers;
};
