#include "chat/EmoticonCodes.h"
#include "chat/EmoticonReplacer.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QSignalBlocker>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextImageFormat>
#include <QtTest>

namespace {

constexpr QChar objectChar = QChar::ObjectReplacementCharacter;

QString hitsText(const QList<EmoticonHit>& hits) {
    QStringList parts;
    for (const EmoticonHit& hit : hits)
        parts << QStringLiteral("%1@%2").arg(hit.picture).arg(hit.position);
    return parts.join(u' ');
}

// How the main window adds a line: CR LF first, which in the document is a new block.
void appendLine(QTextDocument& doc, const QString& text, const QTextCharFormat& format = {}) {
    QTextCursor cursor(&doc);
    cursor.movePosition(QTextCursor::End);
    cursor.insertBlock();
    cursor.insertText(text, format);
}

// Text added to the end of the last line, without a line break.
void appendToLastLine(QTextDocument& doc, const QString& text) {
    QTextCursor cursor(&doc);
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(text);
}

// The pictures in the document as "picture@position", in document order.
QString picturesIn(const QTextDocument& doc) {
    QStringList parts;
    for (QTextBlock block = doc.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (!fragment.charFormat().isImageFormat())
                continue;
            const int picture = EmoticonReplacer::pictureOfImageName(fragment.charFormat().toImageFormat().name());
            // Equal neighbouring images may share one fragment: one entry per object character.
            for (int i = 0; i < fragment.length(); ++i)
                parts << QStringLiteral("%1@%2").arg(picture).arg(fragment.position() + i);
        }
    }
    return parts.join(u' ');
}

QTextCharFormat colourFormat(Qt::GlobalColor colour) {
    QTextCharFormat format;
    format.setForeground(QColor(colour));
    return format;
}

QColor foregroundAt(QTextDocument& doc, int position) {
    QTextCursor cursor(&doc);
    cursor.setPosition(position + 1); // charFormat() is the one of the character before the cursor
    return cursor.charFormat().foreground().color();
}

} // namespace

class EmoticonsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void codesAreTheTenInPictureOrder();
    void findEmoticons_data();
    void findEmoticons();
    void oneScanFindsWhatPerCodeSearchesFind();

    void pictureResourcesAreCompiledIn();
    void passReplacesCodesWithPictures();
    void codesAppendedAfterAPassGoToTheNextPass();
    void skippedPassIsMadeUpByTheNext();
    void codeSplitAcrossTwoAppendsIsFound();
    void clearedDocumentStartsAgain_data();
    void clearedDocumentStartsAgain();
    void shrunkDocumentWithoutNoticeStartsAgain();
    void linesTrimmedFromTheTopKeepThePassSmall();
    void textInsertedIntoConvertedPartIsConverted();
    void surroundingFormatIsKept();
    void clipboardIsNotTouched();
    void passDoesNotRescanOldText();
    void worksOnTheDocumentOfAReadOnlyTextEdit();
};

void EmoticonsTest::codesAreTheTenInPictureOrder() {
    const QStringList expected{u":)"_qs, u";)"_qs, u":z"_qs, u":d"_qs, u":("_qs,
                               u":|"_qs, u":m"_qs, u":<"_qs, u":o"_qs, u":x"_qs};
    QCOMPARE(EmoticonCodes::codes(), expected);
    for (qsizetype i = 0; i < expected.size(); ++i)
        QCOMPARE(EmoticonCodes::pictureAt(expected[i], 0), int(i + 1));
}

void EmoticonsTest::findEmoticons_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("from");
    QTest::addColumn<QString>("hits");

    const QStringList& codes = EmoticonCodes::codes();
    for (qsizetype i = 0; i < codes.size(); ++i) {
        QTest::addRow("code %s", qPrintable(codes[i]))
            << QStringLiteral("a%1b").arg(codes[i]) << qsizetype(0) << QStringLiteral("%1@1").arg(i + 1);
    }
    QTest::newRow("upper-case D is no code") << u"big :D grin"_qs << qsizetype(0) << QString();
    QTest::newRow("upper-case O, Z, X, M") << u":O :Z :X :M"_qs << qsizetype(0) << QString();
    QTest::newRow("adjacent codes") << u":):)"_qs << qsizetype(0) << u"1@0 1@2"_qs;
    QTest::newRow("adjacent different codes") << u";):d:("_qs << qsizetype(0) << u"2@0 4@2 5@4"_qs;
    QTest::newRow("code at start") << u":(abc"_qs << qsizetype(0) << u"5@0"_qs;
    QTest::newRow("code at end") << u"abc:x"_qs << qsizetype(0) << u"10@3"_qs;
    QTest::newRow("code is whole text") << u":o"_qs << qsizetype(0) << u"9@0"_qs;
    QTest::newRow("none") << u"hello there: nothing; here"_qs << qsizetype(0) << QString();
    QTest::newRow("empty") << QString() << qsizetype(0) << QString();
    QTest::newRow("lone colon at end") << u"wait:"_qs << qsizetype(0) << QString();
    QTest::newRow("colon before code") << u"::)"_qs << qsizetype(0) << u"1@1"_qs;
    QTest::newRow("semicolon before code") << u";:|"_qs << qsizetype(0) << u"6@1"_qs;
    QTest::newRow("reversed is no code") << u"(: )"_qs << qsizetype(0) << QString();
    QTest::newRow("from skips earlier codes") << u":)ab:<"_qs << qsizetype(2) << u"8@4"_qs;
    QTest::newRow("from inside a code") << u":)ab:<"_qs << qsizetype(1) << u"8@4"_qs;
    QTest::newRow("from at a code") << u"ab:m"_qs << qsizetype(2) << u"7@2"_qs;
    QTest::newRow("from past the end") << u":)"_qs << qsizetype(5) << QString();
    QTest::newRow("object characters between")
        << (u":"_qs + objectChar + u")"_qs + objectChar + u":)"_qs) << qsizetype(0) << u"1@4"_qs;
}

