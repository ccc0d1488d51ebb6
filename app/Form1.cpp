#include "app/Form1.h"

#include "ancillary/Form2.h"
#include "ancillary/Form6.h"
#include "app/ChatRoomLaunchHost.h"
#include "app/MainSettings.h"
#include "app/SingleInstance.h"
#include "browser/GameStarter.h"
#include "chat/ChatDispatcher.h"
#include "chat/ChatDisplay.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/ChatSession.h"
#include "common/BgrColour.h"
#include "common/Version.h"
#include "privatechat/DownloadFolder.h"
#include "privatechat/PrivateChat.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QScrollBar>
#include <QSplitter>
#include <QStatusBar>
#include <QTcpSocket>
#include <QVBoxLayout>

#include <utility>

namespace {
const QString kSettingsFile = QStringLiteral("\\Quorvel.ini");
const QString kDefaultHost = QStringLiteral("localhost");

} // namespace

Form1::Form1(Services services, QWidget* parent)
    : QMainWindow(parent)
    , rtb(new ChatDisplay(this))
    , LV1(new QListWidget(this))
    , Text1(new QLineEdit(this))
    , Text3(new QLineEdit(this))
    , cboServer(new QComboBox(this))
    , Combo1(new QComboBox(this))
    , List1(new QListWidget(this))
    , List2(new QListWidget(this))
    , s(new QStatusBar(this))
    , Winsock1(nullptr)
    , m_services(std::move(services))
    , m_session(new ChatSession(this))
    , m_statusPanel(new QLabel(this))
    , m_connectionPanel(new QLabel(this))
    , m_dispatcher(std::make_unique<ChatDispatcher>(*m_session, m_services, *this)) {
    setObjectName(QStringLiteral("Form1"));
    Winsock1 = &m_session->socket();
    m_session->setServerHost(kDefaultHost);
    buildMenus();
    buildLayout();
    applyDefaultColours();
    m_privateChat = new PrivateChat(*m_session, m_services, *this);
    m_session->setDownloadFolder(DownloadFolder::initial());
    observeSession();
    m_session->setTlsTrust(m_services.folder.file(QStringLiteral("\\TrustedServers.ini")), m_services.prompts);
    connect(Text1, &QLineEdit::returnPressed, this, &Form1::Text1_Enter);
    connect(Combo1, &QComboBox::activated, this, [this](int i) { Combo1_Click(Combo1->itemText(i)); });
    resize(720, 520);
}

Form1::~Form1() {
    // The session outlives the labels its handlers write to; it must not report its own end.
    m_session->disconnect(this);
}

void Form1::buildLayout() {
    rtb->setObjectName(QStringLiteral("rtb"));
    rtb->setAccessibleName(QStringLiteral("Chat"));
    LV1->setObjectName(QStringLiteral("LV1"));
    LV1->setAccessibleName(QStringLiteral("Members"));
    LV1->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(LV1, &QListWidget::customContextMenuRequested, this,
            [this](const QPoint& at) { mnua->popup(LV1->viewport()->mapToGlobal(at)); });
    connect(LV1, &QListWidget::itemSelectionChanged, this, &Form1::updateMemberItems);
    // A reader who has scrolled back keeps their place; back at the bottom, new lines are followed
    // again. The layout grows the range after the lines are in, so the bottom is kept from there.
    QScrollBar* bar = rtb->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this,
            [this, bar](int value) { m_followNewest = value >= bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        if (m_followNewest)
            bar->setValue(maximum);
    });
    connect(LV1, &QListWidget::itemDoubleClicked, this, &Form1::mnuPM_Click);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setAccessibleName(QStringLiteral("Say"));
    Text3->setObjectName(QStringLiteral("Text3"));
    Text3->setAccessibleName(QStringLiteral("Nickname"));
    cboServer->setObjectName(QStringLiteral("cboServer"));
    cboServer->setAccessibleName(QStringLiteral("Chat server"));
    cboServer->setEditable(true);
    cboServer->addItem(kDefaultHost);
    Combo1->setObjectName(QStringLiteral("Combo1"));
    Combo1->setAccessibleName(QStringLiteral("Addresses"));
    Combo1->setEditable(true);
    Combo1->addItems({QStringLiteral("http://"), QStringLiteral("ftp://")});
    List1->setObjectName(QStringLiteral("List1"));
    List1->setAccessibleName(QStringLiteral("Ignored"));
    List1->hide();
    List2->setObjectName(QStringLiteral("List2"));
    List2->setAccessibleName(QStringLiteral("Identification"));
    List2->hide();
    s->setObjectName(QStringLiteral("s"));
    m_statusPanel->setObjectName(QStringLiteral("sPanel1"));
    m_connectionPanel->setObjectName(QStringLiteral("sPanel2"));
    s->addWidget(m_statusPanel, 1);
    s->addPermanentWidget(m_connectionPanel);
    setStatusBar(s);
    m_statusPanel->setText(QStringLiteral("Signed Off"));
    m_connectionPanel->setText(QStringLiteral("Not Connected"));

    auto* central = new QWidget(this);
    auto* top = new QHBoxLayout;
    auto* nickLabel = new QLabel(QStringLiteral("&Nick :"), central);
    nickLabel->setBuddy(Text3);
    auto* serverLabel = new QLabel(QStringLiteral("S&erver :"), central);
    serverLabel->setBuddy(cboServer);
    auto* linksLabel = new QLabel(QStringLiteral("&Links :"), central);
    linksLabel->setBuddy(Combo1);
    top->addWidget(nickLabel);
    top->addWidget(Text3, 1);
    top->addWidget(serverLabel);
    top->addWidget(cboServer, 1);
    top->addWidget(linksLabel);
    top->addWidget(Combo1, 2);
    auto* split = new QSplitter(central);
    split->addWidget(rtb);
    split->addWidget(LV1);
    split->setStretchFactor(0, 4);
    split->setStretchFactor(1, 1);
    auto* column = new QVBoxLayout(central);
    column->addLayout(top);
    column->addWidget(split, 1);
    column->addWidget(Text1);
    setCentralWidget(central);
    Text1->setFocus();
}

