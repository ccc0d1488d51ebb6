#pragma once

#include "browser/Form10.h"
#include "browser/FriendsOnServers.h"
#include "common/Services.h"
#include "servers/LaunchHost.h"
#include "servers/ServerQuery.h"

#include <QPointer>
#include <QWidget>

#include <memory>

class LiveServerTable;
class MasterListFetch;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QMenu;
class QMenuBar;
class QPushButton;
class QRadioButton;
class QTimer;
class StarterOptions;

// The game server browser: the chosen game and its path, the favourite and master server lists,
// and the chosen-server fields that the monitor window and the launcher read when they act.
class GameStarter : public QWidget, private QueryTarget {
    Q_OBJECT
public:
    explicit GameStarter(Services services, QWidget* parent = nullptr);
    ~GameStarter() override;

    static inline const QString Playing = QStringLiteral("Playing");
    static inline const QString NotPlaying = QStringLiteral("Quorveling");

    // Controls, under the names the program has always used.
    QMenuBar* menuBar;
    QComboBox* Combo1; // the game key: "*Home", "Half-Life", "Kingpin", "RTCW"
    QGroupBox* Frame1; // Half-Life mods
    QRadioButton* Option1;
    QRadioButton* Option2;
    QRadioButton* Option3;
    QRadioButton* Option4;
    QCheckBox* chkCSRetail;
    QGroupBox* Frame2; // Kingpin options
    QRadioButton* Option5;
    QCheckBox* Check1; // start Kingpin through mmclient.exe
    QCheckBox* chkKPNAME;
    QLineEdit* txtKPNAME;
    QLineEdit* txtKPREPLACE;
    QLineEdit* txtMMCLIENTREPLACE;
    QGroupBox* Frame3; // RTCW
    QRadioButton* Option6;
    QGroupBox* Frame4;     // "Select a game!"
    QLineEdit* txtGameEXE; // executable suffix, with its leading backslash
    QLabel* lblFavorites;
    QListWidget* lstServers;
    QLabel* lblMasterServers;
    QListWidget* lstMasterServers;
    QGroupBox* Frame6; // the chosen-server fields
    QLineEdit* Text3;  // chosen server: name
    QLineEdit* Text2;  // chosen server: address
    QLineEdit* Text4;  // chosen server: port
    QPushButton* Command5;
    QGroupBox* Frame5; // the button strip
    QPushButton* Join;
    QPushButton* Command7;
    QPushButton* Command4;
    QPushButton* Command1;
    QPushButton* cmdQvlList;
    QPushButton* Command6;
    QLabel* lblStatus;
    QLineEdit* txtPlayingGame; // "Playing" while a launched game runs, else "Quorveling"
    QTimer* tmrFetch;
    QTimer* tmrIFServerListIsEmpty;

    QMenu* mnuMenu;
    QAction* mnuOptions;
    QMenu* mnuKingpin;
    QAction* mnuEditKingpinAutoexec;
    QAction* mnuEditKingpinConfig;
    QAction* mnuKingpinInfo;
    QAction* mnuKPCheat;
    QMenu* mnuHide; // popup of lstServers
    QAction* mnuJoinServer;
    QAction* mnuGetServerStats2;
    QAction* mnuAddToFavs;
    QAction* mnuEditServerDetails;
    QAction* mnuRemoveServer;
    QAction* mnuCopyIPPort;
    QAction* mnuCopyServerNameAddress;
    QMenu* mnuServerListMenu; // popup of lstMasterServers
    QAction* mnuGetServerStats;

    StarterOptions& options() { return *m_options; }
    // The fetch dialog while it is loaded, else null.
    Form10* fetchDialog() const { return m_form10; }

    QString gameKey() const override;
    // Selects the game by its exact key; an unknown key selects "*Home".
    void setGameKey(const QString& key);
    bool isPlaying() const;
    // The file name the browse dialog proposes for the chosen game.
    QString proposedFileName() const { return m_proposedFileName; }

