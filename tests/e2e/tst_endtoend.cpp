// Real clients against the companion server, in one process, over 127.0.0.1: what the scenario
// suite (tst_scenarios) leaves out.
#include "FakeServices.h"
#include "TestServer.h"

#include "app/Form1.h"
#include "chat/Form7.h"
#include "chat/Form8.h"
#include "privatechat/Form3.h"

#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTextEdit>
#include <QtTest>

#include <memory>
#include <vector>

namespace {
struct Member {
    TestServices t;
    Form1 w;
    explicit Member(quint16 port)
        : w(t.services()) {
        w.Form_Load();
        w.setServerAddress(QStringLiteral("127.0.0.1"), port);
    }
    void signOn(const QString& name, const QString& password) {
        w.mnucon->trigger();
        auto* dialog = w.findChild<Form7*>();
        dialog->fields.text1[ProfileFields::AccountName]->setText(name);
        dialog->fields.text1[ProfileFields::Password]->setText(password);
        dialog->Command1->click();
    }
    bool requestAccount(const QString& name, const QString& password) {
        w.mnuNews->trigger();
        if (!QTest::qWaitFor([this] { return w.findChild<Form8*>() != nullptr; }, 5000))
            return false;
        auto* dialog = w.findChild<Form8*>();
        dialog->fields.text1[ProfileFields::AccountName]->setText(name);
        dialog->fields.text1[ProfileFields::Password]->setText(password);
        dialog->Command1->click();
        return true;
    }
    QStringList users() const {
        QStringList out;
        for (int i = 0; i < w.LV1->count(); ++i)
            out.append(w.LV1->item(i)->text());
        return out;
    }
};
} // namespace

class EndToEndTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void newAccountThenSignOn();
    void burstsOfReadEndingMessagesAllArrive();
};

void EndToEndTest::newAccountThenSignOn() {
    TestServer server;
    Member ann(server.port()), copycat(server.port());
    QVERIFY(ann.requestAccount(QStringLiteral("ann"), QStringLiteral("2468")));
    const QString created = QStringLiteral("Thank you, account created ok.");
    QTRY_COMPARE(ann.t.prompts.texts(), QStringList{created});
    // The same name again is refused.
    QVERIFY(copycat.requestAccount(QStringLiteral("ann"), QStringLiteral("1")));
    QTRY_COMPARE(copycat.t.prompts.shown.size(), 1);
    QVERIFY(copycat.t.prompts.last().text.startsWith(QStringLiteral("Unable To Create New Account...")));

    // A wrong password is refused; the right one signs on.
    ann.signOn(QStringLiteral("ann"), QStringLiteral("9999"));
    QTRY_COMPARE(ann.t.prompts.texts(),
                 (QStringList{created, QStringLiteral("Login Error : Please Try Again")}));
    QTRY_COMPARE(ann.w.statusText(), QStringLiteral("Signed Off"));
    QCOMPARE(ann.w.connectionText(), QStringLiteral("Not Connected"));
    ann.signOn(QStringLiteral("ann"), QStringLiteral("2468"));
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    QCOMPARE(ann.w.statusText(), QStringLiteral("Signed On"));
}

void EndToEndTest::burstsOfReadEndingMessagesAllArrive() {
    // Each departure and each private line ends the client's read; none may be lost behind another.
    TestServer server;
    server.addAccount(QStringLiteral("ann"), QStringLiteral("1111"));
    Member ann(server.port());
    ann.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    QTRY_COMPARE(ann.users(), QStringList{QStringLiteral("ann")});
    std::vector<std::unique_ptr<ServerTestClient>> six;
    for (int i = 1; i <= 6; ++i) {
        six.push_back(server.signOnNew(QStringLiteral("m%1").arg(i)));
        QVERIFY(six.back());
    }
    QTRY_COMPARE(ann.users().size(), 7);
    for (auto& member : six)
        member->socket().abort();
    QTRY_COMPARE_WITH_TIMEOUT(ann.users(), QStringList{QStringLiteral("ann")}, 10000);
    QCOMPARE(ann.w.rtb->toPlainText().count(QStringLiteral(" Has left...")), 6);

    auto bob = server.signOnNew(QStringLiteral("bob"));
    QVERIFY(bob);
    for (int i = 1; i <= 10; ++i)
        bob->sendSegment(QStringLiteral("PMSG|\u00BF|ann|\u00BF|line %1").arg(i));
    QTRY_VERIFY(ann.w.privateWindow(1));
    QTRY_COMPARE_WITH_TIMEOUT(ann.w.privateWindow(1)->rtb->toPlainText().count(QStringLiteral("<bob> line ")),
                              10, 10000);

    // A second session of ann's account: the name it first answers is taken, so the demand comes
    // twice, and the room's burst that follows arrives whole.
    Member second(server.port());
    second.t.prompts.inputs = {QStringLiteral("ann"), QStringLiteral("ann@2")};
    second.signOn(QStringLiteral("ann"), QStringLiteral("1111"));
    QTRY_VERIFY(second.users().contains(QStringLiteral("ann@2")));
    QCOMPARE(second.t.prompts.texts().count(QStringLiteral("Please Select a New Nick...")), 2);
    for (int i = 1; i <= 10; ++i)
        bob->sendSegment(QStringLiteral("MSG|\u00BF|burst %1\r\n").arg(i));
    QTRY_COMPARE_WITH_TIMEOUT(second.w.rtb->toPlainText().count(QStringLiteral("<bob> burst ")), 10, 10000);
}

QTEST_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
