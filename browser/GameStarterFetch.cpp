// The master-list download: GET the list, keep a copy, show it; then HEAD for its size.
#include "browser/GameStarter.h"

#include "browser/Form10.h"
#include "servers/GameCatalogue.h"
#include "browser/MasterListFetch.h"
#include "browser/StarterOptions.h"
#include "common/TextFile.h"
#include "common/Windows1252.h"

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSaveFile>
#include <QTimer>

using namespace GameCatalogue;

void GameStarter::cmdQvlList_Click() {
    const QString key = gameKey();
    if (key == Home) {
        say(QStringLiteral("Please select a game first"), Prompts::Icon::Information);
        return;
    }
    lstMasterServers->clear();
    tmrFetch->start();
    m_fetch->cancel();
    cmdQvlList->setEnabled(false);

    const int mod = modIndex();
    const auto list = masterList(key, mod < 0 ? std::nullopt : std::optional(Mod(mod)));
    if (!list) {
        if (key == HalfLife)
            say(QStringLiteral("Please choose a MOD to refresh servers on"), Prompts::Icon::None);
        tmrFetch->stop();
        cmdQvlList->setEnabled(true);
        return;
    }
    m_lastFetchGame = key;

    // The dialog's title is taken from the caption as it stands before this fetch sets it.
    if (!m_form10) {
        m_form10 = new Form10(lblMasterServers->text(), this);
        connect(m_form10, &Form10::stopRequested, this, &GameStarter::Form10_Stop);
        connect(m_fetch, &MasterListFetch::progress, m_form10, &Form10::showProgress);
    }
    m_form10->showProgress(0, 0);
    m_form10->show();

    if (m_options->Combo2->currentText() != StarterOptions::QuorvelMasterList) {
        if (key != Rtcw)
            m_fetch->head();
        return;
    }
    lblMasterServers->setText(list->caption);
    m_fetchFile = list->localFile;
    m_fetch->get(QUrl(masterListAddress() + list->urlPath));
}

void GameStarter::fetchFinished(const QByteArray& body) {
    // The body exactly as it came and a line break after it, kept, then read line by line.
    const QByteArray copy = body + "\r\n";
    QSaveFile out(m_services.folder.file(m_fetchFile));
    if (out.open(QIODevice::WriteOnly) && out.write(copy) == copy.size())
        out.commit();
    lstMasterServers->addItems(TextFile::splitLines(Windows1252::decode(copy)));
    markFriends(lstMasterServers);
    if (m_lastFetchGame != Rtcw)
        m_fetch->head();
}

void GameStarter::fetchUnreachable(const QString& reason) {
    if (m_form10)
        m_form10->showError(reason);
    if (m_lastFetchGame != Rtcw)
        m_fetch->head();
}

void GameStarter::headFinished(const QString& contentLength) {
    lblStatus->setText(QStringLiteral(" Recived Master List : (") + contentLength +
                       QStringLiteral(")Bytes "));
}

void GameStarter::tmrFetch_Timer() {
    if (lstMasterServers->count() == 0)
        return;
    tmrFetch->stop();
    if (m_form10)
        m_form10->hide();
    cmdQvlList->setEnabled(true);
}

void GameStarter::abandonFetch() {
    // A list belongs to the game and mod it was asked for: arriving after a change, it would be shown
    // under the new game and joined as one of its servers. A size still asked for once the list has
    // arrived is simply dropped.
    if (tmrFetch->isActive())
        Form10_Stop();
    else
        m_fetch->cancel();
}

void GameStarter::Form10_Stop() {
    cmdQvlList->setEnabled(true);
    tmrFetch->stop();
    m_fetch->cancel();
    lblStatus->setText(QStringLiteral(" Fetch Canceled"));
    if (m_form10) {
        m_form10->hide();
        m_form10->deleteLater();
        m_form10 = nullptr;
    }
}
