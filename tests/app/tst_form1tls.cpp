// The main window signed on over TLS ("tls://host:port" in the server box): the status bar says
// the connection is encrypted, and a changed certificate is refused with its explanation while
// nothing reaches the server.
#include "DataRows.h"
#include "FakeServices.h"
#include "TestCertificates.h"
#include "TlsTestPeer.h"

#include "app/Form1.h"
#include "common/TlsTrust.h"

#include <QtTest>

using namespace Qt::StringLiterals;

class TestForm1Tls : public QObject {
    Q_OBJECT
private slots:
    void signOnOverTls_data() {
        addColumns<bool, QString, QString>("changed", "connection", "told");
        QTest::newRow("accepted before")
            << false << u"Connected To Quorvel at : 14:05:09 - encrypted (TLS 1.3)"_s << u""_s;
        QTest::newRow("changed since")
            << true << u"Not Connected"_s << u"has changed since you accepted it"_s;
    }

    void signOnOverTls() {
        auto [changed, connection, told] = fetchRow<bool, QString, QString>("changed", "connection", "told");
        const TestCertificate shown = TestCertificates::forLocalhost(nullptr);
        TlsTestPeer server(shown);
        TestServices t;
        const QSslCertificate accepted =
            changed ? TestCertificates::forLocalhost(nullptr).certificate() : shown.certificate();
        QVERIFY(TlsTrustStore(t.file(u"\\TrustedServers.ini"_s))
                    .pin(u"localhost:%1"_s.arg(server.port()), TlsTrust::fingerprint(accepted)));
        Form1 w(t.services());
        w.Form_Load();
        w.setServerAddress(u"tls://localhost:%1"_s.arg(server.port()), 27800);
        w.setPassword(u"4711"_s);
        w.signOn();
        QTRY_COMPARE_WITH_TIMEOUT(w.connectionText(), connection, 5000);
        if (changed) {
            QTRY_VERIFY_WITH_TIMEOUT(!t.prompts.shown.isEmpty(), 5000);
            QVERIFY2(t.prompts.last().text.contains(told), qPrintable(t.prompts.last().text));
            QCOMPARE(t.prompts.last().icon, Prompts::Icon::Critical);
            QCOMPARE(w.statusText(), u"Signed Off"_s);
            QVERIFY(server.received.isEmpty());
        } else {
            QTRY_VERIFY_WITH_TIMEOUT(server.received.endsWith("|\xbf|4711"), 5000);
            QVERIFY(t.prompts.shown.isEmpty());
        }
    }
};

QTEST_MAIN(TestForm1Tls)
#include "tst_form1tls.moc"
