#pragma once

#include "privatechat/FileSlots.h"

#include <QObject>
#include <QPointer>

#include <array>

class Form1;
class Form3;
class Form5;
class Form11;
class Path;

// What the private windows share program-wide: the two file slots, the transfer window, the composer,
// the table of offer dialogs and the primary private window. Owned by the main window.
class PrivateChat : public QObject {
    Q_OBJECT
public:
    static constexpr int OfferDialogs = 51;

    explicit PrivateChat(Form1& main);
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

    // An offer from a member, as the dispatcher found it.
    void offerReceived(const QString& sender, const QString& file, const QString& port,
                       const QString& address);
    // The member refused an offer: the sending end of that member's window stops listening.
    void declineReceived(const QString& sender);
    void closeWindows();

private:
    Form1& m_main;
    FileSlots m_slots;
    QPointer<Form11> m_transferWindow;
    QPointer<Form3> m_primary;
    QPointer<Form5> m_composer;
    std::array<QPointer<Path>, OfferDialogs> m_offers;
};
