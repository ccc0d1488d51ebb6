#pragma once

#include <QString>
#include <QStringList>

// The display line of a MSG or PMSG: "<" + sender + "> " + text, read word by word on single blanks.
struct ChatLine {
    explicit ChatLine(const QString& displayLine) : words(displayLine.split(u' ')) {}

    QStringList words;

    // "<ann>": how the ignore list stores a member.
    QString bracketedSender() const { return words.value(0); }
    // "ann": the sender with every "<" and ">" removed, to address a reply.
    QString senderName() const;
    QString secondWord() const { return words.value(1); }
    // Every word from the third on, joined again with single blanks.
    QString fromThirdWord() const { return words.mid(2).join(u' '); }

    bool isAction() const { return secondWord().toLower() == u"/me"; }
    // " * ann waves hello"
    QString actionText() const;
};
