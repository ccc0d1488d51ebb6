#include "DataRows.h"
#include "TestFiles.h"

#include "app/MainSettings.h"

#include <QtTest>

namespace {
QStringList fullFile(const QStringList& identification) {
    return QStringLiteral("ann chat.example.org 27800 16777215 10 0 12632256 16777215 255 65280 33023")
               .split(u' ') +
           identification;
}
} // namespace

class MainSettingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void parse_data() {
        // valuesRead: how many of lines 1..11 were taken
        addColumns<QStringList, int, QStringList>("lines", "valuesRead", "identification");
        const QStringList four{QStringLiteral("Age : 23"), QStringLiteral("Email : a@b"), QStringLiteral("Website : x"),
                               QStringLiteral("Hobbys : y")};
        QTest::newRow("fifteen lines") << fullFile(four) << 11 << four;
        QTest::newRow("eleven lines: empty identification") << fullFile({}) << 11 << QStringList();
        QTest::newRow("six entries read back four") << fullFile(four + QStringList{QStringLiteral("e5"), QStringLiteral("e6")})
                                                    << 11 << four;
        QTest::newRow("short file keeps what was read") << fullFile({}).mid(0, 5) << 5 << QStringList();
        QStringList badColour = fullFile(four);
        badColour[5] = QStringLiteral("white");
        QTest::newRow("text where a colour belongs stops there") << badColour << 5 << QStringList();
        QStringList padded = fullFile(four);
        padded[3] = QStringLiteral(" 255 ");
        QTest::newRow("blanks around a number are fine") << padded << 11 << four;
        QTest::newRow("empty file") << QStringList() << 0 << QStringList();
    }

    void parse() {
        auto [lines, valuesRead, identification] =
            fetchRow<QStringList, int, QStringList>("lines", "valuesRead", "identification");
        const MainSettings s = MainSettings::parse(lines);
        const bool read[] = {s.nickname.has_value(),          s.serverHost.has_value(),
                             s.serverPort.has_value(),        s.displayBackground.has_value(),
                             s.displayFontSize.has_value(),   s.displayText.has_value(),
                             s.userListBackground.has_value(), s.inputBackground.has_value(),
                             s.inputText.has_value(),         s.boxBackground.has_value(),
                             s.boxText.has_value()};
        int count = 0;
        while (count < 11 && read[count])
            ++count;
        for (int i = count; i < 11; ++i)
            QVERIFY2(!read[i], "a value after a failed one was read");
        QCOMPARE(count, valuesRead);
        QCOMPARE(s.identification, identification);
        if (valuesRead >= 1)
            QCOMPARE(*s.nickname, lines.at(0));
    }

    void hostileFilesLoadWhatTheyCan_data() {
        addColumns<QByteArray, QString>("bytes", "nickname");
        QTest::newRow("binary junk") << QByteArray("\x00\xff\xfe\x01\x02\r\x03\n\x80", 9) << QString(QChar(0)) + QStringLiteral("\u00ff\u00fe\u0001\u0002");
        QTest::newRow("10 MB line") << QByteArray(10 * 1024 * 1024, 'a') << QString(10 * 1024 * 1024, u'a');
        QTest::newRow("missing file") << QByteArray("<missing>") << QString();
        QTest::newRow("LF only") << QByteArray("bob\nhost\n1\n") << QStringLiteral("bob");
        QTest::newRow("CR only") << QByteArray("bob\rhost\r1\r") << QStringLiteral("bob");
    }

    void hostileFilesLoadWhatTheyCan() {
        auto [bytes, nickname] = fetchRow<QByteArray, QString>("bytes", "nickname");
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Quorvel.ini"));
        if (bytes != "<missing>")
            QVERIFY(writeBytes(path, bytes));
        const MainSettings s = MainSettings::load(path);
        QCOMPARE(s.nickname.value_or(QString()), nickname);
    }
};

QTEST_GUILESS_MAIN(MainSettingsTest)
#include "tst_mainsettings.moc"