void EmoticonsTest::findEmoticons() {
    QFETCH(QString, text);
    QFETCH(qsizetype, from);
    QFETCH(QString, hits);
    QCOMPARE(hitsText(::findEmoticons(text, from)), hits);
}

// The program used to replace all of one code, then all of the next, and so on. The single scan has
// to give the same result on any text, including runs of code characters.
void EmoticonsTest::oneScanFindsWhatPerCodeSearchesFind() {
    const QString alphabet = u":;)zdD(|m<oxX "_qs;
    quint32 state = 12345;
    const auto next = [&state] {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    };
    for (int round = 0; round < 2000; ++round) {
        QString text;
        const int length = int(next() % 12);
        for (int i = 0; i < length; ++i)
            text += alphabet[qsizetype(next() % alphabet.size())];

        QString perCode = text;
        const QStringList& codes = EmoticonCodes::codes();
        for (qsizetype i = 0; i < codes.size(); ++i)
            perCode.replace(codes[i], QString(QChar(0xE001 + int(i))));

        QString scanned = text;
        const QList<EmoticonHit> hits = ::findEmoticons(text, 0);
        for (auto hit = hits.crbegin(); hit != hits.crend(); ++hit)
            scanned.replace(hit->position, 2, QChar(0xE000 + hit->picture));

        QVERIFY2(scanned == perCode, qPrintable(text));
    }
}

void EmoticonsTest::pictureResourcesAreCompiledIn() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc); // makes sure the static library's resources are initialised
    for (int picture = 1; picture <= 10; ++picture) {
        const QImage file(QStringLiteral(":/emoticons/%1.png").arg(picture));
        QVERIFY2(!file.isNull(), qPrintable(QString::number(picture)));
        QCOMPARE(file.size(), QSize(19, 19));

        const QString name = EmoticonReplacer::imageName(picture);
        QCOMPARE(EmoticonReplacer::pictureOfImageName(name), picture);
        const QVariant registered = doc.resource(QTextDocument::ImageResource, QUrl(name));
        QCOMPARE(registered.value<QImage>(), file);
    }
    // The pictures differ from one another.
    for (int a = 1; a <= 10; ++a) {
        for (int b = a + 1; b <= 10; ++b) {
            QVERIFY(QImage(QStringLiteral(":/emoticons/%1.png").arg(a))
                    != QImage(QStringLiteral(":/emoticons/%1.png").arg(b)));
        }
    }
    QCOMPARE(EmoticonReplacer::pictureOfImageName(u"qrc:/emoticons/11.png"_qs), 0);
    QCOMPARE(EmoticonReplacer::pictureOfImageName(u"qrc:/emoticons/x.png"_qs), 0);
    QCOMPARE(EmoticonReplacer::pictureOfImageName(u"other.png"_qs), 0);
}

void EmoticonsTest::passReplacesCodesWithPictures() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    appendLine(doc, u"<ann> hi :) there"_qs);
    appendLine(doc, u"<bob> x;)y:D:|"_qs);
    replacer.replaceNewCodes();

    QCOMPARE(doc.toPlainText(),
             u"\n<ann> hi "_qs + objectChar + u" there\n<bob> x"_qs + objectChar + u"y:D"_qs + objectChar);
    // Positions: the empty first block (0) and its separator (1), then "<ann> hi " is 2..10.
    QCOMPARE(picturesIn(doc), u"1@10 2@25 6@29"_qs);
    QCOMPARE(replacer.convertedEnd(), doc.characterCount() - 1);
    // Each picture carries its code as its text for screen readers and HTML copies.
    const QString html = doc.toHtml();
    for (const char* code : {":)", ";)", ":|"})
        QVERIFY2(html.contains(QStringLiteral("alt=\"%1\" title=\"%1\"").arg(QLatin1String(code))), code);

    // A second pass with nothing new changes nothing.
    replacer.replaceNewCodes();
    QCOMPARE(picturesIn(doc), u"1@10 2@25 6@29"_qs);
}

