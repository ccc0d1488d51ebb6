#pragma once

#include "ancillary/ColourScheme.h"

#include <QWidget>

#include <array>

class Prompts;
class QPushButton;

// "Custom Scheme": one button per colour role; each opens the colour dialog and the main window
// takes the colour at once.
class Form6 : public QWidget {
    Q_OBJECT
public:
    Form6(Prompts& prompts, ColourSchemeTarget& target, QWidget* parent = nullptr);

    // Captioned with the role's name, in the order of ColourScheme::roles().
    std::array<QPushButton*, ColourScheme::RoleCount> cmdColor;
    QPushButton* cmdDefaults;
    QPushButton* cmdClose;

    void cmdColor_Click(ColourRole role);
    void cmdDefaults_Click();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showSwatches();

    Prompts& m_prompts;
    ColourSchemeTarget& m_target;
};
