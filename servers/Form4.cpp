#include "servers/Form4.h"

#include "common/AccessibleWindows.h"

#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

Form4::Form4(QWidget* parent)
    : QWidget(parent, Qt::Window), Command1(new QPushButton(QStringLiteral("Resume Quorvel"), this)) {
    setObjectName(QStringLiteral("Form4"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Resume Quorvel"));
    setAttribute(Qt::WA_DeleteOnClose);
    Command1->setObjectName(QStringLiteral("Command1"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Command1);
    connect(Command1, &QPushButton::clicked, this, &Form4::Command1_Click);
}

void Form4::Command1_Click() {
    Q_EMIT resumed();
    close();
}
