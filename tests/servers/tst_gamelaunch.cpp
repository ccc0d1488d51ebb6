// Launching a game from the browser of a signed-on client: the batch files, the Half-Life command
// lines, the room's announcements, the playing state and the return.
#include "DataRows.h"
#include "SignedOnClient.h"
#include "TestFiles.h"

#include "browser/GameStarter.h"
#include "browser/StarterOptions.h"
#include "servers/Form4.h"

#include <QtTest>
#include <QtWidgets>

namespace {

const QString kInfo = QString::number(int(Prompts::Icon::Information));

// A signed-on client whose browser holds Fred's Bar for the game.
struct Launch : SignedOnClient {
    GameStarter& g;
    explicit Launch(const QString& game, const QString& folder = QStringLiteral("C:\\Games"))
        : g(w->gameStarter()) {
        w->show();
        g.show();
        g.setGameKey(game);
        t.prompts.shown.clear(); // the game folder is not on this machine
        g.options().Text1->setText(folder);
        g.Text3->setText(QStringLiteral("Fred's Bar"));
        g.Text2->setText(QStringLiteral("10.0.0.5"));
        g.Text4->setText(QStringLiteral("31510"));
    }
    QByteArray file(const QString& backslashName) const { return readBytes(t.file(backslashName)); }
    Form4* resume() const { return g.findChild<Form4*>(); }
};

const QByteArray kJoined("MSG|\xbf|joined Kingpin, server : Fred's Bar - 10.0.0.5 - 31510 at 14:05:09 : 16/11/2003");

} // namespace

class GameLaunchTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void batchFiles_data() {
        addColumns<QString, QString, bool, bool, QString, QByteArray, QString>("game", "exe", "mmClient", "passName", "name", "bytes", "exeAfter");
        const QByteArray head("@echo off\r\ncd\\\r\ncd C:\\Kingpin\r\n");
        QTest::newRow("Kingpin with its player name") << "Kingpin" << "\\kingpin.exe" << false << true << "Fred" << head + "kingpin.exe +connect 10.0.0.5:31510 +name Fred\r\n@cls\r\n" << "\\kingpin.exe";
        QTest::newRow("name not passed") << "Kingpin" << "\\kingpin.exe" << false << false << "Fred" << head + "kingpin.exe +connect 10.0.0.5:31510\r\n@cls\r\n" << "\\kingpin.exe";
        QTest::newRow("a name with a blank goes in unquoted") << "Kingpin" << "\\kingpin.exe" << false << true << "Big Boss" << head + "kingpin.exe +connect 10.0.0.5:31510 +name Big Boss\r\n@cls\r\n" << "\\kingpin.exe";
        QTest::newRow("MM client") << "Kingpin" << "\\mmclient.exe" << true << false << "Fred" << head + "mmclient.exe +connect 10.0.0.5:31510\r\n@cls\r\n" << "\\mmclient.exe";
        QTest::newRow("every backslash of a path goes") << "Kingpin" << "\\bin\\kingpin.exe" << false << false << "Fred" << head + "binkingpin.exe +connect 10.0.0.5:31510\r\n@cls\r\n" << "bin\\kingpin.exe";
        QTest::newRow("RTCW") << "RTCW" << "\\wolfmp.exe" << false << true << "Fred" << QByteArray("@echo off\r\ncd\\\r\ncd C:\\Kingpin\r\nwolfmp.exe +connect 10.0.0.5:31510\r\n@cls\r\n") << "\\wolfmp.exe";
    }
    // clang-format on

    void batchFiles() {
        auto [game, exe, mmClient, passName, name, bytes, exeAfter] =
            fetchRow<QString, QString, bool, bool, QString, QByteArray, QString>(
                "game", "exe", "mmClient", "passName", "name", "bytes", "exeAfter");
        Launch c(game, QStringLiteral("C:\\Kingpin"));
        QVERIFY(c.ready);
        c.g.txtGameEXE->setText(exe);
        c.g.Check1->setChecked(mmClient);
        c.g.chkKPNAME->setChecked(passName);
        c.g.txtKPNAME->setText(name);
        c.g.Join->click();
        const QString batch = game == QStringLiteral("RTCW") ? QStringLiteral("\\rtcw.bat") : QStringLiteral("\\kingpin.bat");
        QCOMPARE(c.file(batch), bytes);
        QCOMPARE(c.g.txtGameEXE->text(), exeAfter);
        QCOMPARE(c.t.desktop.started.size(), 1);
        const FakeDesktop::Started& s = c.t.desktop.started.first();
        QCOMPARE((QStringList{s.program, s.workingFolder}), (QStringList{c.t.file(batch), c.t.dir.path()}));
        QCOMPARE(s.show, Desktop::Show::Hidden);
        QVERIFY(c.t.prompts.shown.isEmpty());
    }

    void halfLifeCommandLines_data() {
        // mod: 0 to 3 for Option1 to Option4, -1 for none
        addColumns<int, QString>("mod", "commandLine");
        const QString tail = QStringLiteral(" -noipx +exec adminpass.cfg +connect 10.0.0.5:31510");
        QTest::newRow("Team Fortress") << 0 << "C:\\HL\\hl.exe -console -game tfc" + tail;
        QTest::newRow("Counter-Strike") << 1 << "C:\\HL\\hl.exe -console -game cstrike" + tail;
        QTest::newRow("Day of defeat") << 2 << "C:\\HL\\hl.exe -console -game dod" + tail;
        QTest::newRow("Standard HL") << 3 << "C:\\HL\\hl.exe -console" + tail;
        QTest::newRow("no mod") << -1 << QString();
    }

    void halfLifeCommandLines() {
        auto [mod, commandLine] = fetchRow<int, QString>("mod", "commandLine");
        Launch c(QStringLiteral("Half-Life"), QStringLiteral("C:\\HL"));
        QVERIFY(c.ready);
        QRadioButton* options[] = {c.g.Option1, c.g.Option2, c.g.Option3, c.g.Option4};
        for (QRadioButton* o : options) {
            o->setAutoExclusive(false);
            o->setChecked(false);
        }
        if (mod >= 0)
            options[mod]->setChecked(true);
        c.g.Text4->setText(QStringLiteral("31510"));
        c.g.Join->click();
        if (mod < 0) {
            QCOMPARE(c.t.prompts.lines(), QStringList{"Quorvel|Please choose/tic a MOD to play|" + kInfo});
            QVERIFY(c.t.desktop.started.isEmpty());
        } else {
            QCOMPARE(c.t.desktop.started.size(), 1);
            const FakeDesktop::Started& s = c.t.desktop.started.first();
            QCOMPARE((QStringList{s.program} + s.arguments).join(u' '), commandLine);
            QCOMPARE(s.show, Desktop::Show::Minimised);
            QCOMPARE(s.workingFolder, QString());
        }
        // Without a mod nothing starts, yet the room is told and the windows go all the same.
        QByteArray joined = kJoined;
        QCOMPARE(c.sentSoFar(), joined.replace("Kingpin", "Half-Life"));
        QVERIFY(c.g.isPlaying() && c.w->isHidden());
    }

    void playingAndBack() {
        Launch c(QStringLiteral("Kingpin"));
        QVERIFY(c.ready);
        c.g.options().show();
        c.g.Join->click();
        QCOMPARE(c.sentSoFar(), kJoined);
        QVERIFY(!c.g.options().isVisible()); // nothing of the browser stays over the game
        QCOMPARE(c.t.sounds.played, QStringList{c.t.file(QStringLiteral("\\play.wav"))});
        // Sounds, notification and both windows are off while playing, and back at the return.
        const auto awayState = [&c] {
            return QList<bool>{c.w->mnuSoundEffects->isChecked(), c.w->mnuNotify->isChecked(), c.w->isVisible(),
                               c.g.isVisible()};
        };
        QCOMPARE(awayState(), QList<bool>(4, false));
        QCOMPARE(c.g.txtPlayingGame->text(), QStringLiteral("Playing"));
        Form4* resume = c.resume();
        QVERIFY(resume && resume->isVisible());
        QCOMPARE(resume->windowTitle() + u'|' + resume->Command1->text(), QStringLiteral("Resume Quorvel|Resume Quorvel"));

        c.t.clock.current = QDateTime(QDate(2003, 11, 16), QTime(22, 0, 1));
        resume->Command1->click();
        QCOMPARE(c.g.txtPlayingGame->text(), QStringLiteral("Quorveling"));
        QCOMPARE(awayState(), QList<bool>(4, true));
        QCOMPARE(c.sentSoFar(), QByteArray("MSG|\xbf| left Kingpin : 22:00:01 : 16/11/2003"));
        QTRY_VERIFY(!c.resume());

        // With sound effects off there is no sound, and they come back on at the return.
        c.w->mnuSoundEffects->setChecked(false);
        c.t.sounds.played.clear();
        c.g.Join->click();
        QVERIFY(c.t.sounds.played.isEmpty());
        c.resume()->Command1->click();
        QVERIFY(c.w->mnuSoundEffects->isChecked());
    }

    void notConnectedStillHides() {
        Launch c(QStringLiteral("RTCW"));
        QVERIFY(c.ready);
        c.w->mnudis->trigger();
        QTRY_VERIFY(!c.w->isConnected());
        c.server.take();
        c.g.Join->click();
        QVERIFY(c.g.isPlaying() && c.w->isHidden());
        QCOMPARE(c.t.desktop.started.size(), 1);
        c.resume()->Command1->click();
        QCOMPARE(c.server.received(), QByteArray());
    }

    void kingpinNeedsAName() {
        Launch c(QStringLiteral("Kingpin"));
        QVERIFY(c.ready);
        c.g.txtKPNAME->clear();
        c.g.chkKPNAME->setChecked(false);
        c.g.Join->click();
        QCOMPARE(c.t.prompts.lines(), QStringList{"Quorvel|Player name is not set. Please use a player name|" + kInfo});
        QVERIFY(!c.resume() && !c.g.isPlaying() && c.t.desktop.started.isEmpty());
        QCOMPARE(c.sentSoFar(), QByteArray());
    }

    void aGameThatCannotStart() {
        Launch c(QStringLiteral("RTCW"));
        QVERIFY(c.ready);
        c.t.desktop.succeed = false;
        c.g.Join->click();
        QCOMPARE(c.t.prompts.shown.size(), 1);
        QVERIFY(c.t.prompts.last().text.startsWith(
            QStringLiteral("The game could not be started:\n\nwolfmp.exe +connect 10.0.0.5:31510\n(from ")));
        QCOMPARE(c.t.prompts.last().icon, Prompts::Icon::Exclamation);
        QVERIFY(!c.g.isPlaying() && c.w->isVisible() && c.g.isVisible());
        QTRY_VERIFY(!c.resume());
        QCOMPARE(c.sentSoFar(), QByteArray());
    }
};

QTEST_MAIN(GameLaunchTest)
#include "tst_gamelaunch.moc"
