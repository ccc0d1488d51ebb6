#include "chat/ChatLine.h"

QString ChatLine::senderName() const {
    QString name = bracketedSender();
    name.remove(u'<');
    name.remove(u'>');
    return name;
}

QString ChatLine::actionText() const {
    QString text = QStringLiteral(" * ") + senderName();
    for (qsizetype i = 2; i < words.size(); ++i)
        text += QLatin1Char(' ') + words.at(i);
    return text;
}