    // Acts as the join button for a followed member's game.
    void follow();

    // The catalogue, paths and settings.
    void Combo1_Change();
    void cmdGetPath_Click();
    void Check1_Click();
    bool IfFileExists();
    void Convert2ShoutOnPath();
    void loadini();
    void saveini();
    QString IniSection;
    QString IniKey;
    QString IniValue;

    // Server lists and favourites.
    void HLLoadWhatMod();
    void SaveServerList();
    void Command5_Click();
    void mnuEditServerDetails_Click();
    void mnuRemoveServer_Click();
    void lstServers_Click();
    void lstMasterServers_Click();
    void lstServers_DblClick();
    void lstMasterServers_DblClick();
    void chkIfServerListEmpty();

    // Master-list download.
    void cmdQvlList_Click();
    void tmrFetch_Timer();
    void Form10_Stop();
    // Ends a master-list fetch that the shown game or mod no longer wants.
    void abandonFetch();

    // Browser actions.
    void join_click();
    void Command7_Click();
    void mnuCopyIPPort_Click();
    void mnuCopyServerNameAddress_Click();
    void mnuEditKingpinAutoexec_Click();
    void mnuEditKingpinConfig_Click();

    // Starts the game on the chosen server (browser/GameStarterJoin.cpp). The chat window, when
    // there is one, is told through the launch host.
    void JoinGame();
    void setLaunchHost(std::unique_ptr<LaunchHost> host);
    // Shows the monitor window for the chosen server, and closes it (browser/GameStarterMonitor.cpp).
    void showPingServers();
    void UnLoadPingServers();

    // Every server of both lists asked at once, in a window of its own (browser/GameStarterLive.cpp).
    void showLiveServerTable();
    void closeLiveServerTable();
    LiveServerTable* liveServerTable() const;

    // What the room says, for the servers where its members play now: each public line as the
    // room shows it ("<Fred> joined Kingpin, server : ..."), a member who left the room, and the
    // room left altogether (signed off or disconnected).
    void roomLineArrived(const QString& displayLine);
    void roomMemberLeft(const QString& nickname);
    void roomEmptied();
    const FriendsOnServers& friendsOnServers() const { return m_friends; }

Q_SIGNALS:
    // The join checks passed and the launch is about to run.
    void joinRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The server the monitor queries: the server fields as they stand at each query.
    QString serverAddress() const override;
    QString serverPort() const override;

    static QListWidgetItem* selectedItem(const QListWidget* list);
    void buildControls();
    void buildMenus();
    void connectHandlers();
    void modOption_Click(QRadioButton* option);
    void readPathFile(const QString& pathFile);
    QString favouritesFile() const;
    int modIndex() const;
    void loadList(QListWidget* list, const QString& backslashName);
    // Writes one of the program's files; says why when it cannot.
    bool saveLines(const QString& backslashName, const QStringList& lines);
    void takeApart(QListWidget* list);
    void fillServerFields(const QString& entry);
    void friendsMoved(bool changed);
    void markFriends(QListWidget* list);
    void openKingpinFile(const QString& relative);
    void fetchFinished(const QByteArray& body);
    void fetchUnreachable(const QString& reason);
    void headFinished(const QString& contentLength);
    QString masterListAddress() const;
    Prompts::Answer say(const QString& text, Prompts::Icon icon,
                        Prompts::Buttons buttons = Prompts::Buttons::Ok,
                        const QString& title = QStringLiteral("Quorvel"));

    bool startGame();
    bool runBatch(const QString& backslashName, const QStringList& lines);
    void backFromGame();

    Services m_services;
    std::unique_ptr<LaunchHost> m_launchHost;
    StarterOptions* m_options;
    MasterListFetch* m_fetch;
    QPointer<Form10> m_form10;
    QString m_proposedFileName;
    QString m_lastFetchGame;
    QString m_fetchFile;
    QPushButton* m_liveListButton;
    QPointer<LiveServerTable> m_liveTable;
    FriendsOnServers m_friends;
};
