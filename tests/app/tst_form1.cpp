#include "FakeServices.h"

#include "app/Form1.h"
#include "common/TextFile.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QSignalSpy>
#include <QTextEdit>
#include <QtTest>

class Form1Test : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void startsSignedOffWithVersionCaption();
    void secondCopyIsRefused();
    void missingSettingsFileSaysNothing();
    void settingsLoadIntoControls();
    void exitSavesAndEnds_data();
    void exitSavesAndEnds();
    void menuCaptions_data();
    void menuCaptions();
    void everyControlHasAnAccessibleName();
};

void Form1Test::startsSignedOffWithVersionCaption() {
    TestServices t;
    Form1 w(t.services());
    QVERIFY(w.Form_Load());
    QCOMPARE(w.windowTitle(), QStringLiteral("Quorvel : 1.0.0"));
    QCOMPARE(w.statusText(), QStringLiteral("Signed Off"));
    QCOMPARE(w.connectionText(), QStringLiteral("Not Connected"));
    QVERIFY(w.mnucon->isEnabled());
    QVERIFY(!w.mnudis->isEnabled());
    QVERIFY(!w.mnuKick->isEnabled() || !w.mnutools->isEnabled());
    QCOMPARE(w.actionColour, 0x80FF);
    QCOMPARE(w.messageColour, 0);
    QCOMPARE(w.serverHost(), QStringLiteral("localhost"));
    QCOMPARE(w.serverPort(), 27800);
}

void Form1Test::secondCopyIsRefused() {
    TestServices t;
    Form1 first(t.services());
    QVERIFY(first.Form_Load());
    Form1 second(t.services());
    QVERIFY(!second.Form_Load());
    QCOMPARE(t.prompts.shown.size(), 1);
    QCOMPARE(t.prompts.last().title, QStringLiteral("Quorvel"));
    QCOMPARE(t.prompts.last().text, QStringLiteral("Quorvel found in ram. Can't load another"));
    QCOMPARE(t.prompts.last().icon, Prompts::Icon::Critical);
    QVERIFY(!QFile::exists(t.file(QStringLiteral("\\Quorvel.ini"))));

    // A copy in another folder is another program.
    TestServices other;
    Form1 elsewhere(other.services());
    QVERIFY(elsewhere.Form_Load());
    QVERIFY(other.prompts.shown.isEmpty());
}

void Form1Test::missingSettingsFileSaysNothing() {
    TestServices t;
    Form1 w(t.services());
    QVERIFY(w.Form_Load());
    QVERIFY(t.prompts.shown.isEmpty());
    QCOMPARE(w.List2->count(), 0);
}

void Form1Test::settingsLoadIntoControls() {
    TestServices t;
    TextFile::writeLines(t.file(QStringLiteral("\\Quorvel.ini")),
                         {QStringLiteral("ann"), QStringLiteral("chat.example.org"), QStringLiteral("27900"),
                          QStringLiteral("255"), QStringLiteral("12"), QStringLiteral("65280"),
                          QStringLiteral("16711680"), QStringLiteral("0"), QStringLiteral("16777215"),
                          QStringLiteral("32768"), QStringLiteral("33023"), QStringLiteral("Age : 23"),
                          QStringLiteral("Email : a@b"), QStringLiteral("Website : http://x"),
                          QStringLiteral("Hobbys : kp"), QStringLiteral("fifth")});
    Form1 w(t.services());
    QVERIFY(w.Form_Load());
    QCOMPARE(w.Text3->text(), QStringLiteral("ann"));
    QCOMPARE(w.serverHost(), QStringLiteral("chat.example.org"));
    QCOMPARE(w.serverPort(), 27900);
    QCOMPARE(w.rtb->palette().color(QPalette::Base), QColor(255, 0, 0));
    QCOMPARE(w.rtb->palette().color(QPalette::Text), QColor(0, 255, 0));
    QCOMPARE(w.rtb->font().pointSize(), 12);
    QCOMPARE(w.LV1->palette().color(QPalette::Base), QColor(0, 0, 255));
    QCOMPARE(w.Combo1->palette().color(QPalette::Text), QColor(255, 128, 0));
    QCOMPARE(w.identificationEntries(),
             (QStringList{QStringLiteral("Age : 23"), QStringLiteral("Email : a@b"), QStringLiteral("Website : http://x"),
                          QStringLiteral("Hobbys : kp")}));
}

void Form1Test::exitSavesAndEnds_data() {
    QTest::addColumn<QString>("how");
    QTest::addColumn<bool>("saved");
    QTest::newRow("Exit menu") << QStringLiteral("menu") << true;
    QTest::newRow("close box") << QStringLiteral("close") << true;
    QTest::newRow("/exit") << QStringLiteral("/exit") << false;
}

void Form1Test::exitSavesAndEnds() {
    QFETCH(QString, how);
    QFETCH(bool, saved);
    TestServices t;
    Form1 w(t.services());
    QVERIFY(w.Form_Load());
    w.Text3->setText(QStringLiteral("bob"));
    w.List2->addItems({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d"),
                       QStringLiteral("e")});
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
    if (!saved) {
        QVERIFY(lines.isEmpty());
        return;
    }
    QCOMPARE(lines.size(), 16);
    QCOMPARE(lines.at(0), QStringLiteral("bob"));
    QCOMPARE(lines.at(1), QStringLiteral("localhost"));
    QCOMPARE(lines.at(2), QStringLiteral("27800"));
    QCOMPARE(lines.mid(11), (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"),
                                         QStringLiteral("d"), QStringLiteral("e")}));
    // The lock is released: the next start is not a second copy.
    Form1 next(t.services());
    QVERIFY(next.Form_Load());
    QCOMPARE(next.List2->count(), 4);
}

void Form1Test::menuCaptions_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("caption");
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
    for (const auto& row : table)
        QTest::newRow(row[0]) << QString::fromLatin1(row[0]) << QString::fromLatin1(row[1]);
}

void Form1Test::menuCaptions() {
    QFETCH(QString, name);
    QFETCH(QString, caption);
    TestServices t;
    Form1 w(t.services());
    QAction* found = nullptr;
    for (QAction* a : w.findChildren<QAction*>()) {
        if (a->objectName() == name)
            found = a;
    }
    QVERIFY2(found, qPrintable(name));
    QCOMPARE(found->text(), caption);
}

void Form1Test::everyControlHasAnAccessibleName() {
    TestServices t;
    Form1 w(t.services());
    for (QWidget* control : std::initializer_list<QWidget*>{w.rtb, w.LV1, w.Text1, w.Text3, w.cboServer, w.Combo1,
                                                             w.List1, w.List2})
        QVERIFY2(!control->accessibleName().isEmpty(), qPrintable(control->objectName()));
    for (const char* name : {"rtb", "LV1", "Text1", "Text3", "Combo1", "List1", "List2", "s", "Winsock1"})
        QVERIFY2(w.findChild<QObject*>(QString::fromLatin1(name)), name);
}

QTEST_MAIN(Form1Test)
#include "tst_form1.moc"
