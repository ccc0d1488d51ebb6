// What ends a client's read, how the delivery queue fills writes and keeps its probe count, a
// room kept right for members that read as the client does while others sign on and off in a
// loop, and the split of merged client sends. Bursts of read-ending lines reach the real client
// whole in tst_endtoend.
#include "DataRows.h"
#include "TestServer.h"

#include "server/DeliveryQueue.h"
#include "server/LineFramer.h"

#include <QtTest>

#include <algorithm>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using ServerWire::S;

using Kind = DeliveryQueue::Kind;

namespace {

// A member that reads as the real client does: each read handled piece by piece, nothing carried
// to the next read, and the rest of a read dropped after a read-ending message; its member list
// kept from LIST, JOIN and PART. It may read only every readEveryMs, and answer PINGs late.
class ClientLikeMember : public QObject {
public:
    ClientLikeMember(quint16 port, const QString& name, int readEveryMs, int answerDelayMs)
        : m_answerDelayMs(answerDelayMs) {
        connect(&m_socket, &QTcpSocket::connected, this,
                [this, name] { m_socket.write("LOGIN|\xBF|" + name.toLatin1() + "|\xBF|1"); });
        if (readEveryMs > 0) {
            connect(&m_reader, &QTimer::timeout, this, &ClientLikeMember::read);
            m_reader.start(readEveryMs);
        } else {
            connect(&m_socket, &QTcpSocket::readyRead, this, &ClientLikeMember::read);
        }
        m_socket.connectToHost(QHostAddress::LocalHost, port);
    }
    QStringList list() const { return m_list; }
    QStringList received() const { return m_received; }
    int lost() const { return m_lost; }
    bool isConnected() const { return m_socket.state() == QAbstractSocket::ConnectedState; }

private:
    void read() {
        const QList<QByteArray> pieces = m_socket.readAll().split('\n');
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            const QString piece = QString::fromLatin1(pieces[i]).remove(u'\r');
            const QString word = piece.section(S, 0, 0);
            const QString field = piece.section(S, 1);
            bool endsRead = word == u"PMSG"_s || word == u"NICK"_s || word == u"INVALID"_s;
            if (word == u"PING"_s) {
                QTimer::singleShot(m_answerDelayMs, this,
                                   [this] { m_socket.write("PING|\xBF|12:00:00\r\n"); });
            } else if (word == u"LIST"_s || word == u"JOIN"_s) {
                m_list.append(field);
            } else if (word == u"PART"_s) {
                endsRead = m_list.removeOne(field);
            } else if (word == u"MSG"_s || word == u"PMSG"_s) {
                m_received.append(piece);
            }
            if (endsRead) {
                for (++i; i < pieces.size(); ++i)
                    m_lost += !pieces[i].trimmed().isEmpty();
            }
        }
    }

    QTcpSocket m_socket;
    QTimer m_reader;
    int m_answerDelayMs;
    QStringList m_list;
    QStringList m_received;
    int m_lost = 0;
};

// An account that signs on and off in a loop, as fast as it is let in.
class Churner : public QObject {
public:
    Churner(quint16 port, const QString& name, int cycles)
        : m_ownEntry("LIST|\xBF|" + name.toLatin1() + "\r\n")
        , m_cycles(cycles) {
        connect(&m_socket, &QTcpSocket::connected, this,
                [this, name] { m_socket.write("LOGIN|\xBF|" + name.toLatin1() + "|\xBF|1"); });
        connect(&m_socket, &QTcpSocket::readyRead, this, [this, port] {
            m_read += m_socket.readAll();
            if (!m_read.contains(m_ownEntry))
                return;
            m_read.clear();
            m_socket.abort();
            if (++m_done < m_cycles)
                m_socket.connectToHost(QHostAddress::LocalHost, port);
        });
        m_socket.connectToHost(QHostAddress::LocalHost, port);
    }
    bool isDone() const { return m_done == m_cycles; }

private:
    QTcpSocket m_socket;
    QByteArray m_read;
    QByteArray m_ownEntry;
    int m_cycles;
    int m_done = 0;
};

} // namespace

