// The chosen game: its frame, executable, path file and the settings file.
#include "browser/GameStarter.h"

#include "servers/GameCatalogue.h"
#include "browser/StarterOptions.h"
#include "common/FileNameCase.h"
#include "common/INI.h"
#include "common/MakeShortFile.h"
#include "common/Windows1252.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QRegularExpression>

using namespace GameCatalogue;

namespace {

const QString kSettingsFile = QStringLiteral("\\Settings.ini");
const QString kLineBreak = QStringLiteral("\r\n");
constexpr int kIniBuffer = 50;

// The executable named by a folder and a suffix that begins with a backslash, found as the launch
// finds it: without regard to case.
bool gameFileExists(const QString& folder, const QString& suffix) {
    return QFileInfo(FileNameCase::existingPath(QString(folder + suffix).replace(u'\\', u'/'))).isFile();
}

} // namespace

void GameStarter::Combo1_Change() {
    UnLoadPingServers();
    closeLiveServerTable();
    abandonFetch();
    Text3->clear();
    Text2->clear();
    Text4->clear();
    lblMasterServers->setText(MasterCaptionNone);
    lstServers->clear();
    lstMasterServers->clear();

    const QString key = gameKey();
    const Game* game = GameCatalogue::game(key);
    Frame1->setVisible(key == HalfLife);
    Frame2->setVisible(key == Kingpin);
    Frame3->setVisible(key == Rtcw);
    Frame4->setVisible(!game);
    if (!game)
        return;

    txtGameEXE->setText(game->exeSuffix);
    m_proposedFileName = game->proposedFileName;
    if (key == Kingpin) {
        IniSection = QStringLiteral("Options");
        IniKey = QStringLiteral("KingpinMMClient");
        loadini();
        Check1->setChecked(IniValue.toInt() != 0);
        if (Check1->isChecked())
            txtGameEXE->setText(MmClientExe);
        Option5->setChecked(true);
    } else if (key == Rtcw) {
        Option6->setChecked(true);
    }
    readPathFile(game->pathFile);
    if (key == HalfLife)
        HLLoadWhatMod();
    else
        loadList(lstServers, favouritesFile());
    QLineEdit* path = m_options->Text1;
    if (key == Kingpin && Check1->isChecked()) {
        m_proposedFileName = MmClientFileName;
        path->setText(
            path->text().replace(txtKPREPLACE->text(), txtMMCLIENTREPLACE->text(), Qt::CaseInsensitive));
    }
    // The file was written with a line break after the path.
    path->setText(path->text().remove(u'\r').remove(u'\n'));
    IfFileExists();
}

void GameStarter::readPathFile(const QString& pathFile) {
    QFile file(m_services.folder.file(pathFile));
    m_options->Text1->setText(file.open(QIODevice::ReadOnly) ? Windows1252::decode(file.readAll())
                                                             : QString());
}

bool GameStarter::IfFileExists() {
    const QString key = gameKey();
    if (key.isEmpty() || key == Home || gameFileExists(m_options->Text1->text(), txtGameEXE->text()))
        return true;
    say(QStringLiteral("It seems that the path to ") + key + QStringLiteral(" is either not correct,") +
            kLineBreak + QStringLiteral("game is not installed or this is a fresh install.") + kLineBreak +
            QStringLiteral("Please set the correct path(Goto menu, Options..) for ") + key + kLineBreak +
            QStringLiteral("or ignore this if you don't have this game."),
        Prompts::Icon::Exclamation);
    lblStatus->setText(QStringLiteral(" Path error!"));
    return false;
}

