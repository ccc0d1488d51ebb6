#include "servers/GameQuery.h"

#include "servers/GameCatalogue.h"
#include "common/NumberText.h"
#include "servers/HalfLife.h"
#include "servers/QuakeII.h"
#include "servers/RTCW.h"

namespace GameQuery {

QByteArray requestDatagram(const QString& gameKey) {
    const QByteArray header(4, '\xff');
    if (gameKey == GameCatalogue::Kingpin)
        return header + QByteArrayLiteral("status");
    if (gameKey == GameCatalogue::HalfLife)
        return header + QByteArrayLiteral("info");
    if (gameKey == GameCatalogue::Rtcw)
        return header + QByteArrayLiteral("getstatus");
    return {};
}

Target checkTarget(const QString& address, const QString& portText) {
    if (address.isEmpty())
        return {Check::MissingAddress};
    if (portText.isEmpty())
        return {Check::MissingPort};
    if (!NumberText::isNumeric(portText))
        return {Check::PortNotNumeric};
    const std::optional<qint32> port = NumberText::toLong(portText);
    if (!port || *port < 1 || *port > 65535)
        return {Check::PortOutOfRange};
    return {Check::Ready, quint16(*port)};
}

ServerStatus parseReply(const QString& gameKey, const QString& reply) {
    if (gameKey == GameCatalogue::Kingpin)
        return QuakeII::ParseReply(reply);
    if (gameKey == GameCatalogue::HalfLife)
        return HalfLife::ParseReply(reply);
    if (gameKey == GameCatalogue::Rtcw)
        return RTCW::ParseReply(reply);
    return {};
}

} // namespace GameQuery