void Form1::buildMenus() {
    auto menu = [this](QMenu* parentMenu, const char* name, const char* caption) {
        QMenu* m = parentMenu ? parentMenu->addMenu(QString::fromLatin1(caption))
                              : menuBar()->addMenu(QString::fromLatin1(caption));
        m->setObjectName(QString::fromLatin1(name));
        m->menuAction()->setObjectName(QString::fromLatin1(name));
        return m;
    };
    auto item = [this](QMenu* m, const char* name, const char* caption, auto handler) {
        QAction* a = m->addAction(QString::fromLatin1(caption));
        a->setObjectName(QString::fromLatin1(name));
        connect(a, &QAction::triggered, this, handler);
        return a;
    };
    auto toggle = [](QMenu* m, const char* name, const char* caption, bool checked) {
        QAction* a = m->addAction(QString::fromLatin1(caption));
        a->setObjectName(QString::fromLatin1(name));
        a->setCheckable(true);
        a->setChecked(checked);
        return a;
    };
    auto nothing = [] {};

    mnufile = menu(nullptr, "mnufile", "&File");
    mnucon = item(mnufile, "mnucon", "&Sign on", &Form1::mnucon_Click);
    mnudis = item(mnufile, "mnudis", "&Sign off", &Form1::mnudis_Click);
    mnuNews = item(mnufile, "mnuNews", "New Account", &Form1::mnuNews_Click);
    mnufile->addSeparator();
    mnuGameStarter = item(mnufile, "mnuGameStarter", "Game Starter", &Form1::mnuGameStarter_Click);
    mnufile->addSeparator();
    mnuExit = item(mnufile, "mnuExit", "Exit", &Form1::mnuExit_Click);

    mnuOpts = menu(nullptr, "mnuOpts", "&Options");
    mnuClearChat = item(mnuOpts, "mnuClearChat", "Clear chat", &Form1::mnuClearChat_Click);
    mnucolors = item(mnuOpts, "mnucolors", "Custom Scheme", &Form1::mnucolors_Click);
    mnuEd = item(mnuOpts, "mnuEd", "My Personal Profile", &Form1::mnuEd_Click);
    mnuOpts->addSeparator();
    mnuDEC = toggle(mnuOpts, "mnuDEC", "Refuse File Transfers", false);
    mnuIPM = toggle(mnuOpts, "mnuIPM", "Ignore Private Msg's", false);
    mnuSoundEffects = toggle(mnuOpts, "mnuSoundEffects", "Sound/Effects", true);
    mnuNotify = toggle(mnuOpts, "mnuNotify", "Notify minamized(Audio)", true);
    mnuOpts->addSeparator();
    mnuVI = item(mnuOpts, "mnuVI", "View Ignored List", &Form1::mnuVI_Click);
    mnucI = item(mnuOpts, "mnucI", "Clear Ignored", &Form1::mnucI_Click);

    mnua = menu(nullptr, "mnua", "UserMenu");
    mnuPM = item(mnua, "mnuPM", "Message", &Form1::mnuPM_Click);
    mnuIS = item(mnua, "mnuIS", "User Details", &Form1::mnuIS_Click);
    mnuFollowUser = item(mnua, "mnuFollowUser", "Follow Gamer", &Form1::mnuFollowUser_Click);
    mnuLastLoggedOn = item(mnua, "mnuLastLoggedOn", "Last Logged On", &Form1::mnuLastLoggedOn_Click);
    mnua->addSeparator();
    mnuIG = item(mnua, "mnuIG", "Ignore User", &Form1::mnuIG_Click);
    mnuUn = item(mnua, "mnuUn", "Un-Ignore", &Form1::mnuUn_Click);

    mnutools = menu(nullptr, "mnutools", "&Admin");
    auto ops = [this](QLatin1StringView word, bool withTarget) {
        return [this, word, withTarget] { mnuOps_Click(word, withTarget); };
    };
    using namespace ChatProtocol;
    mnuKick = item(mnutools, "mnuKick", "Kick", ops(OpKick, true));
    mnuBan = item(mnutools, "mnuBan", "Ban", ops(OpBan, true));
    mnuMBAN = item(mnutools, "mnuMBAN", "Subnet Ban", ops(OpSubnet, true));
    mnuMuzzle = item(mnutools, "mnuMuzzle", "Suspend", ops(OpMuzzle, true));
    mnuVIP = item(mnutools, "mnuVIP", "View Ip", nothing);
    mnuOPC = item(mnutools, "mnuOPC", "God Mode", nothing);
    mnuopi = menu(mnutools, "mnuopi", "Commands");
    mnuCSB = item(mnuopi, "mnuCSB", "Clear SubNet Bans", ops(OpClearSubnetBans, false));
    mnuCPB = item(mnuopi, "mnuCPB", "Clear Permanent Bans", ops(OpClearPermanentBans, false));
    mnuCRB = item(mnuopi, "mnuCRB", "Clear 60 Min Bans", ops(OpClearTimedBans, false));
    item(mnutools, "mnuPostNews", "Post News", &Form1::mnuNewsPost_Click);

    mnuhlp = menu(nullptr, "mnuhlp", "&Help");
    mnuCommands = item(mnuhlp, "mnuCommands", "Commands", &Form1::mnuCommands_Click);
    mnuAbo = item(mnuhlp, "mnuAbo", "&About", &Form1::mnuAbo_Click);

    setSignedOnMenus(false);
}

