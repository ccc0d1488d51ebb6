#include "DataRows.h"
#include "chat/EmoticonCodes.h"
#include "chat/EmoticonReplacer.h"

#include <QtGui>
#include <QtTest>

namespace {

// The display as the reader sees it: each picture as [N], "[N?]" when it would not draw.
QString seen(const QTextDocument& doc) {
    QString out;
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
        if (block != doc.begin())
            out += u'\n';
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (!fragment.charFormat().isImageFormat()) {
                out += fragment.text();
                continue;
            }
            const QString name = fragment.charFormat().toImageFormat().name();
            const bool draws =
                !doc.resource(QTextDocument::ImageResource, QUrl(name)).value<QImage>().isNull();
            const QString picture = QStringLiteral("[%1%2]")
                                        .arg(EmoticonReplacer::pictureOfImageName(name))
                                        .arg(draws ? QString() : QStringLiteral("?"));
            out += picture.repeated(fragment.length()); // equal neighbours may share a fragment
        }
    }
    return out;
}

QTextCharFormat coloured(Qt::GlobalColor colour) {
    QTextCharFormat format;
    format.setForeground(QColor(colour));
    return format;
}

} // namespace

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

    // Steps on the display, one per entry: "+text" a new line, ">text" more text on the last line,
    // "pass" a completed read's pass, "clear", "quiet clear" (with the change unsignalled),
    // "trim" (the oldest line dropped), "into first:text" (text put at the end of the first line).
    // clang-format off
    void display_data() {
        addColumns<QStringList, QString>("steps", "shown");
        QTest::newRow("codes become pictures") << QStringList{u"+hi :) there"_qs, u"+x;)y:D:|"_qs, u"pass"_qs} << u"\nhi [1] there\nx[2]y:D[6]"_qs;
        QTest::newRow("a skipped pass is made up by the next") << QStringList{u"+a :("_qs,   u"pass"_qs,      u"+early :m"_qs, u"+;) too"_qs, u"+later :<"_qs, u"pass"_qs} << u"\na [5]\nearly [7]\n[2] too\nlater [8]"_qs;
        QTest::newRow("a code split across two appends") << QStringList{u"+half:"_qs, u"pass"_qs, u">)rest"_qs, u"pass"_qs} << u"\nhalf[1]rest"_qs;
        QTest::newRow("cleared and refilled") << QStringList{u"+old :) line"_qs, u"+old :)"_qs, u"pass"_qs, u"clear"_qs,        u"+new :d"_qs, u"pass"_qs} << u"\nnew [4]"_qs;
        QTest::newRow("cleared without notice") << QStringList{u"+line ;) line"_qs, u"+line ;) line"_qs, u"pass"_qs, u"quiet clear"_qs,   u"+a :z"_qs,         u"pass"_qs} << u"\na [3]"_qs;
        QTest::newRow("oldest lines trimmed") << QStringList{u"+one :)"_qs, u"+two :)"_qs, u"pass"_qs, u"trim"_qs, u"+fresh :x"_qs, u"pass"_qs} << u"two [1]\nfresh [10]"_qs;
        QTest::newRow("text put into converted lines") << QStringList{u"+one"_qs, u"+two"_qs, u"pass"_qs, u"into first: :|"_qs, u"pass"_qs} << u"\none [6]\ntwo"_qs;
    }
    // clang-format on

    void display() {
        auto [steps, shown] = fetchRow<QStringList, QString>("steps", "shown");
        QTextDocument doc;
        EmoticonReplacer replacer(doc);
        for (const QString& step : steps) {
            QTextCursor cursor(&doc);
            cursor.movePosition(QTextCursor::End);
            if (step.startsWith(u'+')) {
                cursor.insertBlock();
                cursor.insertText(step.mid(1));
            } else if (step.startsWith(u'>')) {
                cursor.insertText(step.mid(1));
            } else if (step == u"pass") {
                replacer.replaceNewCodes();
            } else if (step == u"clear") {
                doc.clear();
            } else if (step == u"quiet clear") {
                const QSignalBlocker quiet(doc);
                doc.clear();
            } else if (step == u"trim") {
                cursor.setPosition(0);
                cursor.setPosition(doc.findBlockByNumber(2).position(), QTextCursor::KeepAnchor);
                cursor.removeSelectedText();
            } else if (step.startsWith(u"into first:")) {
                cursor.setPosition(doc.findBlockByNumber(1).position());
                cursor.movePosition(QTextCursor::EndOfBlock);
                cursor.insertText(step.mid(11));
            }
        }
        QCOMPARE(seen(doc), shown);
        // A picture carries its code as its text, for screen readers and HTML copies.
        if (shown.contains(u"[1]"_qs))
            QVERIFY(doc.toHtml().contains(u"alt=\":)\" title=\":)\""_qs));
    }

    void lineColoursAndClipboardSurvive() {
        QClipboard* clipboard = QGuiApplication::clipboard();
        clipboard->setText(u"the user's own text"_qs);
        QSignalSpy changes(clipboard, &QClipboard::dataChanged);
        QTextDocument doc;
        EmoticonReplacer replacer(doc);
        QTextCursor cursor(&doc);
        cursor.insertBlock();
        cursor.insertText(u"ab"_qs, coloured(Qt::blue));
        cursor.insertText(u":)"_qs, coloured(Qt::red));
        cursor.insertText(u"cd"_qs, coloured(Qt::darkGreen));
        replacer.replaceNewCodes();
        QCOMPARE(seen(doc), u"\nab[1]cd"_qs);
        const QList<QColor> expected{Qt::blue, Qt::blue, Qt::red, Qt::darkGreen, Qt::darkGreen};
        for (int i = 0; i < expected.size(); ++i) {
            cursor.setPosition(2 + i); // the format of the character before the cursor
            QCOMPARE(cursor.charFormat().foreground().color(), expected[i]);
        }
        QCOMPARE(clipboard->text(), u"the user's own text"_qs);
        QCOMPARE(changes.count(), 0);
    }
};

QTEST_MAIN(EmoticonsTest)
#include "tst_emoticons.moc"
