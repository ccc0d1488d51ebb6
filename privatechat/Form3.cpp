#include "privatechat/Form3.h"

#include <QLineEdit>
#include <QTextCursor>
#include <QTextEdit>
#include <QVBoxLayout>

Form3::Form3(QWidget* parent) : QWidget(parent, Qt::Window), rtb(new QTextEdit(this)), Text1(new QLineEdit(this)) {
    setObjectName(QStringLiteral("Form3"));
    setWindowTitle(QStringLiteral("Messaging With :"));
    rtb->setObjectName(QStringLiteral("rtb"));
    rtb->setReadOnly(true);
    rtb->setAccessibleName(QStringLiteral("Conversation"));
    rtb->setFont(QFont(QStringLiteral("Verdana")));
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setAccessibleName(QStringLiteral("Message"));
    Text1->setFont(QFont(QStringLiteral("Verdana")));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(rtb);
    layout->addWidget(Text1);
    resize(420, 300);
}

QString Form3::peer() const {
    const QString last = windowTitle().split(u' ').last();
    return last.size() >= 2 ? last.mid(1, last.size() - 2) : QString();
}

void Form3::appendIncoming(const QString& line) {
    QTextCursor cursor(rtb->document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(QStringLiteral("\n") + line);
    rtb->setTextCursor(cursor);
}