void Form1::setSignedOnMenus(bool signedOn) {
    mnucon->setEnabled(!signedOn);
    mnudis->setEnabled(signedOn);
    mnua->setEnabled(signedOn);
    mnutools->setEnabled(signedOn);
    updateMemberItems();
}

void Form1::updateMemberItems() {
    // Items that act on a member wait until one is selected (the list is empty while signed off).
    const bool someone = !selectedUser().isEmpty();
    for (QAction* a :
         {mnuPM, mnuIS, mnuFollowUser, mnuLastLoggedOn, mnuIG, mnuUn, mnuKick, mnuBan, mnuMBAN, mnuMuzzle})
        a->setEnabled(someone);
}

bool Form1::Form_Load() {
    setWindowTitle(Version::caption());
    m_runningCopy = std::make_unique<SingleInstance>(m_services.folder.path());
    if (!m_runningCopy->acquire()) {
        m_runningCopy.reset();
        m_services.prompts.message(QStringLiteral("Quorvel"), QStringLiteral("Quorvel found in ram. Can't load another"),
                                   Prompts::Icon::Critical);
        return false;
    }
    setSignedOnMenus(false);
    applySettings();
    actionColour = ActionColourAtStart;
    messageColour = 0;
    showGreeting();
    return true;
}

namespace {
const QStringList kGreeting{
    QStringLiteral("Welcome to Quorvel."),
    QStringLiteral(
        "No account yet? Choose File > New Account, pick a name and a password (a number greater than "
        "zero) and press Create Account."),
    QStringLiteral("Then choose File > Sign on, enter the account name and password and press Sign On.")};
} // namespace

void Form1::showGreeting() {
    for (const QString& line : kGreeting)
        appendLine(line, messageColour);
    m_greetingShown = true;
}

void Form1::removeGreeting() {
    if (!std::exchange(m_greetingShown, false))
        return;
    // Gone already if the reader cleared the display; what came after it stays.
    for (qsizetype line = 0; line < kGreeting.size(); ++line) {
        if (line >= rtb->lineCount() || rtb->lines().text(line) != kGreeting.at(line))
            return;
    }
    rtb->removeFirstLines(kGreeting.size());
}

namespace {
// The settings file's value for a colour role, or null for a role the file does not keep.
std::optional<qint64>* settingsValue(MainSettings& settings, ColourRole role) {
    switch (role) {
    case ColourRole::MainBackground:
        return &settings.displayBackground;
    case ColourRole::MainText:
        return &settings.displayText;
    case ColourRole::NickBackground:
        return &settings.userListBackground;
    case ColourRole::InputBackground:
        return &settings.inputBackground;
    case ColourRole::InputText:
        return &settings.inputText;
    case ColourRole::BoxBackground:
        return &settings.boxBackground;
    case ColourRole::BoxText:
        return &settings.boxText;
    case ColourRole::Emotion:
    case ColourRole::NickText:
    case ColourRole::WindowBackground:
        break;
    }
    return nullptr;
}
} // namespace

