#include "ancillary/Form6.h"

#include "common/AccessibleWindows.h"
#include "common/BgrColour.h"
#include "common/Prompts.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QVBoxLayout>

Form6::Form6(Prompts& prompts, ColourSchemeTarget& target, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , cmdDefaults(new QPushButton(QStringLiteral("Restore Defaults"), this))
    , cmdClose(new QPushButton(QStringLiteral("Close"), this))
    , m_prompts(prompts)
    , m_target(target) {
    setObjectName(QStringLiteral("Form6"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("Custom Scheme"));
    auto* grid = new QGridLayout;
    for (std::size_t i = 0; i < cmdColor.size(); ++i) {
        const ColourScheme::RoleInfo& r = ColourScheme::roles()[i];
        cmdColor[i] = new QPushButton(QString::fromLatin1(r.caption), this);
        cmdColor[i]->setObjectName(QStringLiteral("cmdColor%1").arg(i + 1));
        cmdColor[i]->setIconSize(QSize(32, 16));
        connect(cmdColor[i], &QPushButton::clicked, this, [this, role = r.role] { cmdColor_Click(role); });
        grid->addWidget(cmdColor[i], int(i % 5), int(i / 5));
    }
    cmdDefaults->setObjectName(QStringLiteral("cmdDefaults"));
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    connect(cmdDefaults, &QPushButton::clicked, this, &Form6::cmdDefaults_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QWidget::close);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdDefaults);
    buttons->addStretch(1);
    buttons->addWidget(cmdClose);
    auto* column = new QVBoxLayout(this);
    column->addLayout(grid);
    column->addLayout(buttons);
    // The swatches are part of the buttons' size.
    showSwatches();
}

void Form6::cmdColor_Click(ColourRole role) {
    const std::optional<qint64> chosen =
        m_prompts.chooseColour(QString::fromLatin1(ColourScheme::info(role).caption), m_target.colour(role));
    if (!chosen)
        return;
    m_target.setColour(role, *chosen);
    showSwatches();
}

void Form6::cmdDefaults_Click() {
    for (const ColourScheme::RoleInfo& r : ColourScheme::roles())
        m_target.setColour(r.role, r.defaultBgr);
    showSwatches();
}

void Form6::showEvent(QShowEvent* event) {
    // The scheme may have changed since the editor was last open (a settings file read, a restart).
    showSwatches();
    QWidget::showEvent(event);
}

void Form6::showSwatches() {
    for (std::size_t i = 0; i < cmdColor.size(); ++i) {
        QPixmap swatch(cmdColor[i]->iconSize());
        swatch.fill(BgrColour::toColor(m_target.colour(ColourScheme::roles()[i].role)));
        // Outlined in the caption's colour, so that a swatch as light as the button still shows.
        QPainter outline(&swatch);
        outline.setPen(cmdColor[i]->palette().color(QPalette::ButtonText));
        outline.drawRect(swatch.rect().adjusted(0, 0, -1, -1));
        outline.end();
        cmdColor[i]->setIcon(swatch);
    }
}
