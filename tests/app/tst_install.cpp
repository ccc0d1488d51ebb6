#include "TestFiles.h"

#include "common/ProgramFolder.h"
#include "common/TextFile.h"

#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// Every file under a folder, as sorted paths relative to it.
QStringList filesUnder(const QString& root) {
    QStringList out;
    for (QDirIterator it(root, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
        out.append(QDir(root).relativeFilePath(it.next()));
    out.sort();
    return out;
}

} // namespace

class InstallTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void programFolderRule() {
        QTemporaryDir tmp;
        qputenv("XDG_DATA_HOME", QFile::encodeName(tmp.filePath(u"data"_s)));
        QCoreApplication::setApplicationName(u"Quorvel"_s);
        const QString perUser = tmp.filePath(u"data/Quorvel"_s);

        // A build folder, or a copy unpacked anywhere, keeps its files beside the executable; so does a
        // "bin" folder with no shipped files beside it.
        for (const QString& folder : {tmp.filePath(u"build/app"_s), tmp.filePath(u"bin"_s)}) {
            QVERIFY(QDir().mkpath(folder));
            QCOMPARE(ProgramFolder::forExecutable(folder).path(), folder);
        }

        // An installed copy: its shipped files go to the per-user folder, the user's own stay untouched.
        const QString shipped = tmp.filePath(u"usr/share/quorvel"_s);
        QVERIFY(writeBytes(shipped + u"/enter.wav"_s, "shipped enter"));
        QVERIFY(writeBytes(shipped + u"/msg.wav"_s, "shipped msg"));
        QVERIFY(writeBytes(shipped + u"/qvllist-kingpin.qvl"_s, "list"));
        QVERIFY(writeBytes(shipped + u"/README"_s, "not ours to copy"));
        QVERIFY(writeBytes(perUser + u"/msg.wav"_s, "my own msg"));
        const QString bin = tmp.filePath(u"usr/bin"_s);
        QVERIFY(QDir().mkpath(bin));
        QCOMPARE(ProgramFolder::installedDataFolder(bin), shipped);
        QCOMPARE(ProgramFolder::forExecutable(bin).path(), perUser);
        QCOMPARE(filesUnder(perUser), (QStringList{u"enter.wav"_s, u"msg.wav"_s, u"qvllist-kingpin.qvl"_s}));
        QCOMPARE(readBytes(perUser + u"/enter.wav"_s), QByteArray("shipped enter"));
        QCOMPARE(readBytes(perUser + u"/msg.wav"_s), QByteArray("my own msg"));
        QVERIFY(filesUnder(bin).isEmpty());
    }

    void installedTreeAndPerUserFiles() {
        QTemporaryDir tmp;
        const QString root = tmp.filePath(u"root"_s);
        QProcess install;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(u"DESTDIR"_s, root);
        install.setProcessEnvironment(env);
        install.start(QStringLiteral(QUORVEL_CMAKE_COMMAND),
                      {u"--install"_s, QStringLiteral(QUORVEL_BUILD_DIR), u"--prefix"_s, u"/usr"_s});
        QVERIFY(install.waitForFinished(120000));
        QVERIFY2(install.exitCode() == 0, install.readAllStandardError().constData());

        QStringList expected{u"usr/bin/quorvel"_s,
                             u"usr/bin/quorvel-server"_s,
                             u"usr/lib/quorvel/quorvel-sounds.so"_s,
                             u"usr/lib/systemd/system/quorvel-server.service"_s,
                             u"usr/share/applications/quorvel.desktop"_s,
                             u"usr/share/metainfo/org.quorvel.Quorvel.metainfo.xml"_s,
                             u"usr/share/man/man6/quorvel.6"_s,
                             u"usr/share/man/man8/quorvel-server.8"_s};
        for (const int pixels : {16, 24, 32, 48, 64, 128, 256})
            expected.append(u"usr/share/icons/hicolor/%1x%1/apps/quorvel.png"_s.arg(pixels));
        for (const char* sound : {"enter", "left", "msg", "play"})
            expected.append(u"usr/share/quorvel/%1.wav"_s.arg(QLatin1String(sound)));
        expected.sort();
        QCOMPARE(filesUnder(root), expected);
        const QStringList desktopEntry =
            TextFile::readLines(root + u"/usr/share/applications/quorvel.desktop"_s);
        QVERIFY(desktopEntry.contains(u"Exec=quorvel"_s) && desktopEntry.contains(u"Icon=quorvel"_s));
        QVERIFY(TextFile::readLines(root + u"/usr/lib/systemd/system/quorvel-server.service"_s)
                    .contains(u"ExecStart=/usr/bin/quorvel-server --data /var/lib/quorvel-server "
                              u"$QUORVEL_SERVER_OPTIONS"_s));
        QCOMPARE(QImage(root + u"/usr/share/icons/hicolor/48x48/apps/quorvel.png"_s).size(), QSize(48, 48));

        // The installed program, run by a user whose data folder is in the temporary folder: it takes its
        // sounds from share/quorvel into that folder and, told to end as a desktop session ends it, saves
        // its settings file there; nothing is written beside the executable.
        QProcess program;
        const QString home = tmp.filePath(u"home"_s);
        const QString perUser = home + u"/.local/share/Quorvel"_s;
        QProcessEnvironment user = QProcessEnvironment::systemEnvironment();
        user.insert(u"HOME"_s, home);
        user.remove(u"XDG_DATA_HOME"_s);
        user.insert(u"XDG_RUNTIME_DIR"_s, tmp.path()); // where the running copy's lock appears
        user.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        program.setProcessEnvironment(user);
        program.start(root + u"/usr/bin/quorvel"_s, {});
        QVERIFY(program.waitForStarted(30000));
        // The lock is taken after the program is ready to be told to end.
        QTRY_VERIFY_WITH_TIMEOUT(!QDir(tmp.path()).entryList({u"quorvel-*.lock"_s}, QDir::Files).isEmpty(),
                                 60000);
        program.terminate();
        QVERIFY(program.waitForFinished(60000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QStringList files = filesUnder(perUser);
        QCOMPARE(files,
                 (QStringList{u"Quorvel.ini"_s, u"enter.wav"_s, u"left.wav"_s, u"msg.wav"_s, u"play.wav"_s}));
        QCOMPARE(TextFile::readLines(perUser + u"/Quorvel.ini"_s).value(1), u"localhost"_s);
        QCOMPARE(filesUnder(root), expected);
    }
};

QTEST_GUILESS_MAIN(InstallTest)
#include "tst_install.moc"