class TestServerDelivery : public QObject {
    Q_OBJECT
private slots:
    void whatEndsARead_data() {
        addColumns<QByteArray, bool, Kind>("line", "strict", "kind");
        const auto row = [](const char* name, const char* line, bool strict, Kind kind) {
            QTest::newRow(name) << QByteArray(line) << strict << kind;
        };
        row("private line", "PMSG|\xBF|<bob> hi\r\n", false, Kind::EndsRead);
        row("part", "PART|\xBF|bob\r\n", false, Kind::EndsRead);
        row("nick demand", "NICK\r\n", false, Kind::EndsRead);
        row("public line", "MSG|\xBF|<bob> hi\r\n", false, Kind::Ordinary);
        row("public line, strict", "MSG|\xBF|<bob> hi\r\n", true, Kind::EndsRead);
        row("/me line", "MSG|\xBF|<bob> /me waves\r\n", false, Kind::EndsRead);
        row("/ME in capitals", "MSG|\xBF|<bob> /ME waves\r\n", false, Kind::EndsRead);
        row("/me behind two blanks", "MSG|\xBF|<bob>  /me waves\r\n", false, Kind::Ordinary);
        row("/mew", "MSG|\xBF|<bob> /mew\r\n", false, Kind::Ordinary);
        row("keep-alive", "PING|\xBF|12:00:00\r\n", false, Kind::Ping);
    }

    void whatEndsARead() {
        auto [line, strict, kind] = fetchRow<QByteArray, bool, Kind>("line", "strict", "kind");
        QCOMPARE(DeliveryQueue::classify(line, strict), kind);
    }

    // clang-format off
    void writesAndProbes_data() {
        // A script for a queue. "line", "end" and "ping" queue L<n>, E<n> (read-ending) and P<n>;
        // "join:a" and "part:a" queue a JOIN and a PART of a, written as +a and -a; "write=A,B"
        // takes the next write, where "?" is the probe; "answer=1" is one PING answer that must (1)
        // or must not (0) end the wait; "forget@T=1" forgets PINGs older than T ms and must (1) or
        // must not (0) end the wait; "max=N" limits a write to N bytes.
        QTest::addColumn<QString>("script");
        QTest::newRow("ordinary lines share a write that a read-ending one closes, behind the probe") << "line line end line write=L1,L2,?,E3 write= answer=1 write=L4";
        QTest::newRow("a write stops at its size") << "max=8 line line line write=L1,L2 write=L3";
        QTest::newRow("an earlier PING's answer is not taken for the probe's") << "ping line end line write=P1,L2,?,E3 answer=0 write= answer=1 write=L4";
        QTest::newRow("lines pass a departure, not a read-ending line") << "join:a write=+a part:a line end line write=L3,?,-a answer=1 write=?,E4 answer=1 write=L5";
        QTest::newRow("changes the member was not told of cancel out") << "join:a line part:a join:b write=L2,+b part:b join:b write=";
        QTest::newRow("a probe unanswered past the horizon is forgotten") << "end write=?,E1 forget@9000=1 line write=L2";
    }
    // clang-format on

    void writesAndProbes() {
        QFETCH(QString, script);
        DeliveryQueue queue;
        qint64 now = 0;
        qsizetype maxBytes = 1400;
        int queued = 0;
        for (const QString& step : script.split(u' ', Qt::SkipEmptyParts)) {
            const QString verb = step.section(u'=', 0, 0).section(u'@', 0, 0).section(u':', 0, 0);
            const QString value = step.section(u'=', 1);
            const QString name = step.section(u':', 1);
            if (QStringList{u"line"_s, u"end"_s, u"ping"_s, u"join"_s, u"part"_s}.contains(verb))
                ++queued;
            if (verb == u"line"_s || verb == u"end"_s || verb == u"ping"_s) {
                const Kind kind = verb == u"line"_s  ? Kind::Ordinary
                                  : verb == u"end"_s ? Kind::EndsRead
                                                     : Kind::Ping;
                queue.append(verb.first(1).toUpper().toLatin1() + QByteArray::number(queued) + "\r\n", kind);
            } else if (verb == u"join"_s) {
                queue.append("JOIN|\xBF|" + name.toLatin1() + "\r\n", Kind::Ordinary);
            } else if (verb == u"part"_s) {
                queue.append("PART|\xBF|" + name.toLatin1() + "\r\n", Kind::EndsRead);
            } else if (verb == u"write"_s) {
                QStringList names;
                for (const QByteArray& line :
                     queue.takeWrite(maxBytes, now, [] { return QByteArray("PING\r\n"); })) {
                    const QString text = QString::fromLatin1(line.chopped(2));
                    names.append(text == u"PING"_s          ? u"?"_s
                                 : text.startsWith(u"JOIN") ? u"+"_s + text.mid(7)
                                 : text.startsWith(u"PART") ? u"-"_s + text.mid(7)
                                                            : text);
                }
                QVERIFY2(names.join(u',') == value, qPrintable(step + u" wrote "_s + names.join(u',')));
            } else if (verb == u"answer"_s) {
                QVERIFY2(queue.pingAnswered() == (value == u"1"_s), qPrintable(step));
            } else if (verb == u"forget"_s) {
                QVERIFY2(queue.forgetOlderThan(step.section(u'@', 1).section(u'=', 0, 0).toLongLong()) ==
                             (value == u"1"_s),
                         qPrintable(step));
            } else if (verb == u"max"_s) {
                maxBytes = value.toLongLong();
            } else {
                QFAIL(qPrintable(u"unknown step "_s + step));
            }
        }
    }