void EmoticonsTest::codesAppendedAfterAPassGoToTheNextPass() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    appendLine(doc, u"a:)"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(doc.toPlainText(), u"\na"_qs + objectChar);

    appendLine(doc, u"b:o c:x"_qs);
    QCOMPARE(doc.toPlainText(), u"\na"_qs + objectChar + u"\nb:o c:x"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(doc.toPlainText(), u"\na"_qs + objectChar + u"\nb"_qs + objectChar + u" c"_qs + objectChar);
    QCOMPARE(picturesIn(doc), u"1@2 9@5 10@8"_qs);
}

void EmoticonsTest::skippedPassIsMadeUpByTheNext() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    appendLine(doc, u"first :("_qs);
    replacer.replaceNewCodes();
    // A read whose handling ended early: its lines stay with their codes, no pass.
    appendLine(doc, u"early :m end"_qs);
    appendLine(doc, u";) too"_qs);
    // The next completed read.
    appendLine(doc, u"later :<"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(doc.toPlainText(), u"\nfirst "_qs + objectChar + u"\nearly "_qs + objectChar + u" end\n"_qs
                                    + objectChar + u" too\nlater "_qs + objectChar);
    QCOMPARE(picturesIn(doc), u"5@7 7@15 2@21 8@33"_qs);
}

void EmoticonsTest::codeSplitAcrossTwoAppendsIsFound() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    appendLine(doc, u"half:"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(picturesIn(doc), QString());
    appendToLastLine(doc, u")rest"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(doc.toPlainText(), u"\nhalf"_qs + objectChar + u"rest"_qs);
    QCOMPARE(picturesIn(doc), u"1@5"_qs);
}

void EmoticonsTest::clearedDocumentStartsAgain_data() {
    QTest::addColumn<int>("linesBefore");
    QTest::addColumn<int>("linesAfter");
    QTest::newRow("refilled shorter") << 20 << 1;
    QTest::newRow("refilled to the same length") << 5 << 5;
    QTest::newRow("refilled longer before the pass") << 2 << 30;
}

void EmoticonsTest::clearedDocumentStartsAgain() {
    QFETCH(int, linesBefore);
    QFETCH(int, linesAfter);
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    for (int i = 0; i < linesBefore; ++i)
        appendLine(doc, u"old line :) with a code"_qs);
    replacer.replaceNewCodes();

    doc.clear();
    for (int i = 0; i < linesAfter; ++i)
        appendLine(doc, u"new :d line"_qs);
    replacer.replaceNewCodes();

    QVERIFY(!doc.toPlainText().contains(u":d"_qs));
    QCOMPARE(doc.toPlainText().count(objectChar), linesAfter);
    // clear() drops the resources added to a document; the pictures must still resolve.
    const QVariant picture = doc.resource(QTextDocument::ImageResource, QUrl(EmoticonReplacer::imageName(4)));
    QCOMPARE(picture.value<QImage>(), QImage(u":/emoticons/4.png"_qs));
}

void EmoticonsTest::shrunkDocumentWithoutNoticeStartsAgain() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    for (int i = 0; i < 10; ++i)
        appendLine(doc, u"line ;) line"_qs);
    replacer.replaceNewCodes();
    {
        // Even if the change is never signalled, a document shorter than the converted part
        // cannot be the one that was converted.
        const QSignalBlocker quiet(doc);
        doc.clear();
        appendLine(doc, u"a :z"_qs);
    }
    replacer.replaceNewCodes();
    QCOMPARE(doc.toPlainText(), u"\na "_qs + objectChar);
    QCOMPARE(picturesIn(doc), u"3@3"_qs);
}

void EmoticonsTest::linesTrimmedFromTheTopKeepThePassSmall() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    for (int i = 0; i < 100; ++i)
        appendLine(doc, QStringLiteral("line %1 :) with some text to make it long").arg(i, 3, 10, QChar(u'0')));
    replacer.replaceNewCodes();

    // The window drops its oldest lines.
    QTextCursor cursor(&doc);
    cursor.setPosition(doc.findBlockByNumber(60).position(), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    const int before = doc.characterCount();
    appendLine(doc, u"fresh :x"_qs);
    replacer.replaceNewCodes();

    QVERIFY(doc.toPlainText().endsWith(u"fresh "_qs + objectChar));
    QVERIFY(!doc.toPlainText().contains(u":)"_qs));
    QVERIFY2(replacer.lastScanLength() <= doc.characterCount() - before + 2,
             qPrintable(QString::number(replacer.lastScanLength())));
}

void EmoticonsTest::textInsertedIntoConvertedPartIsConverted() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    appendLine(doc, u"one"_qs);
    appendLine(doc, u"two"_qs);
    replacer.replaceNewCodes();

    QTextCursor cursor(doc.findBlockByNumber(1));
    cursor.movePosition(QTextCursor::EndOfBlock);
    cursor.insertText(u" :|"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(doc.toPlainText(), u"\none "_qs + objectChar + u"\ntwo"_qs);
}

void EmoticonsTest::surroundingFormatIsKept() {
    QTextDocument doc;
    EmoticonReplacer replacer(doc);
    QTextCursor cursor(&doc);
    cursor.insertBlock();
    cursor.insertText(u"ab"_qs, colourFormat(Qt::blue));
    cursor.insertText(u":)"_qs, colourFormat(Qt::red));
    cursor.insertText(u"cd"_qs, colourFormat(Qt::darkGreen));
    appendLine(doc, u"all red ;) all red"_qs, colourFormat(Qt::red));
    replacer.replaceNewCodes();

    // "\nab" then the picture at 3, then "cd" and the paragraph separator at 6.
    QCOMPARE(picturesIn(doc), u"1@3 2@15"_qs);
    QCOMPARE(foregroundAt(doc, 2), QColor(Qt::blue));
    QCOMPARE(foregroundAt(doc, 3), QColor(Qt::red));
    QCOMPARE(foregroundAt(doc, 4), QColor(Qt::darkGreen));
    QCOMPARE(foregroundAt(doc, 5), QColor(Qt::darkGreen));
    for (int position = 6; position < doc.characterCount() - 1; ++position) {
        if (position == 6)
            continue; // the paragraph separator
        QCOMPARE(foregroundAt(doc, position), QColor(Qt::red));
    }
}

void EmoticonsTest::clipboardIsNotTouched() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setText(u"the user's own text"_qs);
    QCOMPARE(clipboard->text(), u"the user's own text"_qs);
    QSignalSpy changes(clipboard, &QClipboard::dataChanged);

    QTextEdit display;
    display.setReadOnly(true);
    EmoticonReplacer replacer(*display.document());
    for (int i = 0; i < 5; ++i)
        display.append(u"<ann> :) ;) :z :d :( :| :m :< :o :x"_qs);
    replacer.replaceNewCodes();

    QCOMPARE(display.toPlainText().count(objectChar), 50);
    QCOMPARE(clipboard->text(), u"the user's own text"_qs);
    QCOMPARE(changes.count(), 0);
}

