#include "FakeServices.h"

#include "browser/Form10.h"
#include "browser/GameStarter.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

namespace {

// Plays the master-list web server: answers each request with a canned body, and HEAD with a
// Content-Length of its own choosing; records the request lines.
class CannedHttp : public QObject {
public:
    QByteArray body;
    QByteArray headLength; // empty: no Content-Length in the HEAD answer
    QStringList requests;

    quint16 start() {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* s = m_server.nextPendingConnection())
                connect(s, &QTcpSocket::readyRead, this, [this, s] { answer(s); });
        });
        return m_server.listen(QHostAddress::LocalHost, 0) ? m_server.serverPort() : 0;
    }

private:
    void answer(QTcpSocket* s) {
        m_pending[s] += s->readAll();
        if (!m_pending[s].contains("\r\n\r\n"))
            return;
        const QByteArray requestLine = m_pending.take(s).split('\r').first();
        requests.append(QString::fromLatin1(requestLine));
        const bool head = requestLine.startsWith("HEAD ");
        QByteArray reply = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
        if (!head)
            reply += "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
        else
            reply +=
                (headLength.isEmpty() ? QByteArray() : "Content-Length: " + headLength + "\r\n") + "\r\n";
        s->write(reply);
        s->disconnectFromHost();
    }
    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_pending;
};

struct Fetching {
    explicit Fetching(quint16 port) {
        QFile settings(t.file(QStringLiteral("\\Settings.ini")));
        if (settings.open(QIODevice::WriteOnly))
            settings.write("[Options]\r\nMasterListHost=127.0.0.1:" + QByteArray::number(port) + "\r\n");
        settings.close();
        w = std::make_unique<GameStarter>(t.services());
    }
    bool idle() const { return w->cmdQvlList->isEnabled() && !w->tmrFetch->isActive(); }
    QStringList items() const {
        QStringList out;
        for (int i = 0; i < w->lstMasterServers->count(); ++i)
            out.append(w->lstMasterServers->item(i)->text());
        return out;
    }
    TestServices t;
    std::unique_ptr<GameStarter> w;
};

} // namespace

class MasterListTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void fetch_data();
    void fetch();
    void refusals_data();
    void refusals();
    void unreachableHostWaitsForStop();
};

void MasterListTest::fetch_data() {
    QTest::addColumn<QString>("game");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("headLength");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("caption");
    const QByteArray two = "A - 10.0.0.1 - 31510\r\nB - 10.0.0.2 - 31511\r\n";
    QTest::newRow("two lines, three items, size from HEAD")
        << "Kingpin" << two << QByteArray("1234") << "\\qvllist-kingpin.qvl"
        << QStringList{"A - 10.0.0.1 - 31510", "B - 10.0.0.2 - 31511", ""}
        << " Recived Master List : (1234)Bytes "
        << "Master Servers : Kingpin";
    QTest::newRow("RTCW leaves the status alone")
        << "RTCW" << two << QByteArray("1234") << "\\qvllist-rtcw.qvl"
        << QStringList{"A - 10.0.0.1 - 31510", "B - 10.0.0.2 - 31511", ""} << "before"
        << "Master Servers : Castle Wolfenstein";
    QTest::newRow("empty body, no size") << "Half-Life" << QByteArray() << QByteArray() << "\\qvllist-dod.qvl"
                                         << QStringList{""} << " Recived Master List : ()Bytes "
                                         << "Master Servers : Half-Life / Day Of Defeat";
}

void MasterListTest::fetch() {
    QFETCH(QString, game);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, headLength);
    QFETCH(QString, file);
    QFETCH(QStringList, items);
    QFETCH(QString, status);
    QFETCH(QString, caption);
    CannedHttp http;
    http.body = body;
    http.headLength = headLength;
    Fetching f(http.start());
    GameStarter& w = *f.w;
    w.setGameKey(game);
    if (game == u"Half-Life")
        w.Option3->click();
    w.lblStatus->setText(QStringLiteral("before"));

    w.cmdQvlList->click();
    QVERIFY(!f.idle());
    QVERIFY(w.fetchDialog() && w.fetchDialog()->isVisible());
    QCOMPARE(w.fetchDialog()->windowTitle(), QStringLiteral("Fetching : Master Servers :"));
    QTRY_VERIFY_WITH_TIMEOUT(f.idle(), 20000);
    QVERIFY(!w.fetchDialog()->isVisible());
    QCOMPARE(f.items(), items);
    QCOMPARE(w.lblMasterServers->text(), caption);
    QFile copy(f.t.file(file));
    QVERIFY(copy.open(QIODevice::ReadOnly));
    QCOMPARE(copy.readAll(), body + "\r\n");
    const QString url = file.mid(1);
    QStringList requests{QStringLiteral("GET /quorvel/") + url + QStringLiteral(" HTTP/1.1")};
    if (game != u"RTCW")
        requests.append(QStringLiteral("HEAD /quorvel/") + url + QStringLiteral(" HTTP/1.1"));
    QTRY_COMPARE_WITH_TIMEOUT(w.lblStatus->text(), status, 20000);
    QCOMPARE(http.requests, requests);
}

void MasterListTest::refusals_data() {
    QTest::addColumn<QString>("game");
    QTest::addColumn<QString>("prompt");
    QTest::newRow("no game") << "*Home"
                             << "Quorvel|Please select a game first|1";
    QTest::newRow("Half-Life without a mod") << "Half-Life"
                                             << "Quorvel|Please choose a MOD to refresh servers on|0";
}

void MasterListTest::refusals() {
    QFETCH(QString, game);
    QFETCH(QString, prompt);
    CannedHttp http;
    Fetching f(http.start());
    f.w->setGameKey(game);
    f.w->cmdQvlList->click();
    QCOMPARE(f.t.prompts.lastLine(), prompt);
    QVERIFY(f.idle());
    QVERIFY(!f.w->fetchDialog() || !f.w->fetchDialog()->isVisible());
    QCOMPARE(http.requests, QStringList());
}

void MasterListTest::unreachableHostWaitsForStop() {
    quint16 closedPort = 0;
    {
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        closedPort = probe.serverPort();
    }
    Fetching f(closedPort);
    GameStarter& w = *f.w;
    w.setGameKey(QStringLiteral("Kingpin"));
    w.cmdQvlList->click();
    QTRY_VERIFY_WITH_TIMEOUT(w.fetchDialog()->lblError->isVisibleTo(w.fetchDialog()), 20000);
    QTRY_VERIFY_WITH_TIMEOUT(w.lblStatus->text().startsWith(QStringLiteral(" Recived")), 20000);
    QSignalSpy ticks(w.tmrFetch, &QTimer::timeout); // ticks with an empty list change nothing
    QTRY_VERIFY(ticks.count() >= 3);
    QVERIFY(!f.idle());
    QCOMPARE(w.lstMasterServers->count(), 0);

    w.fetchDialog()->Command1->click();
    QVERIFY(f.idle());
    QCOMPARE(w.lblStatus->text(), QStringLiteral(" Fetch Canceled"));
    QTRY_VERIFY(!w.fetchDialog());
}

QTEST_MAIN(MasterListTest)
#include "tst_masterlist.moc"
