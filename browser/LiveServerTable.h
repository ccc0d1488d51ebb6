#pragma once

#include "common/SortView.h"
#include "servers/ServerListQuery.h"

#include <QStringList>
#include <QWidget>

#include <optional>

class FriendsOnServers;
class QCheckBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

// Every server of the browser's lists at a glance: one row per server, filled as the answers
// come in, sortable by any column with the list-sorting rules, with the filters players use.
// Picking a row is picking the entry in the browser; a double click joins it.
class LiveServerTable : public QWidget {
    Q_OBJECT
public:
    enum Column { Server, Players, Max, Ping, Map, Friends, State, Address, ColumnCount };

    LiveServerTable(Prompts& prompts, const FriendsOnServers& friends, QWidget* parent = nullptr);

    // Asks every server of these list entries for the game's status; an entry without a usable
    // address and port, or naming a server already listed, gets no row.
    void query(const QString& gameKey, const QStringList& entries);
    // Shows again who of the room plays where.
    void showFriends();

    QTreeWidget* servers() const { return m_servers; }
    ServerListQuery& engine() { return *m_query; }

Q_SIGNALS:
    void entryPicked(const QString& entry);
    void joinWanted(const QString& entry);

private:
    struct Row {
        QString entry;
        QString description;
        QString address;
        QString port;
        bool finished = false;
        ServerAnswer answer;
    };

    void buildLayout();
    void serverFinished(int index, const ServerAnswer& answer);
    void fill(QTreeWidgetItem& item) const;
    void showProgress();
    void applyFilters();
    bool filteredOut(const Row& row) const;
    void columnClicked(int column);
    void sortAgain();
    void tidyAfterSort();
    const Row& rowOf(const QTreeWidgetItem& item) const;

    SortView m_sort;
    const FriendsOnServers& m_friends;
    ServerListQuery* m_query;
    QString m_game;
    QStringList m_entries;
    QList<Row> m_rows;
    QTreeWidget* m_servers;
    QLabel* m_progress;
    QCheckBox* m_hideEmpty;
    QCheckBox* m_hideFull;
    QSpinBox* m_pingBelow;
    QPushButton* m_refresh;
    QTimer* m_resort; // answers that come in while the table is sorted are sorted in by this
};
