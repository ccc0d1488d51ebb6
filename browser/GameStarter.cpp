#include "browser/GameStarter.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

GameStarter::GameStarter(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , Combo1(new QComboBox(this))
    , Text3(new QLineEdit(this))
    , Text2(new QLineEdit(this))
    , Text4(new QLineEdit(this))
    , txtPlayingGame(new QLineEdit(NotPlaying, this)) {
    setObjectName(QStringLiteral("GameStarter"));
    setWindowTitle(QStringLiteral("Game Starter"));
    Combo1->setObjectName(QStringLiteral("Combo1"));
    Combo1->addItems({QStringLiteral("*Home"), QStringLiteral("Half-Life"), QStringLiteral("Kingpin"),
                      QStringLiteral("RTCW")});
    Combo1->setEditable(true);
    Text3->setObjectName(QStringLiteral("Text3"));
    Text2->setObjectName(QStringLiteral("Text2"));
    Text4->setObjectName(QStringLiteral("Text4"));
    txtPlayingGame->setObjectName(QStringLiteral("txtPlayingGame"));
    txtPlayingGame->setReadOnly(true);

    auto* form = new QFormLayout(this);
    form->addRow(QStringLiteral("Game :"), Combo1);
    form->addRow(QStringLiteral("Server name :"), Text3);
    form->addRow(QStringLiteral("Address :"), Text2);
    form->addRow(QStringLiteral("Port :"), Text4);
    form->addRow(QStringLiteral("State :"), txtPlayingGame);
    for (QWidget* field : {static_cast<QWidget*>(Combo1), static_cast<QWidget*>(Text3),
                           static_cast<QWidget*>(Text2), static_cast<QWidget*>(Text4),
                           static_cast<QWidget*>(txtPlayingGame)}) {
        if (auto* label = qobject_cast<QLabel*>(form->labelForField(field)))
            field->setAccessibleName(label->text().chopped(2));
    }
}

QString GameStarter::gameKey() const { return Combo1->currentText(); }

void GameStarter::setGameKey(const QString& key) { Combo1->setCurrentText(key); }

bool GameStarter::isPlaying() const { return txtPlayingGame->text() == Playing; }

void GameStarter::follow() { Q_EMIT joinRequested(); }
