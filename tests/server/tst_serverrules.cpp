// The pure rules under the server: how a segment splits into messages, what a name may be,
// and how addresses are written and grouped into subnets.
#include "DataRows.h"
#include "server/AddressRules.h"
#include "server/LineFramer.h"
#include "server/NameRules.h"

#include <QtTest>

class TestServerRules : public QObject {
    Q_OBJECT
private slots:
    // clang-format off
    void segmentSplitsIntoMessages_data() {
        addColumns<QByteArray, QStringList>("segment", "messages");
        QTest::newRow("bare LF") << QByteArray("A\nB") << QStringList{QStringLiteral("A"), QStringLiteral("B")};
        QTest::newRow("two and a tail") << QByteArray("A\r\nB\r\nC") << QStringList{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")};
        QTest::newRow("only line ends") << QByteArray("\r\n\r\n") << QStringList();
        QTest::newRow("lone CR kept inside") << QByteArray("A\rB") << QStringList{QStringLiteral("A\rB")};
        QTest::newRow("Windows-1252 bytes") << QByteArray("MSG|\xBF|\x80 \xE9") << QStringList{QStringLiteral("MSG|\u00BF|\u20AC \u00E9")};
    }
    // clang-format on

    void segmentSplitsIntoMessages() {
        auto [segment, messages] = fetchRow<QByteArray, QStringList>("segment", "messages");
        QCOMPARE(LineFramer::messagesOf(segment), messages);
    }

    void names_data() {
        addColumns<QString, bool>("name", "valid");
        QTest::newRow("plain") << QStringLiteral("bob") << true;
        QTest::newRow("second session") << QStringLiteral("bob@home") << true;
        QTest::newRow("soft hyphen") << QStringLiteral("Quorvel\u00AD") << false;
        QTest::newRow("no-break space") << QStringLiteral("b\u00A0b") << false;
        QTest::newRow("DEL") << QStringLiteral("b\u007F") << false;
        QTest::newRow("C1 control") << QStringLiteral("b\u009D") << false;
        QTest::newRow("zero-width space") << QStringLiteral("b\u200Bb") << false;
        QTest::newRow("punctuation") << QStringLiteral("[KP]bob_2-x") << true;
        QTest::newRow("accented") << QStringLiteral("Ren\u00E9e") << true;
        QTest::newRow("20 characters") << QStringLiteral("b").repeated(20) << true;
        QTest::newRow("21 characters") << QStringLiteral("b").repeated(21) << false;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("blank") << QStringLiteral("b b") << false;
        QTest::newRow("less-than") << QStringLiteral("<b") << false;
        QTest::newRow("bar") << QStringLiteral("b|b") << false;
        QTest::newRow("control") << QStringLiteral("b\u0001") << false;
        QTest::newRow("not in Windows-1252") << QStringLiteral("b\u4E2D") << false;
    }

    void names() {
        auto [name, valid] = fetchRow<QString, bool>("name", "valid");
        QCOMPARE(NameRules::isValidName(name), valid);
        QCOMPARE(NameRules::isValidAccountName(name), valid && !name.contains(u'@'));
    }

    void sameName_data() {
        addColumns<QString, QString, bool>("a", "b", "same");
        QTest::newRow("case") << QStringLiteral("Bob") << QStringLiteral("bOB") << true;
        QTest::newRow("invisible inside")
            << QStringLiteral("Quor\u00ADvel") << QStringLiteral("quorvel") << true;
        QTest::newRow("superscript digit") << QStringLiteral("bob\u00B2") << QStringLiteral("BOB2") << true;
        QTest::newRow("ordinal letter") << QStringLiteral("\u00AAlice") << QStringLiteral("alice") << true;
        QTest::newRow("accent counts") << QStringLiteral("Ren\u00E9e") << QStringLiteral("renee") << false;
        QTest::newRow("different") << QStringLiteral("bob") << QStringLiteral("bobby") << false;
    }

    void sameName() {
        auto [a, b, same] = fetchRow<QString, QString, bool>("a", "b", "same");
        QCOMPARE(NameRules::key(a) == NameRules::key(b), same);
    }

    // clang-format off
    void addresses_data() {
        addColumns<QString, QString, QString>("address", "text", "subnet");
        QTest::newRow("IPv4") << QStringLiteral("10.1.2.3") << QStringLiteral("10.1.2.3") << QStringLiteral("10.1.2");
        QTest::newRow("IPv4-mapped") << QStringLiteral("::ffff:192.0.2.7") << QStringLiteral("192.0.2.7") << QStringLiteral("192.0.2");
        QTest::newRow("IPv6") << QStringLiteral("2001:db8:1:2:3:4:5:6") << QStringLiteral("2001:db8:1:2:3:4:5:6") << QStringLiteral("2001:db8:1:2");
    }
    // clang-format on

    void addresses() {
        auto [address, text, subnet] = fetchRow<QString, QString, QString>("address", "text", "subnet");
        QCOMPARE(AddressRules::text(QHostAddress(address)), text);
        QCOMPARE(AddressRules::subnetOf(text), subnet);
    }
};

QTEST_GUILESS_MAIN(TestServerRules)
#include "tst_serverrules.moc"
