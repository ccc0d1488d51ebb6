#pragma once

#include <QWidget>

class FileReceiver;
class FileSender;
class ChatSession;
class FileSlots;
class QAction;
class QLineEdit;
class QMenu;
class QTcpSocket;
class QTextEdit;
class TransferView;
struct Services;

// A private conversation with one member. Its caption, "Chat With <name>", is how it knows its peer.
// The window also hosts both ends of a direct file transfer with that member.
class Form3 : public QWidget {
    Q_OBJECT
public:
    // The transfer ends of every private window share the file slots and report to one view.
    Form3(ChatSession& session, Services& services, FileSlots& fileSlots, TransferView& transfers,
          QWidget* parent = nullptr);
    ~Form3() override;

    QTcpSocket* Winsock2; // receiving end of a file transfer
    QTcpSocket* Winsock1; // sending end, once the peer has connected
    QTextEdit* rtb;
    QLineEdit* Text1;

    QMenu* mnuFile;
    QAction* mnuSND;
    QAction* mnuSNDFile;
    QAction* mnuHide;
    QAction* mnuShow;
    QMenu* mnuMenu;
    QAction* mnuClearPersonalChat;

    // The peer as the caption names it: the last blank-separated word without its first and last character.
    QString peer() const;
    // Appends a line of one's own, as "<own nickname> text" on a new line of the conversation.
    void echoOwnLine(const QString& text);
    // Appends a line the peer sent, on a new line of the conversation.
    void appendIncoming(const QString& line);
    // Shows a window that a line arrived in without taking the keyboard from the window in use.
    void showWithoutActivating();
    // Shows the window for the user who asked for it, with the focus in the input line.
    void showForTyping();

    FileSender& sender() { return *m_sender; }
    FileReceiver& receiver() { return *m_receiver; }
    // Starts the download of an accepted offer from this window's peer.
    void receiveFile(const QString& host, quint16 port);
    // Drops both transfer connections, as closing the transfer window does to the primary window.
    void closeSockets();

    void Text1_KeyPress();
    void Text1_Change();
    void mnuSND_Click();
    void mnuSNDFile_Click();
    void mnuHide_Click() {}
    void mnuShow_Click() {}
    void mnuClearPersonalChat_Click();
    void Winsock1_Close();
    void Winsock2_Close();

Q_SIGNALS:
    // The composer is wanted, addressed to this window's peer.
    void composerWanted(const QString& peer);
    // An offer of a file goes out: its progress is about to be shown.
    void offerGoingOut();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildMenus();
    // Asks for a port until a usable one listens; false when the user gave up.
    bool choosePort(const QString& path, QString* portText);

    ChatSession& m_session;
    Services& m_services;
    FileSender* m_sender;
    FileReceiver* m_receiver;
};
