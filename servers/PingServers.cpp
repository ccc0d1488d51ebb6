#include "servers/PingServers.h"

#include "common/AccessibleWindows.h"
#include "common/NumberText.h"
#include "common/Prompts.h"
#include "servers/ReplyGraph.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

namespace {

template <typename Control> Control* named(Control* control, const char* name) {
    control->setObjectName(QString::fromLatin1(name));
    return control;
}

const QString kTitle = QStringLiteral("Quorvel");

} // namespace

PingServers::PingServers(const QueryTarget& server, Prompts& prompts, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , Command2(named(new QPushButton(QStringLiteral("Join"), this), "Command2"))
    , Command1(named(new QPushButton(QStringLiteral("Close"), this), "Command1"))
    , cmdQuery(named(new QPushButton(QStringLiteral("Refresh"), this), "cmdQuery"))
    , Check1(named(new QCheckBox(QStringLiteral("Monitor server every"), this), "Check1"))
    , Text1(named(new QLineEdit(QStringLiteral("2000"), this), "Text1"))
    , Timer1(named(new QTimer(this), "Timer1"))
    , tmrMonitorServer(named(new QTimer(this), "tmrMonitorServer"))
    , Socket(new ServerQuery(server, *this, this))
    , LVPlayers(named(new QTreeWidget(this), "LVPlayers"))
    , Label12(named(new QLabel(QStringLiteral("Server Type :"), this), "Label12"))
    , lblGameName(named(new QLabel(this), "lblGameName"))
    , Label5(named(new QLabel(QStringLiteral("Game Server :"), this), "Label5"))
    , lblServer(named(new QLabel(this), "lblServer"))
    , Label11(named(new QLabel(QStringLiteral("Map :"), this), "Label11"))
    , lblMap(named(new QLabel(this), "lblMap"))
    , Label10(named(new QLabel(QStringLiteral("Maximum Players :"), this), "Label10"))
    , lblMaxPlayers(named(new QLabel(this), "lblMaxPlayers"))
    , lblPlayers(named(new QLabel(QStringLiteral("Players :"), this), "lblPlayers"))
    , Label2(named(new QLabel(QStringLiteral("Status :"), this), "Label2"))
    , lblReplyTime(named(new QLabel(this), "lblReplyTime"))
    , graph(new ReplyGraph(this))
    , m_prompts(prompts)
    , m_sort(prompts) {
    setObjectName(QStringLiteral("PingServers"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Server Stats"));
    setAttribute(Qt::WA_DeleteOnClose);
    Check1->setToolTip(QStringLiteral("Monitor present game server (Default is 2 seconds)"));
    Timer1->setInterval(1500);
    tmrMonitorServer->setInterval(2000);
    buildLayout();

    connect(cmdQuery, &QPushButton::clicked, this, &PingServers::cmdQuery_Click);
    connect(Command1, &QPushButton::clicked, this, &QWidget::close);
    connect(Command2, &QPushButton::clicked, this, &PingServers::Command2_Click);
    // toggled, not clicked: unticking from code must run the same logic again.
    connect(Check1, &QCheckBox::toggled, this, &PingServers::Check1_Click);
    connect(Timer1, &QTimer::timeout, this, &PingServers::Timer1_Timer);
    connect(tmrMonitorServer, &QTimer::timeout, this, &PingServers::cmdQuery_Click);
    connect(LVPlayers->header(), &QHeaderView::sectionClicked, this,
            [this](int section) { LVPlayers_ColumnClick(section + 1); });

    Timer1->start();
    cmdQuery_Click();
}

void PingServers::buildLayout() {
    LVPlayers->setHeaderLabels({QStringLiteral("Score"), QStringLiteral("Ping"), QStringLiteral("Player Name")});
    LVPlayers->setRootIsDecorated(false);
    LVPlayers->setAllColumnsShowFocus(true);
    LVPlayers->setAccessibleName(QStringLiteral("Players"));
    LVPlayers->header()->setSectionsClickable(true);
    Text1->setAccessibleName(QStringLiteral("Monitor server every (ms)"));
    Text1->setMaximumWidth(70);

    auto* details = new QGridLayout;
    const std::pair<QLabel*, QLabel*> pairs[] = {
        {Label12, lblGameName}, {Label5, lblServer}, {Label11, lblMap}, {Label10, lblMaxPlayers}};
    int row = 0;
    for (const auto& [caption, value] : pairs) {
        value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        // The value is what a screen reader says; the caption describes it.
        value->setAccessibleDescription(caption->text().chopped(2));
        caption->setBuddy(value);
        details->addWidget(caption, row, 0, Qt::AlignTop);
        details->addWidget(value, row++, 1);
    }
    details->setColumnStretch(1, 1);

    auto* monitor = new QHBoxLayout;
    monitor->addWidget(Check1);
    monitor->addWidget(Text1);
    monitor->addWidget(new QLabel(QStringLiteral("ms"), this));
    monitor->addStretch();

    auto* status = new QHBoxLayout;
    status->addWidget(lblPlayers);
    status->addWidget(Label2, 1);
    status->addWidget(lblReplyTime);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdQuery);
    buttons->addStretch();
    buttons->addWidget(Command2);
    buttons->addWidget(Command1);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(details);
    layout->addWidget(LVPlayers, 1);
    layout->addWidget(graph);
    layout->addLayout(status);
    layout->addLayout(monitor);
    layout->addLayout(buttons);
    resize(420, 460);
}


void PingServers::say(const QString& title, const QString& text) {
    m_prompts.message(title, text, Prompts::Icon::Information);
}

void PingServers::cmdQuery_Click() {
    switch (Socket->send()) {
    case GameQuery::Check::MissingPort:
        say(QStringLiteral("Port Required'"), QStringLiteral("Enter the server's game port"));
        return;
    case GameQuery::Check::PortNotNumeric:
        say(kTitle, QStringLiteral("Enter numbers only !"));
        return;
    case GameQuery::Check::Ready:
        Timer1->stop();
        return;
    case GameQuery::Check::MissingAddress:
    case GameQuery::Check::PortOutOfRange:
        return;
    }
}

void PingServers::Timer1_Timer() {
    if (isVisible())
        cmdQuery_Click();
}

void PingServers::Check1_Click() {
    cmdQuery->setEnabled(false);
    if (!Check1->isChecked()) {
        tmrMonitorServer->stop();
        Text1->setEnabled(true);
        cmdQuery->setEnabled(true);
        return;
    }
    if (Text1->text().isEmpty()) {
        say(kTitle, QStringLiteral("Please state 'Server Refresh Interval'"));
        Check1->setChecked(false);
        return;
    }
    // A text that is no number is refused like one out of range.
    const std::optional<double> interval = NumberText::value(Text1->text());
    const double whole = interval ? std::floor(*interval) : 0;
    if (whole < 1000 || whole > 60000) {
        say(kTitle, QStringLiteral("You can not set less than 1000ms (1sec) or set higher than 60000ms (1min)"));
        Check1->setChecked(false);
        Text1->setText(QStringLiteral("2000"));
        return;
    }
    tmrMonitorServer->setInterval(NumberText::toLong(Text1->text()).value_or(2000));
    Text1->setEnabled(false);
    tmrMonitorServer->start();
}

void PingServers::Command2_Click() {
    if (lblMaxPlayers->text().isEmpty())
        return;
    if (NumberText::leadingNumber(lblMaxPlayers->text()) == LVPlayers->topLevelItemCount() &&
        m_prompts.message(kTitle, QStringLiteral("Server full, Are you sure you want to join still?"),
                          Prompts::Icon::Critical, Prompts::Buttons::YesNo) == Prompts::Answer::No)
        return;
    Q_EMIT joinRequested();
}

void PingServers::LVPlayers_ColumnClick(int column) {
    const qint16 direction =
        SortView::sortOrder(*LVPlayers) == Qt::DescendingOrder ? SortView::Ascending : SortView::Descending;
    m_sort.SortColumn(*LVPlayers, qint16(column), columnType(column), direction);
}

qint16 PingServers::columnType(int column) {
    return column == 3 ? SortView::Text : SortView::Number;
}

void PingServers::showReply(const ServerStatus& status, qint64 bytes, std::optional<qint64> replyMs) {
    const std::pair<const std::optional<QString>&, QLabel*> labels[] = {{status.version, lblGameName},
                                                                         {status.hostName, lblServer},
                                                                         {status.mapName, lblMap},
                                                                         {status.maxPlayers, lblMaxPlayers}};
    for (const auto& [value, label] : labels) {
        if (value)
            label->setText(*value);
    }
    if (status.players) {
        LVPlayers->clear();
        QList<QTreeWidgetItem*> rows;
        for (const PlayerRow& p : *status.players)
            rows.append(new QTreeWidgetItem(QStringList{p.score, p.ping, p.name}));
        LVPlayers->addTopLevelItems(rows);
        // The order the player chose holds through every refresh, as the header's arrow says.
        // A cell the sort cannot read leaves the rows as they came: the box is for the person's click.
        if (LVPlayers->header()->isSortIndicatorShown()) {
            const int column = LVPlayers->header()->sortIndicatorSection() + 1;
            m_sort.SortColumnQuietly(*LVPlayers, qint16(column), columnType(column),
                                     SortView::sortOrder(*LVPlayers) == Qt::DescendingOrder
                                         ? SortView::Descending
                                         : SortView::Ascending);
        }
    }
    Label2->setText(QStringLiteral(" Status : Total bytes ") + QString::number(bytes));
    lblPlayers->setText(QStringLiteral("Players : ") + QString::number(LVPlayers->topLevelItemCount()));
    lblReplyTime->setText(replyMs ? QStringLiteral("Reply time : %1 ms").arg(*replyMs) : QString());
    graph->addReply(LVPlayers->topLevelItemCount(), replyMs);
}

void PingServers::closeEvent(QCloseEvent* event) {
    // The monitor stops before the window goes.
    Check1->setChecked(false);
    event->accept();
}
