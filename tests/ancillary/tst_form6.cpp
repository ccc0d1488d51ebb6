#include "DataRows.h"
#include "FakeServices.h"

#include "ancillary/Form6.h"
#include "app/Form1.h"
#include "chat/ChatDisplay.h"
#include "common/BgrColour.h"
#include "common/TextFile.h"

#include <QtTest>
#include <QtWidgets>

using namespace Qt::StringLiterals;

namespace {

const QString kSettings = u"\\Quorvel.ini"_s;

// Lines 4 to 11 of the settings file as the default scheme writes them (line 5 is the font size).
QStringList defaultColourLines(const QString& fontSize) {
    return {u"16777215"_s, fontSize, u"0"_s, u"16777215"_s, u"16777215"_s, u"0"_s, u"16777215"_s, u"0"_s};
}

// The colour the last line of the chat display was written in.
QColor lastLineColour(const Form1& w) {
    return w.rtb->lineColour(w.rtb->lineCount() - 1);
}

} // namespace

class Form6Test : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void pickedColourShowsAtOnceAndIsSaved_data() {
        // control: objectName of the control that shows it, or "me"/"msg" lines
        // paletteRole: QPalette::ColorRole of that control
        // line: settings file line that keeps it, 0 when none
        addColumns<QString, QString, int, int>("caption", "control", "paletteRole", "line");
        QTest::newRow("Main BackGround") << "Main BackGround" << "rtb" << int(QPalette::Base) << 4;
        QTest::newRow("Main Text Color") << "Main Text Color" << "msg" << int(QPalette::Text) << 6;
        QTest::newRow("Emotion Color") << "Emotion Color" << "me" << 0 << 0;
        QTest::newRow("Nick BackGround") << "Nick BackGround" << "LV1" << int(QPalette::Base) << 7;
        QTest::newRow("Nick Text Color") << "Nick Text Color" << "LV1" << int(QPalette::Text) << 0;
        QTest::newRow("Input BackGround") << "Input BackGround" << "Text1" << int(QPalette::Base) << 8;
        QTest::newRow("Input Text Color") << "Input Text Color" << "Text1" << int(QPalette::Text) << 9;
        QTest::newRow("Box BackGround") << "Box BackGround" << "Text3" << int(QPalette::Base) << 10;
        QTest::newRow("Box Text Color") << "Box Text Color" << "Combo1" << int(QPalette::Text) << 11;
        QTest::newRow("Window BackGround") << "Window BackGround" << "Form1" << int(QPalette::Window) << 0;
    }
    // clang-format on

    void pickedColourShowsAtOnceAndIsSaved() {
        auto [caption, control, paletteRole, line] =
            fetchRow<QString, QString, int, int>("caption", "control", "paletteRole", "line");
        const qint64 picked = 0x123456; // blue 0x12, green 0x34, red 0x56
        const QColor shown(0x56, 0x34, 0x12);
        TestServices t;
        Form1 w(t.services());
        QVERIFY(w.Form_Load());
        w.mnucolors->trigger();
        Form6* editor = w.findChild<Form6*>(u"Form6"_s);
        QVERIFY(editor && editor->isVisible() && editor->windowTitle() == u"Custom Scheme"_s);

        const bool chatLines = control == u"me" || control == u"msg";
        const QString read = control == u"me" ? u"MSG|\u00BF|<ann> /me waves"_s : u"MSG|\u00BF|<ann> hi"_s;
        if (chatLines)
            w.handleRead(read); // a line from before the change

        t.prompts.colours.push_back(picked);
        const QList<QPushButton*> buttons = editor->findChildren<QPushButton*>();
        const auto it = std::find_if(buttons.begin(), buttons.end(),
                                     [&, &wanted = caption](auto* p) { return p->text() == wanted; });
        QVERIFY(it != buttons.end());
        QPushButton* b = *it;
        QTest::mouseClick(b, Qt::LeftButton);
        QCOMPARE(t.prompts.last().kind + u'|' + t.prompts.last().title, u"chooseColour|"_s + caption);

        if (chatLines) {
            QCOMPARE(lastLineColour(w), shown); // the history follows the scheme, as the new lines do
            w.handleRead(read);
            QCOMPARE(lastLineColour(w), shown);
        }
        if (paletteRole) {
            auto* target =
                control == u"Form1" ? &w : w.findChild<QWidget*>(control == u"msg" ? u"rtb"_qs : control);
            QVERIFY(target);
            QCOMPARE(target->palette().color(QPalette::ColorRole(paletteRole)), shown);
        }
        QCOMPARE(b->icon().pixmap(b->iconSize()).toImage().pixelColor(2, 2), shown);

        w.mnuExit->trigger();
        QStringList expected = defaultColourLines(QString::number(w.rtb->font().pointSize()));
        if (line)
            expected[line - 4] = QString::number(picked);
        QCOMPARE(TextFile::readLines(t.file(kSettings)).mid(3, 8), expected);
    }

    void cancelledDialogChangesNothing() {
        TestServices t;
        Form1 w(t.services());
        QVERIFY(w.Form_Load());
        Form6& editor = w.colourEditor();
        const QColor before = w.rtb->palette().color(QPalette::Base);
        editor.cmdColor[0]->click(); // no answer scripted: the dialog is cancelled
        QCOMPARE(t.prompts.last().proposed, u"16777215"_s);
        QCOMPARE(w.rtb->palette().color(QPalette::Base), before);
    }

    void restoreDefaults() {
        TestServices t;
        TextFile::writeLines(t.file(kSettings), {u"ann"_s, u"localhost"_s, u"27800"_s, u"1"_s, u"11"_s,
                                                 u"2"_s, u"3"_s, u"4"_s, u"5"_s, u"6"_s, u"7"_s});
        Form1 w(t.services());
        QVERIFY(w.Form_Load());
        QCOMPARE(w.LV1->palette().color(QPalette::Base), BgrColour::toColor(3));
        Form6& editor = w.colourEditor();
        editor.show();
        t.prompts.colours = {0xFF, 0xFF00};
        editor.cmdColor[2]->click(); // Emotion Color
        editor.cmdColor[9]->click(); // Window BackGround
        QCOMPARE(w.actionColour, 0xFF);

        QTest::mouseClick(editor.cmdDefaults, Qt::LeftButton);
        QCOMPARE((QList<qint64>{w.actionColour, w.messageColour}), (QList<qint64>{0x80FF, 0}));
        QCOMPARE(w.palette().color(QPalette::Window), BgrColour::toColor(0xF0F0F0));
        QCOMPARE(w.Combo1->palette().color(QPalette::Base), QColor(Qt::white));
        const QImage white = editor.cmdColor[0]->icon().pixmap(editor.cmdColor[0]->iconSize()).toImage();
        QCOMPARE(white.pixelColor(1, 1), QColor(Qt::white));
        // A white swatch on a light button still shows: it is outlined in the caption's colour.
        QCOMPARE(white.pixelColor(0, 0), editor.cmdColor[0]->palette().color(QPalette::ButtonText));
        w.mnuExit->trigger();
        QCOMPARE(TextFile::readLines(t.file(kSettings)).mid(3, 8), defaultColourLines(u"11"_s));
    }
};

QTEST_MAIN(Form6Test)
#include "tst_form6.moc"