void GameStarter::cmdGetPath_Click() {
    const QString game = gameKey();
    const Game* entry = GameCatalogue::game(game);
    if (!entry) {
        say(QStringLiteral("You must select a game first."), Prompts::Icon::Exclamation);
        return;
    }
    QLineEdit* path = m_options->Text1;
    if (!path->text().isEmpty()) {
        const auto answer = say(QStringLiteral("Are you sure you want to browse for ") + game +
                                    QStringLiteral("'s exe? Click no if the path to ") + game +
                                    QStringLiteral(" is already set and working!"),
                                Prompts::Icon::Critical, Prompts::Buttons::YesNo);
        if (answer != Prompts::Answer::Yes) {
            lblStatus->setText(QStringLiteral(" Path to ") + game + QStringLiteral(" has not been changed"));
            return;
        }
        lblStatus->setText(QStringLiteral(" Path to ") + game + QStringLiteral(" has been changed"));
    }
    const QString start =
        QFileInfo(QString(path->text()).replace(u'\\', u'/')).isDir() ? path->text() : QString();
    const QString chosen = m_services.prompts.openFile(QStringLiteral("Half-Life Executable"),
                                                       QDir(start).filePath(m_proposedFileName),
                                                       QStringLiteral("Executables (*.exe *.EXE)"));
    if (chosen.isEmpty())
        return;
    path->setText(QDir::toNativeSeparators(chosen));
    Convert2ShoutOnPath();
    // The folder only: txtGameEXE names the executable.
    path->setText(path->text().left(path->text().lastIndexOf(QDir::separator())));
    if (saveLines(entry->pathFile, {path->text()}))
        lblStatus->setText(QStringLiteral(" Saved the path to ") + game);
    IfFileExists();
}

void GameStarter::Convert2ShoutOnPath() {
    m_options->Text1->setText(MakeShortFile::shortPath(m_options->Text1->text()));
}

void GameStarter::Check1_Click() {
    IniSection = QStringLiteral("Options");
    IniKey = QStringLiteral("KingpinMMClient");
    IniValue = Check1->isChecked() ? QStringLiteral("1") : QStringLiteral("0");
    saveini();
    QString exe = txtGameEXE->text();
    if (Check1->isChecked())
        exe.replace(txtKPREPLACE->text(), txtMMCLIENTREPLACE->text(), Qt::CaseInsensitive);
    else
        exe.replace(txtMMCLIENTREPLACE->text(), txtKPREPLACE->text(), Qt::CaseInsensitive);
    txtGameEXE->setText(exe);
    Option5->setChecked(true);
    m_proposedFileName = Check1->isChecked() ? QStringLiteral("mmclient.exe") : QStringLiteral("kingpin.exe");
    IfFileExists();
}

void GameStarter::loadini() {
    const QString file = m_services.folder.file(kSettingsFile);
    const QString value =
        INI::readString(file, IniSection, IniKey, QDir::toNativeSeparators(file), kIniBuffer);
    if (value.isEmpty()) {
        say(QStringLiteral("An error has occurred while calling the API function"),
            Prompts::Icon::Exclamation);
        return;
    }
    IniValue = value.trimmed();
}

void GameStarter::saveini() {
    if (!INI::writeString(m_services.folder.file(kSettingsFile), IniSection, IniKey, IniValue))
        say(QStringLiteral("An error has occurred while calling the API function"),
            Prompts::Icon::Exclamation);
}

QString GameStarter::masterListAddress() const {
    const QString file = m_services.folder.file(kSettingsFile);
    QString host = INI::readString(file, QStringLiteral("Options"), MasterListHostKey, {}, 256);
    // "https://host" asks for the lists over TLS, checked against the system's authorities; any
    // other address form ("http://host:port/") names the same host over plain HTTP.
    const bool tls = host.startsWith(QStringLiteral("https://"), Qt::CaseInsensitive);
    host.remove(QRegularExpression(QStringLiteral("^[a-zA-Z]+://")))
        .remove(QRegularExpression(QStringLiteral("/+$")));
    return (tls ? QStringLiteral("https://") : QStringLiteral("http://")) +
           (host.isEmpty() ? DefaultMasterListHost : host);
}
