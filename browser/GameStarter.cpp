#include "browser/GameStarter.h"

#include "browser/Form10.h"
#include "servers/GameCatalogue.h"
#include "browser/MasterListFetch.h"
#include "browser/StarterOptions.h"
#include "common/AccessibleWindows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QTimer>
#include <QVBoxLayout>

namespace {

template <typename Control> Control* named(Control* control, const char* name) {
    control->setObjectName(QString::fromLatin1(name));
    return control;
}

template <typename Control> Control* named(Control* control, const char* name, const QString& tip) {
    control->setObjectName(QString::fromLatin1(name));
    control->setToolTip(tip);
    return control;
}

QAction* item(QMenu* menu, const char* name, const QString& caption) {
    QAction* action = menu->addAction(caption);
    action->setObjectName(QString::fromLatin1(name));
    return action;
}

} // namespace

GameStarter::GameStarter(Services services, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_services(std::move(services))
    , m_options(new StarterOptions(this))
    , m_fetch(new MasterListFetch(this)) {
    setObjectName(QStringLiteral("GameStarter"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Game Starter"));
    buildControls();
    buildMenus();
    connectHandlers();

    // The MM-client option is read before the games are offered.
    IniSection = QStringLiteral("Options");
    IniKey = QStringLiteral("KingpinMMClient");
    loadini();
    Check1->setChecked(IniValue.toInt() != 0);
    Combo1->addItems(GameCatalogue::keys());
    Combo1->setCurrentIndex(0);
    Combo1_Change();
    connect(Combo1, &QComboBox::currentIndexChanged, this, &GameStarter::Combo1_Change);
    tmrIFServerListIsEmpty->start();
}

GameStarter::~GameStarter() = default;

void GameStarter::buildControls() {
    Combo1 = named(new QComboBox(this), "Combo1");
    Combo1->setAccessibleName(QStringLiteral("Game"));

    Frame1 = named(new QGroupBox(QStringLiteral("Half-Life MODs"), this), "Frame1");
    Option1 = named(new QRadioButton(QStringLiteral("Team Fortress"), Frame1), "Option1");
    Option2 = named(new QRadioButton(QStringLiteral("Counter-Strike"), Frame1), "Option2");
    Option3 = named(new QRadioButton(QStringLiteral("Day of defeat"), Frame1), "Option3");
    Option4 = named(new QRadioButton(QStringLiteral("Standard HL"), Frame1), "Option4");
    chkCSRetail =
        named(new QCheckBox(QStringLiteral("Im using retail version"), Frame1), "chkCSRetail",
              QStringLiteral("Check this if you own a retailed version of CounterStrike. Do not check if "
                             "you own the mod version."));
    chkCSRetail->setEnabled(false);
    auto* hl = new QVBoxLayout(Frame1);
    for (QWidget* w :
         {static_cast<QWidget*>(Option1), static_cast<QWidget*>(Option2), static_cast<QWidget*>(Option3),
          static_cast<QWidget*>(Option4), static_cast<QWidget*>(chkCSRetail)})
        hl->addWidget(w);
    hl->addStretch();

    Frame2 = named(new QGroupBox(QStringLiteral("Kingpin Options"), this), "Frame2");
    Option5 = named(new QRadioButton(QStringLiteral("All Kingpin mods"), Frame2), "Option5",
                    QStringLiteral("All kingpin mods are run from one state."));
    Check1 = named(new QCheckBox(QStringLiteral("I'm using kingpin cheat protection"), Frame2), "Check1");
    chkKPNAME = named(new QCheckBox(QStringLiteral("Player name :"), Frame2), "chkKPNAME",
                      QStringLiteral("Tic if you would like to set a  player name"));
    txtKPNAME = named(new QLineEdit(QStringLiteral("PlayerName"), Frame2), "txtKPNAME",
                      QStringLiteral("Kingpin player name if needed"));
    txtKPNAME->setAccessibleName(QStringLiteral("Player name"));
    txtKPNAME->setEnabled(false);
    // A player name never holds a blank, typed or pasted.
    txtKPNAME->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[^ ]*")), txtKPNAME));
    txtKPREPLACE = named(new QLineEdit(GameCatalogue::KingpinExe, Frame2), "txtKPREPLACE");
    txtMMCLIENTREPLACE = named(new QLineEdit(GameCatalogue::MmClientExe, Frame2), "txtMMCLIENTREPLACE");
    for (QLineEdit* hidden : {txtKPREPLACE, txtMMCLIENTREPLACE}) {
        hidden->setAccessibleName(hidden->objectName());
        hidden->hide();
    }
    auto* kp = new QVBoxLayout(Frame2);
    for (QWidget* w : {static_cast<QWidget*>(Option5), static_cast<QWidget*>(Check1),
                       static_cast<QWidget*>(chkKPNAME), static_cast<QWidget*>(txtKPNAME)})
        kp->addWidget(w);
    kp->addStretch();

    Frame3 = named(new QGroupBox(QStringLiteral("RTCW Options"), this), "Frame3");
    Option6 = named(new QRadioButton(QStringLiteral("Standard RTCW"), Frame3), "Option6");
    auto* rtcw = new QVBoxLayout(Frame3);
    rtcw->addWidget(Option6);
    rtcw->addStretch();

    Frame4 = named(new QGroupBox(this), "Frame4");
    auto* notice = new QVBoxLayout(Frame4);
    notice->addWidget(new QLabel(QStringLiteral("Select a game!"), Frame4));
    notice->addStretch();

    txtGameEXE = named(new QLineEdit(this), "txtGameEXE");
    txtGameEXE->setAccessibleName(QStringLiteral("Game executable"));
    txtGameEXE->hide();
    txtPlayingGame = named(new QLineEdit(NotPlaying, this), "txtPlayingGame");
    txtPlayingGame->setAccessibleName(QStringLiteral("State"));
    txtPlayingGame->setReadOnly(true);
    txtPlayingGame->hide();

    lblFavorites = named(new QLabel(QStringLiteral(" Favorites :"), this), "lblFavorites");
    lstServers = named(new QListWidget(this), "lstServers", QStringLiteral("Your favorites..."));
    lstServers->setAccessibleName(QStringLiteral("Your favorites"));
    lblMasterServers = named(new QLabel(GameCatalogue::MasterCaptionNone, this), "lblMasterServers");
    lstMasterServers =
        named(new QListWidget(this), "lstMasterServers", QStringLiteral("Master server list..."));
    lstMasterServers->setAccessibleName(QStringLiteral("Master server list"));
    for (QListWidget* list : {lstServers, lstMasterServers})
        list->viewport()->installEventFilter(this);
    lstServers->installEventFilter(this);

    Frame6 = named(new QGroupBox(QStringLiteral("Add a game server to your favorities."), this), "Frame6");
    Text3 = named(new QLineEdit(Frame6), "Text3", QStringLiteral("Description/Name of game server"));
    Text2 = named(new QLineEdit(Frame6), "Text2", QStringLiteral("IP or Domain of game server."));
    Text4 = named(new QLineEdit(Frame6), "Text4", QStringLiteral("Port number of game server."));
    Command5 = named(new QPushButton(QStringLiteral("Add"), Frame6), "Command5",
                     QStringLiteral("Add a game server to your favorities."));
    auto* fields = new QHBoxLayout(Frame6);
    const std::pair<QString, QLineEdit*> labelled[] = {{QStringLiteral("Server Name :"), Text3},
                                                       {QStringLiteral("IP :"), Text2},
                                                       {QStringLiteral("Port :"), Text4}};
    for (const auto& [caption, field] : labelled) {
        auto* label = new QLabel(caption, Frame6);
        label->setBuddy(field);
        field->setAccessibleName(caption.chopped(2));
        fields->addWidget(label);
        fields->addWidget(field, field == Text3 ? 3 : field == Text2 ? 2 : 1);
    }
    fields->addWidget(Command5);

    Frame5 = named(new QGroupBox(this), "Frame5");
    Join = named(new QPushButton(QStringLiteral("Join"), Frame5), "Join", QStringLiteral("Join game..."));
    Command7 = named(new QPushButton(QStringLiteral("Server Stats"), Frame5), "Command7",
                     QStringLiteral("Get detail stats of the selected server"));
    Command4 = named(new QPushButton(QStringLiteral("Add To Favorites"), Frame5), "Command4",
                     QStringLiteral("Add the selected server to your favorites"));
    Command1 = named(new QPushButton(QStringLiteral("Delete"), Frame5), "Command1",
                     QStringLiteral("Delete a server from your favorites"));
    cmdQvlList = named(new QPushButton(QStringLiteral("Update"), Frame5), "cmdQvlList",
                       QStringLiteral("Update/Refresh master server list..."));
    Command6 = named(new QPushButton(QStringLiteral("More Optios >>"), Frame5), "Command6",
                     QStringLiteral("Advanced..."));
    m_liveListButton = named(new QPushButton(QStringLiteral("All Servers Live"), Frame5), "cmdAllServersLive",
                             QStringLiteral("Ask every server of both lists at once"));
    auto* strip = new QHBoxLayout(Frame5);
    for (QPushButton* b : {Join, Command7, Command4, Command1, cmdQvlList, Command6, m_liveListButton})
        strip->addWidget(b);

    lblStatus = named(new QLabel(this), "lblStatus");
    lblStatus->setFrameShape(QFrame::StyledPanel);
    tmrFetch = named(new QTimer(this), "tmrFetch");
    tmrFetch->setInterval(250);
    tmrIFServerListIsEmpty = named(new QTimer(this), "tmrIFServerListIsEmpty");
    tmrIFServerListIsEmpty->setInterval(250);

    // The option frames fill the left column; the lists take what the window grows by.
    // One width for the left column, whichever frame shows.
    int leftWidth = Combo1->sizeHint().width();
    for (QGroupBox* frame : {Frame1, Frame2, Frame3, Frame4})
        leftWidth = qMax(leftWidth, frame->sizeHint().width());
    auto* left = new QVBoxLayout;
    left->addWidget(Combo1);
    Combo1->setFixedWidth(leftWidth);
    for (QGroupBox* frame : {Frame1, Frame2, Frame3, Frame4}) {
        frame->setFixedWidth(leftWidth);
        left->addWidget(frame, 1);
    }
    auto* right = new QVBoxLayout;
    right->addWidget(lblFavorites);
    right->addWidget(lstServers, 1);
    right->addWidget(lblMasterServers);
    right->addWidget(lstMasterServers, 2);
    right->addWidget(Frame6);
    right->addWidget(Frame5);
    auto* grid = new QGridLayout(this);
    menuBar = named(new QMenuBar(this), "menuBar");
    grid->setMenuBar(menuBar);
    grid->addLayout(left, 0, 0);
    grid->addLayout(right, 0, 1);
    grid->setColumnStretch(1, 1);
    grid->addWidget(lblStatus, 1, 0, 1, 2);
    resize(760, 520);
}

void GameStarter::buildMenus() {
    mnuMenu = named(menuBar->addMenu(QStringLiteral("&Menu")), "mnuMenu");
    mnuOptions = item(mnuMenu, "mnuOptions", QStringLiteral("Options.."));
    mnuKingpin = named(menuBar->addMenu(QStringLiteral("&Kingpin")), "mnuKingpin");
    mnuEditKingpinAutoexec = item(mnuKingpin, "mnuEditKingpinAutoexec", QStringLiteral("Edit autoexec.cfg"));
    mnuEditKingpinConfig = item(mnuKingpin, "mnuEditKingpinConfig", QStringLiteral("Edit config.cfg"));
    mnuKingpin->addSeparator();
    mnuKingpinInfo = item(mnuKingpin, "mnuKingpinInfo", QStringLiteral("Kingpin Info"));
    mnuKPCheat = item(mnuKingpin, "mnuKPCheat", QStringLiteral("Kingpin Cheat Protection"));

    // The two popups never show in the menu bar.
    mnuHide = named(new QMenu(QStringLiteral("Favorites"), this), "mnuHide");
    mnuJoinServer = item(mnuHide, "mnuJoinServer", QStringLiteral("Join Server"));
    mnuGetServerStats2 = item(mnuHide, "mnuGetServerStats2", QStringLiteral("Get Server Stats"));
    mnuHide->addSeparator();
    mnuEditServerDetails = item(mnuHide, "mnuEditServerDetails", QStringLiteral("Edit Server Details"));
    mnuRemoveServer = item(mnuHide, "mnuRemoveServer", QStringLiteral("Remove Server"));
    mnuHide->addSeparator();
    mnuCopyIPPort = item(mnuHide, "mnuCopyIPPort", QStringLiteral("Copy IP:Port"));
    mnuCopyServerNameAddress =
        item(mnuHide, "mnuCopyServerNameAddress", QStringLiteral("Copy Server Name && Address"));
    mnuServerListMenu = named(new QMenu(QStringLiteral("Master Servers"), this), "mnuServerListMenu");
    mnuServerListMenu->addAction(mnuJoinServer);
    mnuGetServerStats = item(mnuServerListMenu, "mnuGetServerStats", QStringLiteral("Get Server Stats"));
    mnuAddToFavs = item(mnuServerListMenu, "mnuAddToFavs", QStringLiteral("Add To Favorites"));
}

QString GameStarter::gameKey() const {
    return Combo1->currentText();
}

void GameStarter::setGameKey(const QString& key) {
    Combo1->setCurrentIndex(qMax(0, Combo1->findText(key)));
}

bool GameStarter::isPlaying() const {
    return txtPlayingGame->text() == Playing;
}

void GameStarter::follow() {
    join_click();
}

Prompts::Answer GameStarter::say(const QString& text, Prompts::Icon icon, Prompts::Buttons buttons,
                                 const QString& title) {
    return m_services.prompts.message(title, text, icon, buttons);
}
