#include "ancillary/Form2.h"

#include "common/AccessibleWindows.h"

#include <QLabel>
#include <QVBoxLayout>

Form2::Form2(QWidget* parent) : QWidget(parent, Qt::Window), lblUser(new QLabel(this)) {
    setObjectName(QStringLiteral("Form2"));
    AccessibleWindows::presentAsWindows();
    setWindowTitle(QStringLiteral("User Info"));
    lblUser->setObjectName(QStringLiteral("lblUser"));
    QFont bold = lblUser->font();
    bold.setBold(true);
    lblUser->setFont(bold);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblUser);
    for (std::size_t i = 0; i < Label.size(); ++i) {
        Label[i] = new QLabel(this);
        Label[i]->setObjectName(QStringLiteral("Label%1").arg(i + 1));
        Label[i]->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(Label[i]);
    }
    resize(320, 140);
}

void Form2::showIdentification(const QString& nickname, const QStringList& entries) {
    setWindowTitle(QStringLiteral("User Info - ") + nickname);
    lblUser->setText(QStringLiteral("Details of ") + nickname);
    static constexpr std::array<int, 4> entryForLabel = {0, 1, 3, 2};
    for (std::size_t i = 0; i < Label.size(); ++i)
        Label[i]->setText(entries.value(entryForLabel[i]));
}
