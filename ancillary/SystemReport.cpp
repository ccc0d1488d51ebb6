#include "ancillary/SystemReport.h"

#include <QGuiApplication>
#include <QNetworkInterface>
#include <QScreen>
#include <QSysInfo>

namespace {

QString screenLine(const QScreen& s) {
    const QRect g = s.geometry();
    return QStringLiteral("  %1: %2 x %3 at %4,%5, %6 dpi, scale %7, %8-bit colour")
        .arg(s.name())
        .arg(g.width())
        .arg(g.height())
        .arg(g.x())
        .arg(g.y())
        .arg(qRound(s.logicalDotsPerInch()))
        .arg(s.devicePixelRatio())
        .arg(s.depth());
}

QString interfaceLine(const QNetworkInterface& i) {
    QStringList addresses;
    for (const QNetworkAddressEntry& e : i.addressEntries())
        addresses.append(e.ip().toString() + u'/' + QString::number(e.prefixLength()));
    const bool up = i.flags().testFlag(QNetworkInterface::IsUp);
    QString line = QStringLiteral("  %1: %2").arg(i.humanReadableName(), up ? u"up"_qs : u"down"_qs);
    if (!i.hardwareAddress().isEmpty())
        line += QStringLiteral(", hardware address ") + i.hardwareAddress();
    if (!addresses.isEmpty())
        line += QStringLiteral(", ") + addresses.join(QStringLiteral(", "));
    return line;
}

} // namespace

QStringList systemReport(const QString& programFolder) {
    QStringList lines{QStringLiteral("Operating system: %1 (%2 %3, %4)")
                          .arg(QSysInfo::prettyProductName(), QSysInfo::kernelType(),
                               QSysInfo::kernelVersion(), QSysInfo::currentCpuArchitecture()),
                      QStringLiteral("Qt: %1 (built with %2), platform %3")
                          .arg(QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR),
                               QGuiApplication::platformName()),
                      QStringLiteral("Program folder: ") + programFolder, QStringLiteral("Screens:")};
    for (const QScreen* s : QGuiApplication::screens())
        lines.append(screenLine(*s));
    lines.append(QStringLiteral("Network interfaces:"));
    for (const QNetworkInterface& i : QNetworkInterface::allInterfaces())
        lines.append(interfaceLine(i));
    return lines;
}
