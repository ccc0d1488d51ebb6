#pragma once

#include <QWidget>

#include <array>

class QLabel;

// "User Info": shows a member's answer to "/WHOAMI".
class Form2 : public QWidget {
    Q_OBJECT
public:
    explicit Form2(QWidget* parent = nullptr);

    QLabel* lblUser; // whose details these are
    std::array<QLabel*, 4> Label; // top to bottom

    // The answer's entries land on the labels in the order 1st, 2nd, 4th, 3rd, as they always have;
    // missing entries leave a label empty.
    void showIdentification(const QString& nickname, const QStringList& entries);
};
