#include "DataRows.h"
#include "privatechat/TransferRate.h"
#include "privatechat/TransferText.h"

#include <QtTest>

class TransferTextTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void portAnswers_data() {
        addColumns<QString, qint64, bool>("answer", "value", "usable");
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
        auto [answer, value, usable] = fetchRow<QString, qint64, bool>("answer", "value", "usable");
        QCOMPARE(TransferText::leadingNumber(answer), value);
        QCOMPARE(TransferText::usablePort(answer), usable);
    }

    void saveNames_data() {
        addColumns<QString, QString>("senderPath", "name");
        const auto row = [](const char* name, const QString& path, const QString& saved) {
            QTest::newRow(name) << path << saved;
        };
        row("windows path", R"(C:\My Files\a.zip)", "a.zip");
        row("unix path", "/home/ann/b.txt", "b.txt");
        row("mixed separators", R"(C:\x/y\d.png)", "d.png");
        row("empty", "", "");
        row("folder only", R"(C:\dir\)", "");
        row("dot", R"(C:\.)", "");
        row("dot dot", R"(C:\x\..)", "");
        row("up by slash", "a/../..", "");
        row("drive letter", "C:evil", "");
        row("device", "CON.txt", "");
        row("port device", "com1", "");
        row("control character", QStringLiteral("a\nb"), "");
        row("trailing dot", "name.", "");
        row("too long", QString(256, u'x'), "");
        row("longest", QString(255, u'x'), QString(255, u'x'));
        row("console-like but fine", "CONSOLE.txt", "CONSOLE.txt");
    }

    void saveNames() {
        auto [senderPath, name] = fetchRow<QString, QString>("senderPath", "name");
        QCOMPARE(TransferText::saveName(senderPath), name);
    }

    void blockCounts() {
        // Whole 1028-byte blocks, and one more: a file that fills its last block still gets a padding block.
        QCOMPARE((QList<qint64>{TransferText::blocksFor(0), TransferText::blocksFor(1027),
                                TransferText::blocksFor(1028), TransferText::blocksFor(2056)}),
                 (QList<qint64>{1, 1, 2, 3}));
    }

    // updates: count and time in ms, in turn; rate and left: read at readAt, -1 for none.
    void transferRate_data() {
        addColumns<QList<qint64>, qint64, qint64, qint64, qint64>("updates", "readAt", "total", "rate",
                                                                  "left");
        QTest::newRow("one block: no rate yet")
            << QList<qint64>{1028, 0} << qint64(0) << qint64(5000) << qint64(-1) << qint64(-1);
        QTest::newRow("5 MB in 0.4 s, read at once")
            << QList<qint64>{1028, 0, 2'500'000, 200, 5'001'028, 400} << qint64(400) << qint64(5'001'028)
            << qint64(12'500'000) << qint64(-1);
        QTest::newRow("the same, read after the end")
            << QList<qint64>{1028, 0, 5'001'028, 400, 0, 401} << qint64(60'000) << qint64(5'001'028)
            << qint64(12'500'000) << qint64(-1);
        QTest::newRow("half way") << QList<qint64>{0, 0, 1000, 1000, 3000, 2000} << qint64(2000)
                                  << qint64(7000) << qint64(2000) << qint64(2);
        QTest::newRow("a stall lowers the rate")
            << QList<qint64>{1000, 0, 3000, 1000} << qint64(4000) << qint64(7000) << qint64(500) << qint64(8);
        QTest::newRow("the next transfer starts afresh")
            << QList<qint64>{1000, 0, 9000, 1000, 0, 1001, 500, 5000, 1500, 5500} << qint64(5500)
            << qint64(2500) << qint64(2000) << qint64(1);
    }

    void transferRate() {
        auto [updates, readAt, total, rate, left] = fetchRow<QList<qint64>, qint64, qint64, qint64, qint64>(
            "updates", "readAt", "total", "rate", "left");
        TransferRate r;
        for (qsizetype i = 0; i + 1 < updates.size(); i += 2)
            r.update(updates.at(i), updates.at(i + 1));
        QCOMPARE(qint64(r.bytesPerSecond(readAt).value_or(-1)), rate);
        QCOMPARE(r.secondsLeft(total, readAt).value_or(-1), left);
    }
};

QTEST_GUILESS_MAIN(TransferTextTest)
#include "tst_transfertext.moc"
