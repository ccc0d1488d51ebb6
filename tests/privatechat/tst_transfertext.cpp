#include "DataRows.h"
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
};

QTEST_GUILESS_MAIN(TransferTextTest)
#include "tst_transfertext.moc"
