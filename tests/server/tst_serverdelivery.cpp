// What ends a client's read, how the delivery queue fills writes and keeps its probe count, and the
// split of merged client sends. Bursts of read-ending lines reach the real client whole in
// tst_endtoend.
#include "DataRows.h"
#include "TestServer.h"

#include "server/DeliveryQueue.h"
#include "server/LineFramer.h"

#include <QtTest>

using namespace Qt::StringLiterals;
using ServerWire::S;

using Kind = DeliveryQueue::Kind;

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
        // A script for a queue with a 20 ms pause and a 500 ms first resend. "line", "end" and "ping"
        // queue L<n>, E<n> (read-ending) and P<n>; "write=A,B" takes the next write; "probe" writes a
        // probe; "answer=1" is one PING answer that must (1) or must not (0) end the wait; "due=T"
        // is when the next probe is due (-1: none); "forget" forgets older PINGs; "max=N" limits a
        // write to N bytes. "@T" sets the clock in ms.
        QTest::addColumn<QString>("script");
        QTest::newRow("ordinary lines share a write that a read-ending one closes") << "line line end line write=L1,L2,E3 write= due=20 probe@20 due=520 answer@30=1 write=L4 due=-1";
        QTest::newRow("a write stops at its size") << "max=8 line line line write=L1,L2 write=L3";
        QTest::newRow("an earlier PING's answer is not taken for the probe's") << "ping line end line write=P1,L2,E3 probe@20 answer@30=0 write= answer@40=1 write=L4";
        QTest::newRow("a lost probe is sent again, later each time up to 4 s") << "end write=E1 due=20 probe@20 due=520 probe@520 due=1520 probe@1520 due=3520 probe@3520 due=7520 probe@7520 due=11520 answer@11600=1 due=-1";
        QTest::newRow("a resent probe answered late does not end the next wait") << "end line write=E1 probe@20 probe@520 answer@600=1 write=L2 end line write@700=E3 answer@710=0 write= probe@720 answer@730=1 write=L4";
        QTest::newRow("as many answers as probes: the next probe goes at once") << "end write=E1 probe@20 probe@520 answer@600=1 end write@700=E2 probe@720 answer@730=0 due=730 probe@730 answer@740=1";
        QTest::newRow("a probe unanswered past the horizon is forgotten") << "end write=E1 probe@20 probe@520 answer@600=1 forget@9000 end write@9000=E2 probe@9020 answer@9030=1";
    }
    // clang-format on

    void writesAndProbes() {
        QFETCH(QString, script);
        DeliveryQueue queue(20, 500);
        qint64 now = 0;
        qsizetype maxBytes = 1400;
        int queued = 0;
        for (const QString& step : script.split(u' ', Qt::SkipEmptyParts)) {
            const QString head = step.section(u'=', 0, 0);
            const QString value = step.section(u'=', 1);
            const QString verb = head.section(u'@', 0, 0);
            if (head.contains(u'@'))
                now = head.section(u'@', 1).toLongLong();
            if (verb == u"line"_s || verb == u"end"_s || verb == u"ping"_s) {
                const Kind kind = verb == u"line"_s  ? Kind::Ordinary
                                  : verb == u"end"_s ? Kind::EndsRead
                                                     : Kind::Ping;
                queue.append(verb.first(1).toUpper().toLatin1() + QByteArray::number(++queued) + "\r\n",
                             kind);
            } else if (verb == u"write"_s) {
                QStringList names;
                for (const QByteArray& line : queue.takeWrite(maxBytes, now))
                    names.append(QString::fromLatin1(line.chopped(2)));
                QVERIFY2(names.join(u',') == value, qPrintable(step + u" wrote "_s + names.join(u',')));
            } else if (verb == u"probe"_s) {
                queue.probeWritten(now);
            } else if (verb == u"answer"_s) {
                QVERIFY2(queue.pingAnswered(now) == (value == u"1"_s), qPrintable(step));
            } else if (verb == u"due"_s) {
                QVERIFY2(queue.nextProbeAtMs() == value.toLongLong(),
                         qPrintable(step + u" was "_s + QString::number(queue.nextProbeAtMs())));
            } else if (verb == u"forget"_s) {
                queue.forgetOlderThan(now);
            } else if (verb == u"max"_s) {
                maxBytes = value.toLongLong();
            } else {
                QFAIL(qPrintable(u"unknown step "_s + step));
            }
        }
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
