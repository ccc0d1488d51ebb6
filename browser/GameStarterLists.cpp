// The favourite and master server lists, their files and the chosen-server fields.
#include "browser/GameStarter.h"

#include "servers/GameCatalogue.h"
#include "browser/ServerEntry.h"
#include "common/TextFile.h"

#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QSignalBlocker>

using namespace GameCatalogue;

QListWidgetItem* GameStarter::selectedItem(const QListWidget* list) {
    QListWidgetItem* item = list->currentItem();
    return item && item->isSelected() ? item : nullptr;
}

int GameStarter::modIndex() const {
    const QRadioButton* options[] = {Option1, Option2, Option3, Option4};
    for (int i = 0; i < ModCount; ++i) {
        if (options[i]->isChecked())
            return i;
    }
    return -1;
}

QString GameStarter::favouritesFile() const {
    const int mod = modIndex();
    return GameCatalogue::favouritesFile(gameKey(), mod < 0 ? std::nullopt : std::optional(Mod(mod)));
}

void GameStarter::loadList(QListWidget* list, const QString& backslashName) {
    if (!backslashName.isEmpty())
        list->addItems(TextFile::readLines(m_services.folder.file(backslashName)));
    markFriends(list);
}

void GameStarter::HLLoadWhatMod() {
    lstServers->clear();
    if (modIndex() >= 0)
        loadList(lstServers, favouritesFile());
}

void GameStarter::modOption_Click(QRadioButton* option) {
    abandonFetch();
    lstMasterServers->clear();
    chkCSRetail->setEnabled(option == Option2);
    HLLoadWhatMod();
}

bool GameStarter::saveLines(const QString& backslashName, const QStringList& lines) {
    const QString path = m_services.folder.file(backslashName);
    QString error;
    if (TextFile::writeLines(path, lines, &error))
        return true;
    say(QStringLiteral("Unable to save ") + QDir::toNativeSeparators(path) + QStringLiteral(": ") + error,
        Prompts::Icon::Exclamation);
    return false;
}

void GameStarter::SaveServerList() {
    const QString file = favouritesFile();
    if (file.isEmpty())
        return;
    QStringList lines;
    for (int i = 0; i < lstServers->count(); ++i)
        lines.append(lstServers->item(i)->text());
    saveLines(file, lines);
    // Saving has always left the last entry selected; that is not a pick of the person's.
    const QSignalBlocker quiet(lstServers);
    lstServers->setCurrentRow(lstServers->count() - 1);
}

void GameStarter::Command5_Click() {
    const QString key = gameKey();
    if (key == Home) {
        say(QStringLiteral("You must select a game first."), Prompts::Icon::Exclamation);
        return;
    }
    if (Text3->text().isEmpty() || Text2->text().isEmpty() || Text4->text().isEmpty()) {
        say(QStringLiteral("Please add infomation to all fields"), Prompts::Icon::Information);
        return;
    }
    const QString entry = ServerEntry::build(Text3->text(), Text2->text(), Text4->text());
    if (!lstServers->findItems(entry, Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty())
        return;
    if (key == HalfLife && modIndex() < 0) {
        say(QStringLiteral("Please select the type of Half-Life MOD first"), Prompts::Icon::Exclamation);
        return;
    }
    lstServers->addItem(entry);
    lstServers->setFocus();
    SaveServerList();
}

void GameStarter::mnuEditServerDetails_Click() {
    QListWidgetItem* item = selectedItem(lstServers);
    if (!item)
        return;
    const auto answer =
        m_services.prompts.input(QStringLiteral("Enter server name/descriotion, IP and port\r\nlike "
                                                "\r\nServer Description - 255.255.255.255 - 7777"),
                                 QStringLiteral("Edit"), item->text());
    if (!answer || answer->isEmpty())
        return;
    item->setText(*answer);
    SaveServerList();
}

void GameStarter::mnuRemoveServer_Click() {
    if (gameKey() == Home) {
        say(QStringLiteral("Please select a game then a 'favorite server' to delete"),
            Prompts::Icon::Information);
        return;
    }
    QListWidgetItem* item = selectedItem(lstServers);
    if (!item)
        return;
    {
        const QSignalBlocker quiet(lstServers);
        delete item;
    }
    SaveServerList();
}

void GameStarter::takeApart(QListWidget* list) {
    if (const QListWidgetItem* item = selectedItem(list))
        fillServerFields(item->text());
}

void GameStarter::fillServerFields(const QString& entry) {
    // Filled in order; an entry of fewer fields leaves the rest as they were.
    const QStringList fields = ServerEntry::fields(entry);
    QLineEdit* targets[] = {Text3, Text2, Text4};
    for (qsizetype i = 0; i < 3 && i < fields.size(); ++i)
        targets[i]->setText(fields.at(i));
}

void GameStarter::lstServers_Click() {
    takeApart(lstServers);
}

void GameStarter::lstMasterServers_Click() {
    takeApart(lstMasterServers);
}

void GameStarter::lstServers_DblClick() {
    if (!selectedItem(lstServers))
        return;
    lstServers_Click();
    join_click();
}

void GameStarter::lstMasterServers_DblClick() {
    if (!selectedItem(lstMasterServers))
        return;
    // The favourites' parser, as it always was: it fills nothing unless a favourite is selected.
    lstServers_Click();
    join_click();
}

void GameStarter::chkIfServerListEmpty() {
    lblFavorites->setText(lstServers->count() == 0 ? QStringLiteral(" Favorites : Empty!")
                                                   : QStringLiteral(" Favorites :"));
}
