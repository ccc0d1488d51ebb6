#pragma once

#include <QString>
#include <QStringList>

// What of a member's text the server passes on to others.
namespace RelayedText {

// Drops every control character but TAB: the C0 controls (a CR would start a forged line on
// the receiving screen), DEL and the C1 controls that Windows-1252's unused bytes decode to.
QString withoutControls(QString text);
QStringList withoutControls(QStringList fields);

} // namespace RelayedText
