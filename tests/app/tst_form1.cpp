#include "DataRows.h"
#include "FakeServices.h"
#include "TestFiles.h"

#include "app/Form1.h"
#include "chat/ChatSession.h"
#include "common/TextFile.h"

#include <QtTest>
#include <QtWidgets>

namespace {
// Fifteen different values, so that a line read into or saved from the wrong control shows.
const QStringList kSettings =
    QStringLiteral("ann|chat.example.org|27900|255|12|65280|16711680|8421504|16777215|32768|33023|Age : 23|"
                   "Email : a@b|Website : http://x|Hobbys : kp")
        .split(u'|');

QString bgr(const QWidget* w, QPalette::ColorRole role) {
    const QColor c = w->palette().color(role);
    return QString::number(c.red() | c.green() << 8 | c.blue() << 16);
}

// What the window shows for line `line` of the settings file.
QString shown(const Form1& w, int line) {
    switch (line) {
    case 1:
        return w.Text3->text();
    case 2:
        return w.serverHost();
    case 3:
        return QString::number(w.serverPort());
    case 4:
        return bgr(w.rtb, QPalette::Base);
    case 5:
        return QString::number(w.rtb->font().pointSize());
    case 6:
        return bgr(w.rtb, QPalette::Text);
    case 7:
        return bgr(w.LV1, QPalette::Base);
    case 8:
        return bgr(w.Text1, QPalette::Base);
    case 9:
        return bgr(w.Text1, QPalette::Text);
    case 10:
        return bgr(w.Text3, QPalette::Base) == bgr(w.Combo1, QPalette::Base) ? bgr(w.Combo1, QPalette::Base)
                                                                             : QStringLiteral("differ");
    case 11:
        return bgr(w.Combo1, QPalette::Text);
    default:
        return w.List2->item(line - 12) ? w.List2->item(line - 12)->text() : QString();
    }
}
} // namespace