    void churnLeavesEveryListRight_data() {
        addColumns<int, int, int>("readEveryMs", "answerDelayMs", "privateLines");
        QTest::newRow("a member that reads at once") << 0 << 0 << 10;
        QTest::newRow("a member that reads every 30 ms") << 30 << 0 << 10;
        QTest::newRow("a member that answers PINGs 3 s late") << 0 << 3000 << 2;
    }

    void churnLeavesEveryListRight() {
        auto [readEveryMs, answerDelayMs] = fetchRow<int, int>("readEveryMs", "answerDelayMs");
        QFETCH(int, privateLines);
        ServerLimits limits = TestServer::testLimits();
        limits.floodLines = 1'000'000;
        TestServer server(limits);
        auto bob = server.signOnNew(u"bob"_s);
        QVERIFY(bob);
        server.addAccount(u"watcher"_s, u"1"_s);
        ClientLikeMember watcher(server.port(), u"watcher"_s, readEveryMs, answerDelayMs);
        QVERIFY(bob->waitForLine(ServerWire::wire("JOIN", "watcher")));
        std::vector<std::unique_ptr<Churner>> churners;
        for (int i = 0; i < 4; ++i) {
            server.addAccount(u"churn%1"_s.arg(i), u"1"_s);
            churners.push_back(std::make_unique<Churner>(server.port(), u"churn%1"_s.arg(i), 40));
        }
        // While they churn, bob talks to the room and to the watcher alone.
        QStringList said;
        QTimer talk;
        connect(&talk, &QTimer::timeout, this, [&] {
            const qsizetype n = said.size();
            if (n < 30 + privateLines) {
                const QString text = u"line %1"_s.arg(n);
                bob->sendSegment(n < 30 ? ServerWire::msg(text) + u"\r\n"_s
                                        : ServerWire::wire("PMSG", "watcher", text + "\r\n"));
                said << ServerWire::wire(n < 30 ? "MSG" : "PMSG", "<bob> " + text);
            }
        });
        talk.start(20);
        QTRY_VERIFY_WITH_TIMEOUT(
            std::all_of(churners.begin(), churners.end(), [](const auto& c) { return c->isDone(); }), 30000);
        QTRY_COMPARE_WITH_TIMEOUT(server.server().room().onlineNames(), (QStringList{u"bob"_s, u"watcher"_s}),
                                  5000);
        // Everything reaches the watcher whole, and its list ends as the room is.
        QTRY_COMPARE_WITH_TIMEOUT(watcher.received().size(), qsizetype(30 + privateLines), 30000);
        QCOMPARE(watcher.received(), said);
        QTRY_COMPARE_WITH_TIMEOUT(watcher.list(), (QStringList{u"bob"_s, u"watcher"_s}), 30000);
        QCOMPARE(watcher.lost(), 0);
        QVERIFY(watcher.isConnected());
    }

    // clang-format off
    void mergedSendsAreSplit_data() {
        // "~" stands for the separator.
        addColumns<QString, QStringList>("piece", "messages");
        QTest::newRow("a private line behind a public one") << "MSG~helloPMSG~bob~psst" << QStringList{"MSG~hello", "PMSG~bob~psst"};
        QTest::newRow("a line behind an empty one") << "MSG~MSG~two" << QStringList{"MSG~", "MSG~two"};
        QTest::newRow("a keep-alive answer behind a nick") << "NICK~alice2PING~12:00:00" << QStringList{"NICK~alice2", "PING~12:00:00"};
        QTest::newRow("three in one") << "MSG~aOPS~CSBMSG~b" << QStringList{"MSG~a", "OPS~CSB", "MSG~b"};
        QTest::newRow("a follow answer and a line") << "FOLLOWUSERBACK~ann~Srv~10.0.0.1~27910~KingpinMSG~hi" << QStringList{"FOLLOWUSERBACK~ann~Srv~10.0.0.1~27910~Kingpin", "MSG~hi"};
        QTest::newRow("a name ending like a word") << "PMSG~xMSG~hi" << QStringList{"PMSG~xMSG~hi"};
        QTest::newRow("a password is never cut") << "LOGIN~bob~xMSG~y" << QStringList{"LOGIN~bob~xMSG~y"};
    }
    // clang-format on

    void mergedSendsAreSplit() {
        auto [piece, messages] = fetchRow<QString, QStringList>("piece", "messages");
        QCOMPARE(LineFramer::splitMerged(piece.replace(u'~', S)), messages.replaceInStrings(u"~"_s, S));
    }
};

QTEST_GUILESS_MAIN(TestServerDelivery)
#include "tst_serverdelivery.moc"
