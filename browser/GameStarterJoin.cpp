// The launch of the chosen game onto the chosen server. Everything is read from the controls of
// this window and StarterOptions::Text1 at the moment it runs.
#include "browser/GameStarter.h"

#include "servers/GameCatalogue.h"
#include "browser/StarterOptions.h"
#include "common/TextFile.h"
#include "servers/Form4.h"
#include "servers/GameLaunch.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QRadioButton>

#include <algorithm>
#include <iterator>

using namespace GameCatalogue;

namespace {

QString cannotStart(const QString& what) {
    QString text = QStringLiteral("The game could not be started:\n\n") + what;
#ifndef Q_OS_WIN
    text += QStringLiteral("\n\nWindows games run through Wine here: check that Wine is installed (the \"wine\" "
                           "command) and that the game folder in the options holds the game.");
#endif
    return text;
}

} // namespace

void GameStarter::setLaunchHost(std::unique_ptr<LaunchHost> host) { m_launchHost = std::move(host); }

void GameStarter::JoinGame() {
    const QString game = gameKey();
    if (game == Kingpin && txtKPNAME->text().isEmpty()) {
        say(QStringLiteral("Player name is not set. Please use a player name"), Prompts::Icon::Information);
        return;
    }
    auto* resume = findChild<Form4*>(QString(), Qt::FindDirectChildrenOnly);
    if (!resume) {
        resume = new Form4(this);
        connect(resume, &Form4::resumed, this, &GameStarter::backFromGame);
    }
    resume->show();
    txtPlayingGame->setText(Playing);

    if (!startGame()) {
        // Nothing runs: the player stays in the room, and the room is not told otherwise.
        txtPlayingGame->setText(NotPlaying);
        resume->close();
        return;
    }

    if (m_launchHost) {
        m_launchHost->announce(GameLaunch::joinedAnnouncement(game, Text3->text(), Text2->text(), Text4->text(),
                                                              m_services.clock.timeText(), m_services.clock.dateText()));
        if (m_launchHost->soundEffectsOn())
            m_services.sounds.play(m_services.folder.file(QStringLiteral("\\play.wav")));
        m_launchHost->leaveForGame();
    }
    // The player is in the game now: nothing of the browser stays on screen over it.
    hide();
    m_options->hide();
}

// Starts the game; false (after saying why) when it could not be. Half-Life without a mod starts
// nothing, says so, and the launch goes on all the same.
bool GameStarter::startGame() {
    const QString game = gameKey();
    // The full path is taken before line breaks leave the folder field; only the batch files get the
    // cleaned folder.
    const QString fullExecutable = m_options->Text1->text() + txtGameEXE->text();
    m_options->Text1->setText(m_options->Text1->text().remove(QStringLiteral("\r\n")));
    const QString folder = m_options->Text1->text();
    const QString address = Text2->text();
    const QString port = Text4->text();

    if (game == HalfLife) {
        const QRadioButton* mods[] = {Option1, Option2, Option3, Option4};
        const auto chosen = std::find_if(std::begin(mods), std::end(mods), [](auto* o) { return o->isChecked(); });
        if (chosen == std::end(mods)) {
            say(QStringLiteral("Please choose/tic a MOD to play"), Prompts::Icon::Information);
            return true;
        }
        const GameLaunch::CommandLine command =
            GameLaunch::halfLife(fullExecutable, Mod(chosen - std::begin(mods)), address, port);
        if (!m_services.desktop.startProgram(command.program, command.arguments, QString(), Desktop::Show::Minimised)) {
            say(cannotStart(command.text()), Prompts::Icon::Exclamation);
            return false;
        }
        return true;
    }
    if (game != Kingpin && game != Rtcw)
        return true;

    txtGameEXE->setText(txtGameEXE->text().remove(u'\\'));
    const std::optional<QString> name = game == Kingpin && chkKPNAME->isChecked() ? std::optional(txtKPNAME->text())
                                                                                   : std::nullopt;
    const bool started = runBatch(game == Kingpin ? QStringLiteral("\\kingpin.bat") : QStringLiteral("\\rtcw.bat"),
                                  GameLaunch::batchLines(folder, txtGameEXE->text(), address, port, name));
    // The backslash goes back in front of the name the catalogue gave the field.
    QString exe = txtGameEXE->text();
    if (game == Rtcw)
        exe.replace(QStringLiteral("wolfmp.exe"), QStringLiteral("\\wolfmp.exe"));
    else if (Check1->isChecked())
        exe.replace(QStringLiteral("mmclient.exe"), QStringLiteral("\\mmclient.exe"));
    else
        exe.replace(QStringLiteral("kingpin.exe"), QStringLiteral("\\kingpin.exe"));
    txtGameEXE->setText(exe);
    return started;
}

bool GameStarter::runBatch(const QString& backslashName, const QStringList& lines) {
    const QString batch = m_services.folder.file(backslashName);
    if (!TextFile::writeLines(batch, lines)) {
        say(cannotStart(batch + QStringLiteral(" could not be written.")), Prompts::Icon::Exclamation);
        return false;
    }
    if (!m_services.desktop.runBatch(batch, m_services.folder.path(), Desktop::Show::Hidden)) {
        say(cannotStart(lines.value(3) + QStringLiteral("\n(from ") + batch + u')'), Prompts::Icon::Exclamation);
        return false;
    }
    return true;
}

void GameStarter::backFromGame() {
    txtPlayingGame->setText(NotPlaying);
    show();
    if (m_launchHost)
        m_launchHost->backFromGame();
}