class Form1Test : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void startsSignedOffWithVersionCaption() {
        TestServices t;
        Form1 w(t.services());
        QVERIFY(w.Form_Load());
        QCOMPARE((QStringList{w.windowTitle(), w.statusText(), w.connectionText(), w.serverHost()}),
                 (QStringList{"Quorvel : 1.0.0", "Signed Off", "Not Connected", "localhost"}));
        // Only signing on is offered.
        QCOMPARE((QList<bool>{w.mnucon->isEnabled(), w.mnudis->isEnabled(), w.mnutools->isEnabled(), w.mnua->isEnabled()}),
                 (QList<bool>{true, false, false, false}));
        // No settings file yet: nothing is said about it.
        QVERIFY(t.prompts.shown.isEmpty() && w.List2->count() == 0);
        // Every control a screen reader reaches has a name.
        for (QWidget* control : std::initializer_list<QWidget*>{w.rtb, w.LV1, w.Text1, w.Text3, w.cboServer, w.Combo1,
                                                                 w.List1, w.List2})
            QVERIFY2(!control->accessibleName().isEmpty(), qPrintable(control->objectName()));
    }

    void secondCopyIsRefused() {
        TestServices t;
        Form1 first(t.services());
        QVERIFY(first.Form_Load());
        Form1 second(t.services());
        QVERIFY(!second.Form_Load());
        QCOMPARE(t.prompts.lines(), QStringList{QStringLiteral("Quorvel|Quorvel found in ram. Can't load another|3")});
        // Told to end (a quit signal while its message shows), it leaves the running copy's settings alone.
        second.mnuExit_Click();
        QVERIFY(!QFile::exists(t.file(QStringLiteral("\\Quorvel.ini"))));

        // A copy in another folder is another program.
        TestServices other;
        Form1 elsewhere(other.services());
        QVERIFY(elsewhere.Form_Load() && other.prompts.shown.isEmpty());
    }

    void settingsRoundTrip_data() {
        addColumns<int, QString>("line", "value");
        // Other values than the starting file's, odd ones included: empty, non-ASCII, blanks.
        const QStringList values = QString::fromUtf8("Jos\xc3\xa9|10.0.0.7|1|1193046|72|6636321|7829367|1|16711935|"
                                                     "65535|4210752||e|\xe2\x82\xac|x y")
                                       .split(u'|');
        for (int line = 1; line <= 15; ++line)
            QTest::addRow("line %d", line) << line << values.at(line - 1);
    }

    // Every line is loaded into its control and written back from it, byte for byte.
    void settingsRoundTrip() {
        auto [line, value] = fetchRow<int, QString>("line", "value");
        TestServices t;
        QStringList lines = kSettings;
        lines[line - 1] = value;
        const QString path = t.file(QStringLiteral("\\Quorvel.ini"));
        QVERIFY(TextFile::writeLines(path, lines));
        const QByteArray written = readBytes(path);
        {
            Form1 w(t.services());
            QVERIFY(w.Form_Load());
            for (int i = 1; i <= 15; ++i)
                QCOMPARE(shown(w, i), lines.at(i - 1));
            QFile::remove(path);
            w.mnuExit->trigger();
        }
        QCOMPARE(readBytes(path), written);
    }

    void exitSavesAndEnds_data() {
        addColumns<QString, bool>("how", "saved");
        QTest::newRow("Exit menu") << QStringLiteral("menu") << true;
        QTest::newRow("close box") << QStringLiteral("close") << true;
        QTest::newRow("/exit") << QStringLiteral("/exit") << false;
    }

    void exitSavesAndEnds() {
        auto [how, saved] = fetchRow<QString, bool>("how", "saved");
        TestServices t;
        Form1 w(t.services());
        QVERIFY(w.Form_Load());
        w.session().setIdentificationEntries(QStringLiteral("a b c d e").split(u' '));
        QSignalSpy ended(&w, &Form1::programEnded);
        if (how == u"menu") {
            w.mnuExit->trigger();
        } else if (how == u"close") {
            w.show();
            w.close();
        } else {
            w.Text1->setText(how);
            QTest::keyClick(w.Text1, Qt::Key_Return);
        }
        QCOMPARE(ended.count(), 1);
        const QStringList lines = TextFile::readLines(t.file(QStringLiteral("\\Quorvel.ini")));
        // Every entry is written; four are read back.
        QCOMPARE(lines.size(), saved ? 16 : 0);
        if (!saved)
            return;
        // The lock is released: the next start is not a second copy.
        Form1 next(t.services());
        QVERIFY(next.Form_Load());
        QCOMPARE(next.List2->count(), 4);
    }

    void menuCaptions() {
        const char* table[][2] = {
            {"mnufile", "&File"}, {"mnuOpts", "&Options"}, {"mnutools", "&Admin"}, {"mnuhlp", "&Help"},
            {"mnua", "UserMenu"}, {"mnucon", "&Sign on"}, {"mnudis", "&Sign off"}, {"mnuNews", "New Account"},
            {"mnuGameStarter", "Game Starter"}, {"mnuExit", "Exit"}, {"mnuClearChat", "Clear chat"},
            {"mnuCommands", "Commands"}, {"mnuopi", "Commands"}, {"mnuAbo", "&About"}, {"mnucolors", "Custom Scheme"},
            {"mnuEd", "My Personal Profile"}, {"mnuDEC", "Refuse File Transfers"}, {"mnuIPM", "Ignore Private Msg's"},
            {"mnuSoundEffects", "Sound/Effects"}, {"mnuNotify", "Notify minamized(Audio)"},
            {"mnuVI", "View Ignored List"}, {"mnucI", "Clear Ignored"}, {"mnuPM", "Message"},
            {"mnuIS", "User Details"}, {"mnuFollowUser", "Follow Gamer"}, {"mnuLastLoggedOn", "Last Logged On"},
            {"mnuIG", "Ignore User"}, {"mnuUn", "Un-Ignore"}, {"mnuKick", "Kick"}, {"mnuBan", "Ban"},
            {"mnuMBAN", "Subnet Ban"}, {"mnuMuzzle", "Suspend"}, {"mnuVIP", "View Ip"}, {"mnuOPC", "God Mode"},
            {"mnuCSB", "Clear SubNet Bans"}, {"mnuCPB", "Clear Permanent Bans"}, {"mnuCRB", "Clear 60 Min Bans"}};
        TestServices t;
        Form1 w(t.services());
        for (const auto& [name, caption] : table) {
            const auto* action = w.findChild<QAction*>(QString::fromLatin1(name));
            QVERIFY2(action, name);
            QCOMPARE(action->text(), QString::fromLatin1(caption));
        }
    }
};

QTEST_MAIN(Form1Test)
#include "tst_form1.moc"
