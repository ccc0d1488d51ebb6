#include "privatechat/TransferText.h"

#include <QStringList>

#include <algorithm>
#include <limits>

namespace TransferText {

bool isCommand(QByteArrayView chunk, QByteArrayView word) {
    return chunk.startsWith(word) &&
           (chunk.size() == word.size() || chunk.sliced(word.size()).startsWith(FieldSeparator));
}

qint64 leadingNumber(const QString& text) {
    qint64 value = 0;
    qsizetype i = 0;
    while (i < text.size() && text.at(i).isSpace())
        ++i;
    for (; i < text.size() && text.at(i) >= u'0' && text.at(i) <= u'9'; ++i) {
        const int digit = text.at(i).unicode() - u'0';
        if (value > (std::numeric_limits<qint64>::max() - digit) / 10)
            return std::numeric_limits<qint64>::max();
        value = value * 10 + digit;
    }
    return value;
}

bool usablePort(const QString& answer) {
    const qint64 port = leadingNumber(answer);
    return port >= LowestPort && port <= HighestPort;
}

QString saveName(const QString& senderPath) {
    const qsizetype cut = std::max(senderPath.lastIndexOf(u'\\'), senderPath.lastIndexOf(u'/'));
    const QString name = senderPath.mid(cut + 1);
    if (name.isEmpty() || name == u"." || name == u".." || name.toUtf8().size() > 255)
        return {};
    for (const QChar c : name) {
        // Control characters, and the characters Windows keeps out of names; refused everywhere so
        // that a name saved on one system can be copied to any other.
        if (c.unicode() < 0x20 || QStringView(u"<>:\"|?*").contains(c))
            return {};
    }
    // Names Windows reserves for devices, with or without an extension.
    static const QStringList devices = {QStringLiteral("CON"), QStringLiteral("PRN"), QStringLiteral("AUX"),
                                        QStringLiteral("NUL")};
    const QString stem = name.section(u'.', 0, 0).toUpper().trimmed();
    if (devices.contains(stem) ||
        ((stem.startsWith(u"COM") || stem.startsWith(u"LPT")) && stem.size() == 4 && stem.at(3).isDigit()))
        return {};
    if (name.endsWith(u' ') || name.endsWith(u'.'))
        return {};
    return name;
}

} // namespace TransferText