void Form1::applySettings() {
    MainSettings settings = MainSettings::load(m_services.folder.file(kSettingsFile));
    if (settings.nickname)
        Text3->setText(*settings.nickname);
    if (settings.serverHost && !settings.serverHost->isEmpty())
        cboServer->setCurrentText(*settings.serverHost);
    if (settings.serverPort && *settings.serverPort > 0 && *settings.serverPort <= 65535)
        m_session->setServerAddress(serverHost(), quint16(*settings.serverPort));
    for (const ColourScheme::RoleInfo& r : ColourScheme::roles()) {
        const std::optional<qint64>* saved = settingsValue(settings, r.role);
        if (saved && saved->has_value())
            setColour(r.role, **saved);
    }
    if (settings.displayFontSize && *settings.displayFontSize >= 6 && *settings.displayFontSize <= 72) {
        QFont f = rtb->font();
        f.setPointSize(int(*settings.displayFontSize));
        rtb->setFont(f);
    }
    // The identification entries are read only when all eleven values before them were.
    m_session->setIdentificationEntries(settings.identification);
}

void Form1::saveSettings() const {
    MainSettings settings;
    settings.nickname = Text3->text();
    settings.serverHost = serverHost();
    settings.serverPort = serverPort();
    settings.displayFontSize = rtb->font().pointSize();
    for (const ColourScheme::RoleInfo& r : ColourScheme::roles()) {
        if (std::optional<qint64>* kept = settingsValue(settings, r.role))
            *kept = colour(r.role);
    }
    settings.identification = identificationEntries();
    settings.save(m_services.folder.file(kSettingsFile));
}

void Form1::mnuExit_Click() {
    if (m_ending)
        return;
    // Only a copy that holds the lock has loaded the settings; a refused one would save its blanks over them.
    if (m_runningCopy)
        saveSettings();
    endProgram();
}

void Form1::endProgram() {
    m_ending = true;
    m_session->closeQuietly();
    m_privateChat->closeWindows();
    if (m_gameStarter)
        m_gameStarter->close();
    if (m_userInfo)
        m_userInfo->close();
    if (m_colourEditor)
        m_colourEditor->close();
    m_runningCopy.reset();
    close();
    Q_EMIT programEnded();
}

void Form1::closeEvent(QCloseEvent* event) {
    // Every way out but "/exit" saves the settings.
    mnuExit_Click();
    event->accept();
}

QString Form1::nickname() const { return m_session->nickname(); }

void Form1::setPassword(const QString& password) { m_session->setPassword(password); }

QString Form1::password() const { return m_session->password(); }

QStringList Form1::identificationEntries() const { return m_session->identificationEntries(); }

QString Form1::serverHost() const { return cboServer->currentText(); }

quint16 Form1::serverPort() const { return m_session->serverPort(); }

QString Form1::statusText() const { return m_statusPanel->text(); }

QString Form1::connectionText() const { return m_connectionPanel->text(); }

GameStarter& Form1::gameStarter() {
    if (!m_gameStarter) {
        m_gameStarter = new GameStarter(m_services, this);
        m_gameStarter->setLaunchHost(std::make_unique<ChatRoomLaunchHost>(*this));
    }
    return *m_gameStarter;
}

Form2& Form1::userInfo() {
    if (!m_userInfo)
        m_userInfo = new Form2(this);
    return *m_userInfo;
}

Form3* Form1::privateWindow(int slot) const { return m_privateChat->privateWindow(slot); }

Form3* Form1::findPrivateWindow(const QString& nickname) const { return m_privateChat->findPrivateWindow(nickname); }

bool Form1::isConnected() const { return m_session->isConnected(); }

bool Form1::soundsOn() const { return mnuSoundEffects->isChecked() && mnuNotify->isChecked(); }

void Form1::appendLine(const QString& text, qint64 bgrColour) {
    rtb->appendLine(text, BgrColour::toColor(bgrColour));
    // Keeping the newest line in view costs a scroll-bar update; once per read is enough.
    if (!m_handlingRead && m_followNewest)
        scrollToNewest();
}

void Form1::scrollToNewest() { rtb->scrollToNewest(); }

void Form1::selectUser(const QString& nickname) {
    const auto found = LV1->findItems(nickname, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (!found.isEmpty())
        LV1->setCurrentItem(found.first());
}

QString Form1::selectedUser() const {
    const QList<QListWidgetItem*> selected = LV1->selectedItems();
    return selected.isEmpty() ? QString() : selected.first()->text();
}

bool Form1::send(const QString& message) { return m_session->send(message); }
