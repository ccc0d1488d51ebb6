#include "ChatMember.h"
#include "TestFiles.h"

#include "chat/ChatDisplay.h"
#include "chat/EmoticonCodes.h"
#include "chat/Form7.h"
#include "chat/Form8.h"
#include "privatechat/Form3.h"

#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

ChatMember::ChatMember(quint16 port)
    : w(t.services()) {
    w.Form_Load();
    setPort(port);
}

void ChatMember::setPort(quint16 port) {
    w.setServerAddress(QStringLiteral("127.0.0.1"), port);
}

void ChatMember::signOn(const QString& name, const QString& password) {
    w.mnucon->trigger();
    // An earlier dialog may still wait for its deletion; the newest child is this one.
    auto* dialog = w.findChildren<Form7*>().last();
    dialog->fields.text1[ProfileFields::AccountName]->setText(name);
    dialog->fields.text1[ProfileFields::Password]->setText(password);
    dialog->Command1->click();
}

bool ChatMember::requestAccount(const QString& name, const QString& password) {
    const qsizetype before = w.findChildren<Form8*>().size();
    w.mnuNews->trigger();
    if (!QTest::qWaitFor([&] { return w.findChildren<Form8*>().size() > before; }, 5000))
        return false;
    auto* dialog = w.findChildren<Form8*>().last();
    dialog->fields.text1[ProfileFields::AccountName]->setText(name);
    dialog->fields.text1[ProfileFields::Password]->setText(password);
    dialog->Command1->click();
    return true;
}

void ChatMember::say(const QString& line) {
    w.Text1->setText(line);
    QTest::keyClick(w.Text1, Qt::Key_Return);
}

void ChatMember::onMember(const QString& name, QAction* item) {
    w.selectUser(name);
    item->trigger();
}

void ChatMember::type(Form3* window, const QString& line) {
    window->Text1->setText(line);
    QTest::keyClick(window->Text1, Qt::Key_Return);
}

QStringList ChatMember::users() const {
    QStringList out;
    for (int i = 0; i < w.LV1->count(); ++i)
        out.append(w.LV1->item(i)->text());
    return out;
}

QString ChatMember::lastLine() const {
    const ChatLines& lines = w.rtb->lines();
    if (lines.isEmpty())
        return {};
    const qsizetype last = lines.count() - 1;
    QString out = lines.text(last);
    if (!lines.isConverted(last))
        return out;
    const QList<EmoticonHit> pictures = findEmoticons(out);
    for (auto hit = pictures.crbegin(); hit != pictures.crend(); ++hit)
        out.replace(hit->position, EmoticonCodes::codeLength, QStringLiteral("[%1]").arg(hit->picture));
    return out;
}

QString ChatMember::installHalfLife() {
    const QString folder = t.dir.filePath(QStringLiteral("HL"));
    writeBytes(folder + QStringLiteral("/hl.exe"), {}, true);
    writeBytes(t.file(QStringLiteral("\\halflife-path.qvl")), folder.toLatin1() + "\r\n");
    return folder;
}
