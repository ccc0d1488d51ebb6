#include "DataRows.h"
#include "chat/EmoticonCodes.h"

#include <QtTest>

class EmoticonsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void findEmoticons_data() {
        // hits: picture@position
        addColumns<QString, qsizetype, QString>("text", "from", "hits");
        QTest::newRow("the ten codes in picture order") << u":) ;) :z :d :( :| :m :< :o :x"_qs << qsizetype(0) << u"1@0 2@3 3@6 4@9 5@12 6@15 7@18 8@21 9@24 10@27"_qs;
        QTest::newRow("from inside a code") << u":)ab:<"_qs << qsizetype(1) << u"8@4"_qs;
        QTest::newRow("a picture between breaks a code") << (u":"_qs + QChar(QChar::ObjectReplacementCharacter) + u")"_qs) << qsizetype(0) << QString();
    }
    // clang-format on

    void findEmoticons() {
        auto [text, from, hits] = fetchRow<QString, qsizetype, QString>("text", "from", "hits");
        QStringList found;
        for (const EmoticonHit& hit : ::findEmoticons(text, from))
            found << QStringLiteral("%1@%2").arg(hit.picture).arg(hit.position);
        QCOMPARE(found.join(u' '), hits);
    }

    // The program used to replace all of one code, then all of the next. The single scan has to give
    // the same result on any text, runs of code characters included.
    void oneScanFindsWhatPerCodeSearchesFind() {
        const QString alphabet = u":;)zdD(|m<oxX "_qs;
        quint32 state = 12345;
        for (int round = 0; round < 2000; ++round) {
            QString text;
            for (int i = 0; i < 12; ++i) {
                state = state * 1664525u + 1013904223u;
                text += alphabet[qsizetype((state >> 8) % alphabet.size())];
            }
            QString perCode = text;
            for (qsizetype i = 0; i < EmoticonCodes::codes().size(); ++i)
                perCode.replace(EmoticonCodes::codes()[i], QString(QChar(0xE001 + int(i))));
            QString scanned = text;
            const QList<EmoticonHit> hits = ::findEmoticons(text, 0);
            for (auto hit = hits.crbegin(); hit != hits.crend(); ++hit)
                scanned.replace(hit->position, 2, QChar(0xE000 + hit->picture));
            QVERIFY2(scanned == perCode, qPrintable(text));
        }
    }
};

QTEST_MAIN(EmoticonsTest)
#include "tst_emoticons.moc"
