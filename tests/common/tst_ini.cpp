#include "DataRows.h"
#include "TestFiles.h"

#include "common/INI.h"

#include <QtTest>

namespace {
// "-" stands for a file that does not exist.
void put(const QString& path, const QByteArray& bytes) {
    if (bytes != "-")
        QVERIFY(writeBytes(path, bytes));
}
} // namespace

class IniTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void readString_data() {
        addColumns<QByteArray, int, QString>("file", "buffer", "value");
        const QString fallback = QStringLiteral("fallback");
        QTest::newRow("any case, blanks, LF") << QByteArray("[ options ]\nkingpinmmclient =  1 \n") << 50 << "1";
        QTest::newRow("quotes dropped") << QByteArray("[Options]\r\nKingpinMMClient=\" a b \"\r\n") << 50 << " a b ";
        QTest::newRow("8-bit value") << QByteArray("[Options]\rKingpinMMClient=caf\xe9\r") << 50 << "caf\u00e9";
        QTest::newRow("empty value") << QByteArray("[Options]\r\nKingpinMMClient=\r\n") << 50 << QString();
        QTest::newRow("other section") << QByteArray("[Other]\r\nKingpinMMClient=1\r\n[Options]\r\n") << 50 << fallback;
        QTest::newRow("missing file") << QByteArray("-") << 50 << fallback;
        QTest::newRow("49 of 60 characters") << "[Options]\r\nKingpinMMClient=" + QByteArray(60, 'x') << 50 << QString(49, u'x');
        QTest::newRow("fallback cut too") << QByteArray("-") << 5 << "fall";
    }
    // clang-format on

    void readString() {
        auto [file, buffer, value] = fetchRow<QByteArray, int, QString>("file", "buffer", "value");
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Settings.ini"));
        put(path, file);
        QCOMPARE(INI::readString(path, QStringLiteral("Options"), QStringLiteral("KingpinMMClient"),
                                 QStringLiteral("fallback"), buffer),
                 value);
    }

    // clang-format off
    void writeString_data() {
        addColumns<QByteArray, QString, QByteArray>("before", "value", "after");
        QTest::newRow("new file") << QByteArray("-") << "1" << QByteArray("[Options]\r\nKingpinMMClient=1\r\n");
        QTest::newRow("replaced, the rest kept byte for byte") << QByteArray( "; caf\xe9\n[Other]\nKingpinMMClient=7\n[OPTIONS]\r\n kingpinmmclient = 0 \r\nX=y\r") << "1" << QByteArray("; caf\xe9\n[Other]\nKingpinMMClient=7\n[OPTIONS]\r\nKingpinMMClient=1\r\nX=y\r");
        QTest::newRow("added after the section's last line") << QByteArray("[Options]\r\nX=y\r\n\r\n[Next]\r\nZ=1") << "0" << QByteArray("[Options]\r\nX=y\r\nKingpinMMClient=0\r\n\r\n[Next]\r\nZ=1");
        QTest::newRow("section appended after an unended line") << QByteArray("[Other]\r\nZ=1") << "\u00e9" << QByteArray("[Other]\r\nZ=1\r\n[Options]\r\nKingpinMMClient=\xe9\r\n");
    }
    // clang-format on

    void writeString() {
        auto [before, value, after] = fetchRow<QByteArray, QString, QByteArray>("before", "value", "after");
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Settings.ini"));
        put(path, before);
        QVERIFY(INI::writeString(path, QStringLiteral("Options"), QStringLiteral("KingpinMMClient"), value));
        QCOMPARE(readBytes(path), after);
    }
};

QTEST_GUILESS_MAIN(IniTest)
#include "tst_ini.moc"
