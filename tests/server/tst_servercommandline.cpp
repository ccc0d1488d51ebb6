// The executable's command line: help, refused values, and administration commands that
// must not start a server.
#include "DataRows.h"
#include <QtTest>

class TestServerCommandLine : public QObject {
    Q_OBJECT
private slots:
    // clang-format off
    void commandLine_data() {
        addColumns<QStringList, int, QByteArray>("arguments", "exitCode", "expectedOutput");
        QTest::newRow("help") << QStringList{QStringLiteral("--help")} << 0 << QByteArray("--connections-per-address");
        QTest::newRow("port out of range") << QStringList{QStringLiteral("--chat-port"), QStringLiteral("70000")} << 2 << QByteArray("--chat-port must be a number from 0 to 65535");
        QTest::newRow("flood lines not a number") << QStringList{QStringLiteral("--flood-lines"), QStringLiteral("many")} << 2 << QByteArray("--flood-lines must be a number");
        QTest::newRow("bad metrics subnet") << QStringList{QStringLiteral("--metrics-from"), QStringLiteral("10.0.0.0/99")} << 2 << QByteArray("--metrics-from needs an IP address or a subnet");
        QTest::newRow("bad listen address") << QStringList{QStringLiteral("--listen"), QStringLiteral("nowhere")} << 2 << QByteArray("--listen needs an IP address");
        QTest::newRow("unknown database driver") << QStringList{QStringLiteral("--database-driver"), QStringLiteral("QNOPE")} << 1 << QByteArray("cannot open the database");
        QTest::newRow("op list on an empty database") << QStringList{QStringLiteral("op"), QStringLiteral("list")} << 0 << QByteArray();
        QTest::newRow("unknown command") << QStringList{QStringLiteral("serve"), QStringLiteral("now")} << 2 << QByteArray("unknown command \"serve now\"");
    }
    // clang-format on

    void commandLine() {
        auto [arguments, exitCode, expectedOutput] =
            fetchRow<QStringList, int, QByteArray>("arguments", "exitCode", "expectedOutput");
        QTemporaryDir data;
        QProcess process;
        QSignalSpy finished(&process, &QProcess::finished);
        process.start(QStringLiteral(QUORVEL_SERVER_PATH),
                      QStringList{QStringLiteral("--data"), data.path()} + arguments);
        QVERIFY(finished.wait(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), exitCode);
        const QByteArray output = process.readAllStandardOutput() + process.readAllStandardError();
        QVERIFY2(output.contains(expectedOutput), output.constData());
        // None of these may have started serving.
        QVERIFY(!output.contains("chat port"));
    }
};

QTEST_GUILESS_MAIN(TestServerCommandLine)
#include "tst_servercommandline.moc"
