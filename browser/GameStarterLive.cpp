// The whole list asked at once, and the servers where members of the room play now.
#include "browser/GameStarter.h"

#include "browser/LiveServerTable.h"
#include "browser/ServerEntry.h"
#include "servers/GameCatalogue.h"

#include <QFont>
#include <QListWidget>

void GameStarter::showLiveServerTable() {
    if (gameKey() == GameCatalogue::Home) {
        say(QStringLiteral("Please select a game first"), Prompts::Icon::Information);
        return;
    }
    if (!m_liveTable) {
        m_liveTable = new LiveServerTable(m_services.prompts, m_friends, this);
        m_liveTable->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_liveTable, &LiveServerTable::entryPicked, this, &GameStarter::fillServerFields);
        connect(m_liveTable, &LiveServerTable::joinWanted, this, &GameStarter::join_click);
    }
    QStringList entries;
    for (const QListWidget* list : {lstServers, lstMasterServers}) {
        for (int i = 0; i < list->count(); ++i)
            entries.append(list->item(i)->text());
    }
    m_liveTable->setWindowTitle(QStringLiteral("All Servers Live : ") + gameKey());
    m_liveTable->query(gameKey(), entries);
    m_liveTable->show();
    m_liveTable->raise();
}

LiveServerTable* GameStarter::liveServerTable() const {
    return m_liveTable;
}

void GameStarter::closeLiveServerTable() {
    if (m_liveTable)
        m_liveTable->close();
}

void GameStarter::roomLineArrived(const QString& displayLine) {
    friendsMoved(m_friends.lineArrived(displayLine));
}

void GameStarter::roomMemberLeft(const QString& nickname) {
    friendsMoved(m_friends.memberLeft(nickname));
}

void GameStarter::roomEmptied() {
    friendsMoved(m_friends.clear());
}

void GameStarter::friendsMoved(bool changed) {
    if (!changed)
        return;
    markFriends(lstServers);
    markFriends(lstMasterServers);
    if (m_liveTable)
        m_liveTable->showFriends();
}

void GameStarter::markFriends(QListWidget* list) {
    // The entry's text stays as it is (it is what is saved and taken apart): the mark is a bold
    // face and a tip naming who plays there.
    for (int i = 0; i < list->count(); ++i) {
        QListWidgetItem* item = list->item(i);
        const QStringList fields = ServerEntry::fields(item->text());
        const QStringList members =
            fields.size() < 3 ? QStringList() : m_friends.membersOn(fields.at(1), fields.at(2));
        QFont font = item->font();
        font.setBold(!members.isEmpty());
        item->setFont(font);
        item->setToolTip(members.isEmpty()
                             ? QString()
                             : QStringLiteral("Playing here now: ") + members.join(QStringLiteral(", ")));
    }
}
