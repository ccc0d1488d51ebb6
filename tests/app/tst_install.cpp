#include "common/ProgramFolder.h"
#include "common/TextFile.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

namespace {

bool writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

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
    void programFolderRule();
    void installedTreeAndPerUserFiles();
};

void InstallTest::programFolderRule() {
    QTemporaryDir tmp;
    QVERIFY(tmp.isValid());
    qputenv("XDG_DATA_HOME", QFile::encodeName(tmp.filePath(QStringLiteral("data"))));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));
    const QString perUser = tmp.filePath(QStringLiteral("data/Quorvel"));

    // A build folder, or a copy unpacked anywhere, keeps its files beside the executable; so does a
    // "bin" folder with no shipped files beside it.
    for (const QString& folder :
         {tmp.filePath(QStringLiteral("build/app")), tmp.filePath(QStringLiteral("bin"))}) {
        QVERIFY(QDir().mkpath(folder));
        QCOMPARE(ProgramFolder::forExecutable(folder).path(), folder);
    }

    // An installed copy: its shipped files go to the per-user folder, the user's own stay untouched.
    const QString shipped = tmp.filePath(QStringLiteral("usr/share/quorvel"));
    QVERIFY(writeFile(shipped + QStringLiteral("/enter.wav"), "shipped enter"));
    QVERIFY(writeFile(shipped + QStringLiteral("/msg.wav"), "shipped msg"));
    QVERIFY(writeFile(shipped + QStringLiteral("/qvllist-kingpin.qvl"), "list"));
    QVERIFY(writeFile(shipped + QStringLiteral("/README"), "not ours to copy"));
    QVERIFY(writeFile(perUser + QStringLiteral("/msg.wav"), "my own msg"));
    const QString bin = tmp.filePath(QStringLiteral("usr/bin"));
    QVERIFY(QDir().mkpath(bin));
    QCOMPARE(ProgramFolder::installedDataFolder(bin), shipped);
    QCOMPARE(ProgramFolder::forExecutable(bin).path(), perUser);
    QCOMPARE(filesUnder(perUser), (QStringList{QStringLiteral("enter.wav"), QStringLiteral("msg.wav"),
                                               QStringLiteral("qvllist-kingpin.qvl")}));
    QCOMPARE(readFile(perUser + QStringLiteral("/enter.wav")), QByteArray("shipped enter"));
    QCOMPARE(readFile(perUser + QStringLiteral("/msg.wav")), QByteArray("my own msg"));
    QVERIFY(filesUnder(bin).isEmpty());
}

void InstallTest::installedTreeAndPerUserFiles() {
    QTemporaryDir tmp;
    QVERIFY(tmp.isValid());
    const QString root = tmp.filePath(QStringLiteral("root"));
    QProcess install;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DESTDIR"), root);
    install.setProcessEnvironment(env);
    install.start(QStringLiteral(QUORVEL_CMAKE_COMMAND),
                  {QStringLiteral("--install"), QStringLiteral(QUORVEL_BUILD_DIR), QStringLiteral("--prefix"),
                   QStringLiteral("/usr")});
    QVERIFY(install.waitForFinished(120000));
    QVERIFY2(install.exitCode() == 0, install.readAllStandardError().constData());

    QStringList expected{QStringLiteral("usr/bin/quorvel"), QStringLiteral("usr/bin/quorvel-server"),
                         QStringLiteral("usr/lib/quorvel/quorvel-sounds.so"),
                         QStringLiteral("usr/share/applications/quorvel.desktop")};
    for (const int pixels : {16, 24, 32, 48, 64, 128, 256})
        expected.append(QStringLiteral("usr/share/icons/hicolor/%1x%1/apps/quorvel.png").arg(pixels));
    for (const char* sound : {"enter", "left", "msg", "play"})
        expected.append(QStringLiteral("usr/share/quorvel/%1.wav").arg(QLatin1String(sound)));
    expected.sort();
    QCOMPARE(filesUnder(root), expected);
    const QStringList desktopEntry =
        TextFile::readLines(root + QStringLiteral("/usr/share/applications/quorvel.desktop"));
    QVERIFY(desktopEntry.contains(QStringLiteral("Exec=quorvel")));
    QVERIFY(desktopEntry.contains(QStringLiteral("Icon=quorvel")));
    QCOMPARE(QImage(root + QStringLiteral("/usr/share/icons/hicolor/48x48/apps/quorvel.png")).size(),
             QSize(48, 48));

    // The installed program, run by a user whose data folder is in the temporary folder: it takes its
    // sounds from share/quorvel into that folder and, told to end as a desktop session ends it, saves
    // its settings file there; nothing is written beside the executable.
    QProcess program;
    const QString home = tmp.filePath(QStringLiteral("home"));
    const QString perUser = home + QStringLiteral("/.local/share/Quorvel");
    QProcessEnvironment user = QProcessEnvironment::systemEnvironment();
    user.insert(QStringLiteral("HOME"), home);
    user.remove(QStringLiteral("XDG_DATA_HOME"));
    user.insert(QStringLiteral("TMPDIR"), tmp.path()); // where the running copy's lock appears
    user.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    program.setProcessEnvironment(user);
    program.start(root + QStringLiteral("/usr/bin/quorvel"), {});
    QVERIFY(program.waitForStarted(30000));
    // The lock is taken after the program is ready to be told to end.
    QTRY_VERIFY_WITH_TIMEOUT(
        !QDir(tmp.path()).entryList({QStringLiteral("quorvel-*.lock")}, QDir::Files).isEmpty(), 60000);
    program.terminate();
    QVERIFY(program.waitForFinished(60000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QStringList files = filesUnder(perUser);
    QCOMPARE(files, (QStringList{QStringLiteral("Quorvel.ini"), QStringLiteral("enter.wav"),
                                 QStringLiteral("left.wav"), QStringLiteral("msg.wav"),
                                 QStringLiteral("play.wav")}));
    QCOMPARE(TextFile::readLines(perUser + QStringLiteral("/Quorvel.ini")).value(1),
             QStringLiteral("localhost"));
    QCOMPARE(filesUnder(root), expected);
}

QTEST_GUILESS_MAIN(InstallTest)
#include "tst_install.moc"
