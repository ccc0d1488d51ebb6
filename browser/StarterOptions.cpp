#include "browser/StarterOptions.h"

#include "common/AccessibleWindows.h"

#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

StarterOptions::StarterOptions(QWidget* parent)
    : QWidget(parent, Qt::Window)
    , Text1(new QLineEdit(this))
    , Combo2(new QComboBox(this))
    , cmdGetPath0(new QPushButton(QStringLiteral("Browse"), this)) {
    setObjectName(QStringLiteral("StarterOptions"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Game Starter Options"));

    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setToolTip(QStringLiteral("Path to actual game file on your hard drive."));
    Text1->setAccessibleName(QStringLiteral("Game Path"));
    cmdGetPath0->setObjectName(QStringLiteral("cmdGetPath0"));
    cmdGetPath0->setToolTip(QStringLiteral("Only use this when browsing for game file"));
    Combo2->setObjectName(QStringLiteral("Combo2"));
    Combo2->setToolTip(QStringLiteral("Select a master server list"));
    Combo2->setAccessibleName(QStringLiteral("Master Servers"));
    Combo2->addItem(QuorvelMasterList);

    auto* pathFrame = new QGroupBox(QStringLiteral("Game Path :"), this);
    auto* pathRow = new QHBoxLayout(pathFrame);
    pathRow->addWidget(Text1, 1);
    pathRow->addWidget(cmdGetPath0);
    auto* masterFrame = new QGroupBox(QStringLiteral("Master Servers"), this);
    auto* masterRow = new QHBoxLayout(masterFrame);
    masterRow->addWidget(Combo2, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(pathFrame);
    layout->addWidget(masterFrame);
    resize(420, sizeHint().height());
}
