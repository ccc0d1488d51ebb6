#include "servers/Form4.h"

#include "browser/GameStarter.h"

#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

Form4::Form4(GameStarter& browser, QWidget* parent)
    : QWidget(parent, Qt::Window), Command1(new QPushButton(QStringLiteral("Resume Quorvel"), this)), m_browser(browser) {
    setObjectName(QStringLiteral("Form4"));
    setWindowTitle(QStringLiteral("Playing"));
    Command1->setObjectName(QStringLiteral("Command1"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Command1);
    connect(Command1, &QPushButton::clicked, this, &Form4::Command1_Click);
}

void Form4::showEvent(QShowEvent* event) {
    m_browser.txtPlayingGame->setText(GameStarter::Playing);
    QWidget::showEvent(event);
}

void Form4::Command1_Click() {
    m_browser.txtPlayingGame->setText(GameStarter::NotPlaying);
    Q_EMIT resumed();
    close();
}