void EmoticonsTest::passDoesNotRescanOldText() {
    QTextDocument doc;
    doc.setUndoRedoEnabled(false);
    EmoticonReplacer replacer(doc);
    for (int i = 0; i < 10000; ++i)
        appendLine(doc, QStringLiteral("<player%1> line number %2 says :) hello").arg(i % 37).arg(i));
    replacer.replaceNewCodes();
    QVERIFY(replacer.lastScanLength() > 300000); // the first pass sees everything

    const int before = doc.characterCount();
    for (int i = 0; i < 10; ++i)
        appendLine(doc, u"<late> ;) new"_qs);
    const int added = doc.characterCount() - before;
    replacer.replaceNewCodes();

    // The new text and the one character of overlap before it; nothing of the 10,000 old lines.
    QVERIFY2(replacer.lastScanLength() > 0 && replacer.lastScanLength() <= added + 1,
             qPrintable(QStringLiteral("scanned %1 of %2 added").arg(replacer.lastScanLength()).arg(added)));
    QCOMPARE(doc.toPlainText().count(objectChar), 10010);

    // Nothing new: nothing scanned beyond the overlap.
    replacer.replaceNewCodes();
    QVERIFY(replacer.lastScanLength() <= 1);
}

void EmoticonsTest::worksOnTheDocumentOfAReadOnlyTextEdit() {
    QTextEdit display;
    display.setReadOnly(true);
    QTextDocument* const doc = display.document();
    EmoticonReplacer replacer(*doc);
    display.append(u"one :)"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(display.toPlainText(), u"one "_qs + objectChar);

    // The window's "clear" keeps the same document object, which the replacer holds on to.
    display.clear();
    QCOMPARE(display.document(), doc);
    display.append(u"two ;) and a longer line than before"_qs);
    replacer.replaceNewCodes();
    QCOMPARE(display.toPlainText(), u"two "_qs + objectChar + u" and a longer line than before"_qs);
}

QTEST_MAIN(EmoticonsTest)
#include "tst_emoticons.moc"
