#pragma once

#include "common/Services.h"

#include <QDialog>

class QLabel;
class QPushButton;

// "About Quorvel": the picture, the version, what the program is, and the system information button.
class AboutBox : public QDialog {
    Q_OBJECT
public:
    AboutBox(Services services, QWidget* parent = nullptr);

    QLabel* lblVersion;
    QPushButton* cmdOK;
    QPushButton* cmdSysInfo;

    // Windows has its own system information tool; elsewhere we list what Qt can tell.
    void cmdSysInfo_Click();

private:
    Services m_services;
};
