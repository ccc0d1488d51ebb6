#include "server/AddressRules.h"

#include <QStringList>

namespace AddressRules {

QString text(const QHostAddress& address) {
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    if (isV4)
        return QHostAddress(v4).toString();
    return address.toString();
}

QString subnetOf(const QString& addressText) {
    const QHostAddress address(addressText);
    if (address.protocol() == QAbstractSocket::IPv4Protocol)
        return addressText.section(u'.', 0, 2);
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        QStringList groups;
        for (int i = 0; i < 8; i += 2)
            groups.append(QString::number((bytes[i] << 8) | bytes[i + 1], 16));
        return groups.join(u':');
    }
    return addressText;
}

} // namespace AddressRules
