// What the browser's buttons, menus and keys do.
#include "browser/GameStarter.h"

#include "browser/Form10.h"
#include "servers/GameCatalogue.h"
#include "browser/MasterListFetch.h"
#include "browser/StarterOptions.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>

using namespace GameCatalogue;

namespace {

bool allDigits(const QString& text) {
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

} // namespace

void GameStarter::connectHandlers() {
    for (QRadioButton* mod : {Option1, Option2, Option3, Option4})
        connect(mod, &QRadioButton::clicked, this, [this, mod] { modOption_Click(mod); });
    connect(Option5, &QRadioButton::clicked, this,
            [this] { m_proposedFileName = QStringLiteral("kingpin.exe"); });
    connect(Check1, &QCheckBox::clicked, this, &GameStarter::Check1_Click);
    connect(chkKPNAME, &QCheckBox::toggled, txtKPNAME, &QLineEdit::setEnabled);
    connect(m_options->cmdGetPath0, &QPushButton::clicked, this, &GameStarter::cmdGetPath_Click);

    connect(lstServers, &QListWidget::itemClicked, this, &GameStarter::lstServers_Click);
    connect(lstServers, &QListWidget::currentRowChanged, this, &GameStarter::lstServers_Click);
    connect(lstServers, &QListWidget::itemDoubleClicked, this, &GameStarter::lstServers_DblClick);
    connect(lstMasterServers, &QListWidget::itemClicked, this, &GameStarter::lstMasterServers_Click);
    connect(lstMasterServers, &QListWidget::currentRowChanged, this, &GameStarter::lstMasterServers_Click);
    connect(lstMasterServers, &QListWidget::itemDoubleClicked, this, &GameStarter::lstMasterServers_DblClick);

    connect(Join, &QPushButton::clicked, this, &GameStarter::join_click);
    connect(Command7, &QPushButton::clicked, this, &GameStarter::Command7_Click);
    connect(m_liveListButton, &QPushButton::clicked, this, &GameStarter::showLiveServerTable);
    connect(Command4, &QPushButton::clicked, this, &GameStarter::Command5_Click);
    connect(Command5, &QPushButton::clicked, this, &GameStarter::Command5_Click);
    connect(Command1, &QPushButton::clicked, this, &GameStarter::mnuRemoveServer_Click);
    connect(cmdQvlList, &QPushButton::clicked, this, &GameStarter::cmdQvlList_Click);
    connect(Command6, &QPushButton::clicked, this,
            [this] { mnuKingpin->popup(Command6->mapToGlobal(QPoint(0, Command6->height()))); });

    connect(mnuOptions, &QAction::triggered, this, [this] {
        m_options->show();
        m_options->raise();
    });
    connect(mnuEditKingpinAutoexec, &QAction::triggered, this, &GameStarter::mnuEditKingpinAutoexec_Click);
    connect(mnuEditKingpinConfig, &QAction::triggered, this, &GameStarter::mnuEditKingpinConfig_Click);
    connect(mnuKingpinInfo, &QAction::triggered, this,
            [this] { m_services.desktop.openWithShell(KingpinInfoPage); });
    connect(mnuKPCheat, &QAction::triggered, this,
            [this] { m_services.desktop.openWithShell(KingpinCheatPage); });
    connect(mnuJoinServer, &QAction::triggered, this, &GameStarter::join_click);
    connect(mnuGetServerStats2, &QAction::triggered, this, &GameStarter::Command7_Click);
    connect(mnuGetServerStats, &QAction::triggered, this, &GameStarter::showPingServers);
    connect(mnuAddToFavs, &QAction::triggered, this, &GameStarter::Command5_Click);
    connect(mnuEditServerDetails, &QAction::triggered, this, &GameStarter::mnuEditServerDetails_Click);
    connect(mnuRemoveServer, &QAction::triggered, this, &GameStarter::mnuRemoveServer_Click);
    connect(mnuCopyIPPort, &QAction::triggered, this, &GameStarter::mnuCopyIPPort_Click);
    connect(mnuCopyServerNameAddress, &QAction::triggered, this,
            &GameStarter::mnuCopyServerNameAddress_Click);

    connect(tmrFetch, &QTimer::timeout, this, &GameStarter::tmrFetch_Timer);
    connect(tmrIFServerListIsEmpty, &QTimer::timeout, this, [this] {
        if (gameKey() != Home)
            chkIfServerListEmpty();
    });
    connect(m_fetch, &MasterListFetch::bodyArrived, this, &GameStarter::fetchFinished);
    connect(m_fetch, &MasterListFetch::unreachable, this, &GameStarter::fetchUnreachable);
    connect(m_fetch, &MasterListFetch::sizeArrived, this, &GameStarter::headFinished);
}

void GameStarter::join_click() {
    if (Text3->text().isEmpty() || Text2->text().isEmpty() || Text4->text().isEmpty()) {
        say(QStringLiteral("Cant join game server. Field(s) are empty!"), Prompts::Icon::Information);
        return;
    }
    if (!allDigits(Text4->text())) {
        say(QStringLiteral("Enter numbers only !"), Prompts::Icon::Critical);
        return;
    }
    if (gameKey() == Home) {
        say(QStringLiteral("Please select a game first"), Prompts::Icon::Information);
        return;
    }
    UnLoadPingServers();
    closeLiveServerTable();
    Q_EMIT joinRequested();
    JoinGame();
}

void GameStarter::Command7_Click() {
    const QString key = gameKey();
    if (key == HalfLife) {
        say(QStringLiteral("Getting stats of a Half-Life server not supported in this version."),
            Prompts::Icon::Information);
        return;
    }
    if (key == Home) {
        say(QStringLiteral("Please select a game first"), Prompts::Icon::Information);
        return;
    }
    if (Text2->text().isEmpty()) {
        say(QStringLiteral("Enter a server to query"), Prompts::Icon::Information, Prompts::Buttons::Ok,
            QStringLiteral("Server Required"));
        return;
    }
    showPingServers();
}

void GameStarter::mnuCopyIPPort_Click() {
    if (!selectedItem(lstServers))
        return;
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(QStringLiteral("Server : ") + Text2->text() + u':' + Text4->text());
}

void GameStarter::mnuCopyServerNameAddress_Click() {
    if (!selectedItem(lstServers))
        return;
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(QStringLiteral("Server : ") + Text3->text() + QStringLiteral(" & Address : ") +
                       Text2->text() + u':' + Text4->text());
}

void GameStarter::mnuEditKingpinAutoexec_Click() {
    openKingpinFile(QStringLiteral("\\main\\autoexec.cfg"));
}

void GameStarter::mnuEditKingpinConfig_Click() {
    openKingpinFile(QStringLiteral("\\main\\config.cfg"));
}

void GameStarter::openKingpinFile(const QString& relative) {
    const QString file = m_options->Text1->text() + relative;
#ifdef Q_OS_WIN
    const bool opened =
        m_services.desktop.startProgram(QStringLiteral("notepad.exe"), {file}, {}, Desktop::Show::Normal);
#else
    // No Notepad here: the desktop's own editor for the file.
    const bool opened = m_services.desktop.openWithShell(QString(file).replace(u'\\', u'/'));
#endif
    if (!opened)
        say(QStringLiteral("Could not open ") + file, Prompts::Icon::Exclamation);
}

void GameStarter::closeEvent(QCloseEvent* event) {
    UnLoadPingServers();
    closeLiveServerTable();
    // A list being fetched for a window the person closed is not wanted any more.
    abandonFetch();
    m_options->hide();
    event->accept();
}

bool GameStarter::eventFilter(QObject* watched, QEvent* event) {
    if (watched == lstServers && event->type() == QEvent::KeyRelease &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete) {
        mnuRemoveServer_Click();
        return false;
    }
    if (event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::RightButton) {
        const auto popupFor = [&](QListWidget* list, QMenu* menu) {
            if (watched == list->viewport() && selectedItem(list))
                menu->popup(static_cast<QMouseEvent*>(event)->globalPosition().toPoint());
        };
        popupFor(lstServers, mnuHide);
        popupFor(lstMasterServers, mnuServerListMenu);
    }
    return QWidget::eventFilter(watched, event);
}
