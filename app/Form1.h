#pragma once

#include "ancillary/ColourScheme.h"
#include "chat/ChatRoomView.h"
#include "common/Services.h"

#include <QMainWindow>
#include <QPointer>
#include <QTextCursor>

#include <optional>

class ChatDispatcher;
class ChatSession;
class EmoticonReplacer;
class Form2;
class Form3;
class PrivateChat;
class Form6;
class Form8;
class GameStarter;
class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class QStatusBar;
class QTcpSocket;
class QTextEdit;
class SingleInstance;

// The chat room's window, observing the session; it also owns the program's life.
class Form1 : public QMainWindow, public ColourSchemeTarget, public ChatRoomView {
    Q_OBJECT
public:
    static constexpr qint64 ActionColourAtStart = 0x80FF;

    explicit Form1(Services services, QWidget* parent = nullptr);
    ~Form1() override;

    // Refuses a second copy (false: the caller ends the program), loads the settings file.
    bool Form_Load();

    Services& services() { return m_services; }
    ChatSession& session() { return *m_session; }
    QString nickname() const;
    void setPassword(const QString& password);
    QString password() const;
    QStringList identificationEntries() const;
    QString serverHost() const;
    quint16 serverPort() const;
    void setServerAddress(const QString& host, quint16 port);
    QString statusText() const;
    QString connectionText() const;
    GameStarter& gameStarter();
    Form2& userInfo();
    Form3* privateWindow(int slot) const;
    Form3* findPrivateWindow(const QString& nickname) const;
    // Transfers, the composer and offers, shared by all private windows.
    PrivateChat& privateChat() { return *m_privateChat; }
    bool isConnected() const;
    bool soundsOn() const override;

    // Controls, under the names the program has always used.
    QTextEdit* rtb;
    QListWidget* LV1;
    QLineEdit* Text1;
    QLineEdit* Text3;
    QComboBox* cboServer;
    QComboBox* Combo1;
    QListWidget* List1;
    QListWidget* List2;
    QStatusBar* s;
    QTcpSocket* Winsock1; // the session's connection

    QMenu* mnufile;
    QMenu* mnuOpts;
    QMenu* mnutools;
    QMenu* mnuhlp;
    QMenu* mnua;
    QMenu* mnuopi;
    QAction* mnucon;
    QAction* mnudis;
    QAction* mnuNews;
    QAction* mnuGameStarter;
    QAction* mnuExit;
    QAction* mnuClearChat;
    QAction* mnuCommands;
    QAction* mnuAbo;
    QAction* mnucolors;
    QAction* mnuEd;
    QAction* mnuDEC;
    QAction* mnuIPM;
    QAction* mnuSoundEffects;
    QAction* mnuNotify;
    QAction* mnuVI;
    QAction* mnucI;
    QAction* mnuPM;
    QAction* mnuIS;
    QAction* mnuFollowUser;
    QAction* mnuLastLoggedOn;
    QAction* mnuIG;
    QAction* mnuUn;
    QAction* mnuKick;
    QAction* mnuBan;
    QAction* mnuMBAN;
    QAction* mnuMuzzle;
    QAction* mnuVIP;
    QAction* mnuOPC;
    QAction* mnuCSB;
    QAction* mnuCPB;
    QAction* mnuCRB;

    // Display colours of chat lines, in blue-green-red.
    qint64 actionColour = ActionColourAtStart;
    qint64 messageColour = 0;
    qint64 colour(ColourRole role) const override;
    void setColour(ColourRole role, qint64 bgr) override;
    // The colour scheme editor, opened on first use.
    Form6& colourEditor();

    // Appends a new line (it begins the line break, so the display never ends with one).
    void appendLine(const QString& text, qint64 bgrColour) override;
    qint64 actionLineColour() const override { return actionColour; }
    qint64 messageLineColour() const override { return messageColour; }
    void scrollToNewest();
    void selectUser(const QString& nickname);
    QString selectedUser() const;
    // Sends one message on the chat socket; false when not connected.
    bool send(const QString& message);

    // Sign-on: closes an open connection and connects to the server box's host.
    void signOn();
    // The plain signed-off state: status texts, menus, an empty user list, no account request.
    void signedOff();
    void accountAnswered(bool created) override;
    void connectionEnded() override { Winsock1_Close(); }
    void removeGreeting() override;
    void followuser();
    void BackFromGame();
    void setSignedOnMenus(bool signedOn);
    void updateMemberItems();
    void setStatusText(const QString& text);
    void setConnectionText(const QString& text);
    Form3* openPrivateWindow(const QString& nickname);

    // Menu and control handlers.
    void mnuExit_Click();
    void mnucon_Click();
    void mnudis_Click();
    void mnuNews_Click();
    void mnuGameStarter_Click();
    void mnuClearChat_Click();
    void mnuCommands_Click();
    void mnuEd_Click();
    void mnucolors_Click();
    void mnuAbo_Click();
    void mnuPM_Click();
    void mnuIS_Click();
    void mnuFollowUser_Click();
    void mnuLastLoggedOn_Click();
    void mnuIG_Click();
    void mnuUn_Click();
    void mnuVI_Click();
    void mnucI_Click();
    void mnuOps_Click(QLatin1StringView subCommand, bool withTarget);
    void mnuNewsPost_Click();
    void Text1_Enter();
    void Combo1_Click(const QString& entry);
    void Winsock1_Connect(bool forAccount);
    void Winsock1_Close();
    void Winsock1_Error();
    // One read from the chat server, already decoded: what the data-arrival handler runs.
    void Winsock1_DataArrival(const QString& read);
    void handleRead(const QString& read) { Winsock1_DataArrival(read); }
    void showDisplayBeforePrompt() override;
    void runEmoticonPass() override;
    std::optional<FollowTarget> currentGame() override;
    void followInto(const FollowTarget& target) override;
    void showIdentification(const QString& sender, const QStringList& entries) override;
    void privateLineArrived(const QString& sender, const QString& bracketedSender, const QString& line) override;
    void fileOffered(const QString& sender, const QString& file, const QString& port,
                     const QString& address) override;
    void declineReceived(const QString& sender) override;

Q_SIGNALS:
    // One read of the chat socket has been handled (whether or not it ended early).
    void readHandled();
    // The program ends: main() quits the event loop on this.
    void programEnded();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildMenus();
    void buildLayout();
    void applyDefaultColours();
    void applySettings();
    void saveSettings() const;
    void endProgram();
    void closeQuietly();
    void endAccountConnection();
    void observeSession();
    void showGreeting();

    Services m_services;
    ChatSession* m_session;
    bool m_ending = false;
    bool m_handlingRead = false;
    // Whether the reader is at the newest line (not scrolled back).
    bool m_followNewest = true;
    bool m_greetingShown = false;
    QPointer<Form8> m_accountDialog;
    QTextCursor m_readEdit;
    QLabel* m_statusPanel;
    QLabel* m_connectionPanel;
    QPointer<GameStarter> m_gameStarter;
    QPointer<Form2> m_userInfo;
    QPointer<Form6> m_colourEditor;
    std::unique_ptr<ChatDispatcher> m_dispatcher;
    std::unique_ptr<SingleInstance> m_runningCopy;
    EmoticonReplacer* m_emoticons;
    PrivateChat* m_privateChat;
};
