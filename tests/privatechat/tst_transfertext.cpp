#include "privatechat/TransferText.h"

#include <QtTest>

class TransferTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void portAnswers_data() {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<qint64>("value");
        QTest::addColumn<bool>("usable");
        QTest::newRow("9") << "9" << qint64(9) << false;
        QTest::newRow("10") << "10" << qint64(10) << true;
        QTest::newRow("50000") << "50000" << qint64(50000) << true;
        QTest::newRow("50001") << "50001" << qint64(50001) << false;
        QTest::newRow("abc") << "abc" << qint64(0) << false;
        QTest::newRow("leading digits") << "2000abc" << qint64(2000) << true;
        QTest::newRow("leading blanks") << "  3000" << qint64(3000) << true;
        QTest::newRow("huge") << "99999999999999999999999" << std::numeric_limits<qint64>::max() << false;
    }

    void portAnswers() {
        QFETCH(QString, answer);
        QFETCH(qint64, value);
        QFETCH(bool, usable);
        QCOMPARE(TransferText::leadingNumber(answer), value);
        QCOMPARE(TransferText::usablePort(answer), usable);
    }

    void saveNames_data() {
        QTest::addColumn<QString>("senderPath");
        QTest::addColumn<QString>("name");
        QTest::newRow("windows path") << R"(C:\My Files\a.zip)"
                                      << "a.zip";
        QTest::newRow("unix path") << "/home/ann/b.txt"
                                   << "b.txt";
        QTest::newRow("bare name") << "c.bin"
                                   << "c.bin";
        QTest::newRow("mixed separators") << R"(C:\x/y\d.png)"
                                          << "d.png";
        QTest::newRow("empty") << ""
                               << "";
        QTest::newRow("folder only") << R"(C:\dir\)"
                                     << "";
        QTest::newRow("dot") << R"(C:\.)"
                             << "";
        QTest::newRow("dot dot") << R"(C:\x\..)"
                                 << "";
        QTest::newRow("up by slash") << "a/../.."
                                     << "";
        QTest::newRow("drive letter") << "C:evil"
                                      << "";
        QTest::newRow("device") << "CON.txt"
                                << "";
        QTest::newRow("port device") << "com1"
                                     << "";
        QTest::newRow("control character") << QStringLiteral("a\nb") << "";
        QTest::newRow("trailing dot") << "name."
                                      << "";
        QTest::newRow("too long") << QString(256, u'x') << "";
        QTest::newRow("longest") << QString(255, u'x') << QString(255, u'x');
        QTest::newRow("console-like but fine") << "CONSOLE.txt"
                                               << "CONSOLE.txt";
    }

    void saveNames() {
        QFETCH(QString, senderPath);
        QFETCH(QString, name);
        QCOMPARE(TransferText::saveName(senderPath), name);
    }

    void blockCounts() {
        QCOMPARE(TransferText::blocksFor(0), 1);
        QCOMPARE(TransferText::blocksFor(1027), 1);
        QCOMPARE(TransferText::blocksFor(1028), 2);
        QCOMPARE(TransferText::blocksFor(2056), 3);
    }
};

QTEST_GUILESS_MAIN(TransferTextTest)
#include "tst_transfertext.moc"
