#include "browser/LiveServerTable.h"

#include "browser/FriendsOnServers.h"
#include "browser/ServerEntry.h"
#include "servers/GameQuery.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QString number(const std::optional<int>& n) {
    return n ? QString::number(*n) : QString();
}

qint16 sortType(int column) {
    switch (column) {
    case LiveServerTable::Players:
    case LiveServerTable::Max:
    case LiveServerTable::Ping:
        return SortView::Number;
    default:
        return SortView::Text;
    }
}

} // namespace

LiveServerTable::LiveServerTable(Prompts& prompts, const FriendsOnServers& friends, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_sort(prompts)
    , m_friends(friends)
    , m_query(new ServerListQuery(this))
    , m_servers(new QTreeWidget(this))
    , m_progress(new QLabel(this))
    , m_hideEmpty(new QCheckBox(QStringLiteral("Hide empty"), this))
    , m_hideFull(new QCheckBox(QStringLiteral("Hide full"), this))
    , m_pingBelow(new QSpinBox(this))
    , m_refresh(new QPushButton(QStringLiteral("Refresh"), this))
    , m_resort(new QTimer(this)) {
    setObjectName(QStringLiteral("LiveServerTable"));
    setWindowTitle(QStringLiteral("All Servers Live"));
    buildLayout();
    m_resort->setSingleShot(true);
    m_resort->setInterval(200);

    connect(m_query, &ServerListQuery::serverFinished, this, &LiveServerTable::serverFinished);
    connect(m_refresh, &QPushButton::clicked, this, [this] { query(m_game, m_entries); });
    connect(m_hideEmpty, &QCheckBox::toggled, this, &LiveServerTable::applyFilters);
    connect(m_hideFull, &QCheckBox::toggled, this, &LiveServerTable::applyFilters);
    connect(m_pingBelow, &QSpinBox::valueChanged, this, &LiveServerTable::applyFilters);
    connect(m_servers->header(), &QHeaderView::sectionClicked, this, &LiveServerTable::columnClicked);
    connect(m_resort, &QTimer::timeout, this, &LiveServerTable::sortAgain);
    connect(m_servers, &QTreeWidget::itemClicked, this,
            [this](QTreeWidgetItem* item) { Q_EMIT entryPicked(rowOf(*item).entry); });
    connect(m_servers, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        Q_EMIT entryPicked(rowOf(*item).entry);
        Q_EMIT joinWanted(rowOf(*item).entry);
    });
}

void LiveServerTable::buildLayout() {
    m_servers->setObjectName(QStringLiteral("servers"));
    m_servers->setAccessibleName(QStringLiteral("Servers"));
    m_servers->setHeaderLabels({QStringLiteral("Server"), QStringLiteral("Players"), QStringLiteral("Max"),
                                QStringLiteral("Ping"), QStringLiteral("Map"),
                                QStringLiteral("Friends playing"), QStringLiteral("State"),
                                QStringLiteral("Address")});
    m_servers->setRootIsDecorated(false);
    m_servers->setAllColumnsShowFocus(true);
    m_servers->header()->setSectionsClickable(true);
    m_servers->setColumnWidth(Server, 220);
    m_progress->setObjectName(QStringLiteral("progress"));
    m_hideEmpty->setObjectName(QStringLiteral("hideEmpty"));
    m_hideFull->setObjectName(QStringLiteral("hideFull"));
    m_pingBelow->setObjectName(QStringLiteral("pingBelow"));
    m_pingBelow->setRange(0, 9999);
    m_pingBelow->setSingleStep(25);
    m_pingBelow->setSuffix(QStringLiteral(" ms"));
    m_pingBelow->setSpecialValueText(QStringLiteral("any"));
    m_refresh->setObjectName(QStringLiteral("refresh"));
    auto* pingLabel = new QLabel(QStringLiteral("Ping below"), this);
    pingLabel->setBuddy(m_pingBelow);
    m_pingBelow->setAccessibleName(QStringLiteral("Ping below"));

    auto* filters = new QHBoxLayout;
    filters->addWidget(m_hideEmpty);
    filters->addWidget(m_hideFull);
    filters->addWidget(pingLabel);
    filters->addWidget(m_pingBelow);
    filters->addStretch();
    filters->addWidget(m_progress);
    filters->addWidget(m_refresh);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(filters);
    layout->addWidget(m_servers, 1);
    resize(860, 480);
}

