#include "DataRows.h"

#include "chat/ChatDisplay.h"

#include <QtTest>
#include <QtWidgets>

using namespace Qt::StringLiterals;

namespace {

// A display with these lines, each in black, the codes of all of them converted.
void fill(ChatDisplay& display, const QStringList& lines) {
    for (const QString& line : lines)
        display.appendLine(line, Qt::black);
    display.replaceNewCodes();
}

} // namespace

class ChatDisplayTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void textAsShownAndAsCopied_data() {
        // passes: how many lines each emoticon pass follows ("2,1": a pass after two lines, one after the third)
        addColumns<QStringList, QString, QString, QString>("lines", "passes", "shown", "copied");
        const QString picture(QChar::ObjectReplacementCharacter);
        QTest::newRow("plain lines") << QStringList{u"<ann> hi"_s, u" ^ bob Has entered..."_s} << u"2"_s << u"\n<ann> hi\n ^ bob Has entered..."_s << u"\n<ann> hi\n ^ bob Has entered..."_s;
        QTest::newRow("codes converted") << QStringList{u"a :) :D ;)"_s} << u"1"_s << (u"\na "_s + picture + u" :D "_s + picture) << u"\na :) :D ;)"_s;
        QTest::newRow("a line after the last pass keeps its code") << QStringList{u":x"_s, u":o"_s} << u"1"_s << (u"\n"_s + picture + u"\n:o"_s) << u"\n:x\n:o"_s;
        QTest::newRow("the next pass takes what an earlier read left") << QStringList{u":x"_s, u":o"_s, u":|"_s} << u"1,0,2"_s << (u"\n"_s + picture + u"\n"_s + picture + u"\n"_s + picture) << u"\n:x\n:o\n:|"_s;
        QTest::newRow("non-Latin text") << QStringList{u"Grüße 東京 €"_s} << u"1"_s << u"\nGrüße 東京 €"_s << u"\nGrüße 東京 €"_s;
    }
    // clang-format on

    void textAsShownAndAsCopied() {
        auto [lines, passes, shown, copied] =
            fetchRow<QStringList, QString, QString, QString>("lines", "passes", "shown", "copied");
        ChatDisplay display;
        qsizetype next = 0;
        for (const QString& pass : passes.split(u',')) {
            for (int i = 0; i < pass.toInt(); ++i)
                display.appendLine(lines.at(next++), Qt::black);
            display.replaceNewCodes();
        }
        while (next < lines.size())
            display.appendLine(lines.at(next++), Qt::black);
        QCOMPARE(display.toPlainText(), shown);
        display.selectAll();
        QCOMPARE(display.selectedText(), copied);
        display.copy();
        QCOMPARE(QGuiApplication::clipboard()->text(), copied);
    }

    void coloursRecolourAndRemoval() {
        ChatDisplay display;
        display.appendLine(u"one"_s, Qt::red);
        display.appendLine(u"two"_s, Qt::blue);
        display.appendLine(u"three"_s, Qt::red);
        display.recolour(Qt::red, Qt::green);
        QCOMPARE((QList<QColor>{display.lineColour(0), display.lineColour(1), display.lineColour(2)}),
                 (QList<QColor>{Qt::green, Qt::blue, Qt::green}));
        display.removeFirstLines(2);
        QCOMPARE(display.toPlainText(), u"\nthree"_s);
        QCOMPARE(display.lineColour(0), QColor(Qt::green));
        display.clear();
        QCOMPARE(display.toPlainText(), QString());
        QCOMPARE(display.verticalScrollBar()->maximum(), 0);
    }

    // Selected with the mouse from the start of the first line to inside the second, and copied with
    // the keyboard; a double click takes a word.
    void mouseSelectionAndCopy() {
        ChatDisplay display;
        display.resize(400, 200);
        fill(display, {u"first line :)"_s, u"second line"_s});
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        const QRect start = display.characterRect(display.lines().textStart(0));
        const QRect inSecond = display.characterRect(display.lines().textStart(1) + 3);
        QVERIFY(!start.isEmpty() && !inSecond.isEmpty());
        QWidget* viewport = display.viewport();
        QTest::mousePress(viewport, Qt::LeftButton, {}, start.topLeft() + QPoint(0, 2));
        QTest::mouseMove(viewport, inSecond.topLeft() + QPoint(0, 2));
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, inSecond.topLeft() + QPoint(0, 2));
        QCOMPARE(display.selectedText(), u"first line :)\nsec"_s);
        QGuiApplication::clipboard()->clear();
        QTest::keySequence(&display, QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"first line :)\nsec"_s);
        QTest::mouseDClick(viewport, Qt::LeftButton, {}, inSecond.center());
        QCOMPARE(display.selectedText(), u"second"_s);
    }

    // A picture takes its own width in the line, and is drawn there.
    void picturesTakeTheirPlace() {
        ChatDisplay display;
        display.resize(400, 200);
        fill(display, {u"a :) b"_s});
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        const qsizetype code = display.lines().textStart(0) + 2;
        const QRect picture = display.characterRect(code);
        const QRect after = display.characterRect(code + 2);
        QCOMPARE(after.left() - picture.left(), 19);
        // The code's characters are drawn transparent: what shows there is the picture.
        const QImage drawn = display.viewport()->grab().toImage();
        QVERIFY(drawn.pixelColor(picture.center()) != display.palette().color(QPalette::Base));
        QCOMPARE(drawn.pixelColor(after.right() + 30, after.center().y()),
                 display.palette().color(QPalette::Base));
    }

    // Lines added below leave a reader who scrolled back on the same lines; at the bottom the newest
    // line shows.
    void scrolling() {
        ChatDisplay display;
        display.resize(300, 120);
        display.show();
        QVERIFY(QTest::qWaitForWindowExposed(&display));
        for (int i = 0; i < 50; ++i)
            display.appendLine(QString::number(i), Qt::black);
        display.scrollToNewest();
        QScrollBar* bar = display.verticalScrollBar();
        QCOMPARE(bar->value() + bar->pageStep(), 50);
        bar->setValue(10);
        for (int i = 50; i < 60; ++i)
            display.appendLine(QString::number(i), Qt::black);
        QTRY_COMPARE(bar->maximum() + bar->pageStep(), 60);
        QCOMPARE(bar->value(), 10);
        QCOMPARE(display.offsetAt(QPoint(5, 6)), display.lines().textStart(10));
    }

    void assistiveTechnologyReadsTheText() {
        ChatDisplay display;
        display.setAccessibleName(u"Chat"_s);
        fill(display, {u"<ann> hi :)"_s, u"<bob> hello"_s});
        QAccessibleInterface* a11y = QAccessible::queryAccessibleInterface(&display);
        QVERIFY(a11y && a11y->textInterface());
        QCOMPARE(a11y->text(QAccessible::Name), u"Chat"_s);
        QVERIFY(a11y->state().readOnly && a11y->state().multiLine);
        QAccessibleTextInterface* text = a11y->textInterface();
        QCOMPARE(text->characterCount(), 24);
        QCOMPARE(text->text(0, text->characterCount()), u"\n<ann> hi :)\n<bob> hello"_s);
        QCOMPARE(text->text(13, 18), u"<bob>"_s);
        text->setSelection(0, 13, 18);
        QCOMPARE(display.selectedText(), u"<bob>"_s);
        int start = 0, end = 0;
        text->selection(0, &start, &end);
        QCOMPARE(QList<int>({start, end}), QList<int>({13, 18}));
    }
};

QTEST_MAIN(ChatDisplayTest)
#include "tst_chatdisplay.moc"
