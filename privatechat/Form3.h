#pragma once

#include <QWidget>

class QLineEdit;
class QTextEdit;

// A private conversation with one member. Its caption, "Chat With <name>", is how it knows its peer.
class Form3 : public QWidget {
    Q_OBJECT
public:
    explicit Form3(QWidget* parent = nullptr);

    QTextEdit* rtb;
    QLineEdit* Text1;

    // The peer as the caption names it: the last blank-separated word without its first and last character.
    QString peer() const;
    // Appends a line the peer sent, on a new line of the conversation.
    void appendIncoming(const QString& line);
};