void LiveServerTable::query(const QString& gameKey, const QStringList& entries) {
    m_query->stop();
    m_resort->stop();
    m_game = gameKey;
    m_entries = entries;
    m_rows.clear();
    m_servers->clear();
    QList<ServerListQuery::Target> targets;
    QSet<QString> seen;
    for (const QString& entry : entries) {
        const QStringList fields = ServerEntry::fields(entry);
        if (fields.size() < 3)
            continue;
        const GameQuery::Target target = GameQuery::checkTarget(fields.at(1), fields.at(2));
        const QString key = fields.at(1).toLower() + u':' + QString::number(target.port);
        if (target.check != GameQuery::Check::Ready || seen.contains(key))
            continue;
        seen.insert(key);
        m_rows.append({entry, fields.at(0), fields.at(1), fields.at(2), false, {}});
        targets.append({fields.at(1), target.port});
    }
    QList<QTreeWidgetItem*> items;
    for (qsizetype i = 0; i < m_rows.size(); ++i) {
        auto* item = new QTreeWidgetItem;
        item->setData(Server, Qt::UserRole, int(i));
        fill(*item);
        items.append(item);
    }
    m_servers->addTopLevelItems(items);
    applyFilters();
    showProgress();
    m_query->start(gameKey, targets);
}

const LiveServerTable::Row& LiveServerTable::rowOf(const QTreeWidgetItem& item) const {
    return m_rows.at(item.data(Server, Qt::UserRole).toInt());
}

void LiveServerTable::fill(QTreeWidgetItem& item) const {
    const Row& row = rowOf(item);
    const ServerAnswer& a = row.answer;
    item.setText(Server, a.answered && !a.name.isEmpty() ? a.name : row.description);
    item.setText(Players, number(a.players));
    item.setText(Max, number(a.maxPlayers));
    item.setText(Ping, a.answered && a.pingMs ? QString::number(*a.pingMs) : QString());
    item.setText(Map, a.map);
    item.setText(Friends, m_friends.membersOn(row.address, row.port).join(QStringLiteral(", ")));
    item.setText(State, !row.finished ? QStringLiteral("asking")
                        : a.answered  ? QStringLiteral("answered")
                                      : QStringLiteral("no answer"));
    item.setText(Address, row.address + u':' + row.port);
    QStringList names;
    for (const PlayerRow& p : a.playerRows)
        names.append(p.name);
    item.setToolTip(Players, names.join(u'\n'));
}

void LiveServerTable::serverFinished(int index, const ServerAnswer& answer) {
    Row& row = m_rows[index];
    row.finished = true;
    row.answer = answer;
    for (int i = 0; i < m_servers->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = m_servers->topLevelItem(i);
        if (item->data(Server, Qt::UserRole).toInt() != index)
            continue;
        fill(*item);
        item->setHidden(filteredOut(row));
        break;
    }
    showProgress();
    if (m_servers->header()->isSortIndicatorShown() && !m_resort->isActive())
        m_resort->start();
}

void LiveServerTable::showProgress() {
    m_progress->setText(QStringLiteral("%1 of %2 answered").arg(m_query->answeredCount()).arg(m_rows.size()));
}

void LiveServerTable::showFriends() {
    for (int i = 0; i < m_servers->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = m_servers->topLevelItem(i);
        const Row& row = rowOf(*item);
        item->setText(Friends, m_friends.membersOn(row.address, row.port).join(QStringLiteral(", ")));
    }
}

bool LiveServerTable::filteredOut(const Row& row) const {
    const ServerAnswer& a = row.answer;
    if (m_hideEmpty->isChecked() && a.players && *a.players == 0)
        return true;
    if (m_hideFull->isChecked() && a.players && a.maxPlayers && *a.players >= *a.maxPlayers)
        return true;
    // A server with no ping measured cannot be below any limit.
    return m_pingBelow->value() > 0 && !(a.answered && a.pingMs && *a.pingMs < m_pingBelow->value());
}

void LiveServerTable::applyFilters() {
    for (int i = 0; i < m_servers->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = m_servers->topLevelItem(i);
        item->setHidden(filteredOut(rowOf(*item)));
    }
}

void LiveServerTable::columnClicked(int section) {
    // As in every list of the program: each click reverses the list's order, whatever the column.
    const qint16 direction =
        SortView::sortOrder(*m_servers) == Qt::DescendingOrder ? SortView::Ascending : SortView::Descending;
    m_sort.SortColumn(*m_servers, qint16(section + 1), sortType(section), direction);
    tidyAfterSort();
}

void LiveServerTable::sortAgain() {
    QHeaderView* header = m_servers->header();
    if (!header->isSortIndicatorShown())
        return;
    const int section = header->sortIndicatorSection();
    m_sort.SortColumnQuietly(*m_servers, qint16(section + 1), sortType(section),
                             SortView::sortOrder(*m_servers) == Qt::DescendingOrder ? SortView::Descending
                                                                                    : SortView::Ascending);
    tidyAfterSort();
}

void LiveServerTable::tidyAfterSort() {
    // The sort writes its own form of a number column back (an empty cell as 0); each row shows
    // what is known of its server again, and servers without an answer go below those with one.
    QList<QTreeWidgetItem*> silent;
    for (int i = 0; i < m_servers->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = m_servers->topLevelItem(i);
        fill(*item);
        if (!rowOf(*item).answer.answered)
            silent.append(item);
    }
    for (QTreeWidgetItem* item : std::as_const(silent))
        m_servers->addTopLevelItem(m_servers->takeTopLevelItem(m_servers->indexOfTopLevelItem(item)));
    applyFilters();
}
