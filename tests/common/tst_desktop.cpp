// Starting games where Windows is not: through Wine when it is on the PATH, from the game folder,
// and a batch file followed line by line. A script named "wine" on a PATH of the test's own
// records what it was asked to run.
#include "DataRows.h"
#include "TestFiles.h"

#include "common/BatchScript.h"
#include "common/EnvironmentDefault.h"
#include "common/SystemServices.h"
#include "common/TextFile.h"

#include <QtTest>

namespace {

const QByteArray kRecorder("#!/bin/sh\nprintf '%s\\n' \"$PWD\" \"$*\" > \"$RECORD.part\" && /bin/mv \"$RECORD.part\" \"$RECORD\"\n");

} // namespace

class DesktopTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        m_path = qgetenv("PATH");
        m_folder.emplace();
        m_dir = QDir(m_folder->path());
        m_dir.mkpath(QStringLiteral("bin"));
        m_dir.mkpath(QStringLiteral("game"));
        qputenv("RECORD", m_dir.filePath(QStringLiteral("record")).toLocal8Bit());
    }
    void cleanup() { qputenv("PATH", m_path); }

    // A variable set for start-up only: the user's own value wins, and the programs started later
    // (games, the browser) see the variable as the user left it.
    void environmentDefault_data() {
        addColumns<QByteArray>("users");
        QTest::newRow("not set by the user") << QByteArray();
        QTest::newRow("set by the user") << QByteArray("always");
    }

    void environmentDefault() {
        QFETCH(QByteArray, users);
        const char* name = "QUORVEL_TEST_GDK_GL";
        if (users.isNull())
            qunsetenv(name);
        else
            qputenv(name, users);
        {
            EnvironmentDefault startUp(name, "disable");
            QCOMPARE(qgetenv(name), users.isNull() ? QByteArray("disable") : users);
            startUp.restore();
            QCOMPARE(qEnvironmentVariableIsSet(name), !users.isNull());
        }
        QCOMPARE(qgetenv(name), users);
        QCOMPARE(qEnvironmentVariableIsSet(name), !users.isNull());
    }

    void batchCommand_data() {
        addColumns<QString, QString, QString, QStringList>("text", "folder", "program", "arguments");
        QTest::newRow("kingpin.bat") << "@echo off\r\ncd\\\r\ncd /games/kp\r\nkingpin.exe +connect 10.0.0.5:31510 +name Big Boss\r\n@cls\r\n"
                                     << "/games/kp" << "/games/kp/kingpin.exe"
                                     << QStringList{"+connect", "10.0.0.5:31510", "+name", "Big", "Boss"};
        QTest::newRow("relative folder") << "cd games\ngame.exe" << "/start/games" << "/start/games/game.exe" << QStringList{};
    }

    void batchCommand() {
        auto [text, folder, program, arguments] =
            fetchRow<QString, QString, QString, QStringList>("text", "folder", "program", "arguments");
        const auto command = BatchScript::firstCommand(text, QStringLiteral("/start"));
        QVERIFY(command);
        QCOMPARE((QStringList{command->folder, command->program} + command->arguments),
                 (QStringList{folder, program} + arguments));
        QVERIFY(!BatchScript::firstCommand(QStringLiteral("@echo off\r\ncd\\\r\n@cls\r\n"), QStringLiteral("/")));
    }

    // clang-format off
    void startsGames_data() {
        // game: the bytes of the game file, named onDisk; empty: no such file. The launch names it in
        // lower case, as the batch files and the options do.
        // recorded: folder, then the command line; empty: nothing ran
        addColumns<QByteArray, QString, bool, bool, QStringList>("game", "onDisk", "wineOnPath", "throughBatch", "recorded");
        const QByteArray windowsGame("MZ\x90\0", 4);
        QTest::newRow("Windows game through Wine") << windowsGame << "hl.exe" << true << false << QStringList{"game", "game/hl.exe -console +connect 1.2.3.4:27015"};
        QTest::newRow("KINGPIN.EXE through a batch") << windowsGame << "KINGPIN.EXE" << true << true << QStringList{"game", "game/KINGPIN.EXE +connect 1.2.3.4:27015"};
        QTest::newRow("WolfMP.exe through a batch") << windowsGame << "WolfMP.exe" << true << true << QStringList{"game", "game/WolfMP.exe +connect 1.2.3.4:27015"};
        QTest::newRow("HL.EXE started directly") << windowsGame << "HL.EXE" << true << false << QStringList{"game", "game/HL.EXE -console +connect 1.2.3.4:27015"};
        QTest::newRow("no Wine") << windowsGame << "hl.exe" << false << false << QStringList{};
        QTest::newRow("no game") << QByteArray() << "hl.exe" << true << false << QStringList{};
        QTest::newRow("native program runs itself") << kRecorder << "hl.exe" << false << false << QStringList{"game", "-console +connect 1.2.3.4:27015"};
    }
    // clang-format on

    void startsGames() {
        auto [game, onDisk, wineOnPath, throughBatch, recorded] =
            fetchRow<QByteArray, QString, bool, bool, QStringList>("game", "onDisk", "wineOnPath",
                                                                   "throughBatch", "recorded");
        const QString gameFolder = m_dir.filePath(QStringLiteral("game"));
        if (!game.isEmpty())
            QVERIFY(writeBytes(gameFolder + u'/' + onDisk, game, true));
        if (wineOnPath)
            QVERIFY(writeBytes(m_dir.filePath(QStringLiteral("bin/wine")), kRecorder, true));
        qputenv("PATH", m_dir.filePath(QStringLiteral("bin")).toLocal8Bit());

        SystemDesktop desktop;
        bool started = false;
        const QString named = onDisk.toLower();
        if (throughBatch) {
            const QString batch = m_dir.filePath(QStringLiteral("run.bat"));
            QVERIFY(TextFile::writeLines(batch, {QStringLiteral("@echo off"), QStringLiteral("cd\\"),
                                                 QStringLiteral("cd ") + gameFolder,
                                                 named + QStringLiteral(" +connect 1.2.3.4:27015"),
                                                 QStringLiteral("@cls")}));
            started = desktop.runBatch(batch, m_dir.path(), Desktop::Show::Hidden);
        } else {
            // Built the Windows way: the folder, then a backslash and the executable.
            started = desktop.startProgram(
                gameFolder + u'\\' + named,
                {QStringLiteral("-console"), QStringLiteral("+connect"), QStringLiteral("1.2.3.4:27015")},
                QString(), Desktop::Show::Minimised);
        }
        QCOMPARE(started, !recorded.isEmpty());
        if (recorded.isEmpty())
            return;
        const QString record = m_dir.filePath(QStringLiteral("record"));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(record), 10000);
        const QString root = QFileInfo(m_dir.path()).canonicalFilePath() + u'/';
        QStringList expected = recorded;
        expected[0].prepend(root);
        if (expected[1].startsWith(QStringLiteral("game/")))
            expected[1].prepend(m_dir.path() + u'/');
        QCOMPARE(TextFile::readLines(record), expected);
    }

private:
    QByteArray m_path;
    std::optional<QTemporaryDir> m_folder;
    QDir m_dir;
};

QTEST_GUILESS_MAIN(DesktopTest)
#include "tst_desktop.moc"
