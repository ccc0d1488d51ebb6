#pragma once

#include <QString>

#include <optional>

// The games the browser serves, and every name and file that belongs to each of them.
// File names carry their leading backslash: they are appended to the program folder's path.
namespace GameCatalogue {

inline const QString Home = QStringLiteral("*Home");
inline const QString HalfLife = QStringLiteral("Half-Life");
inline const QString Kingpin = QStringLiteral("Kingpin");
inline const QString Rtcw = QStringLiteral("RTCW");

// The Half-Life mods, in the order of their option buttons Option1 to Option4.
enum class Mod { TeamFortress, CounterStrike, DayOfDefeat, Standard };
constexpr int ModCount = 4;

struct Game {
    QString key;
    QString exeSuffix;        // put in txtGameEXE
    QString proposedFileName; // proposed by the browse dialog
    QString pathFile;
};

struct MasterList {
    QString caption; // of lblMasterServers
    QString urlPath;
    QString localFile;
};

// Home first: the order of the game selector.
QStringList keys();
// Null for "*Home" and any text that is not a game key; keys are compared exactly.
const Game* game(const QString& key);

inline const QString KingpinExe = QStringLiteral("\\kingpin.exe");
inline const QString MmClientExe = QStringLiteral("\\mmclient.exe");
inline const QString KingpinFileName = QStringLiteral("KINGPIN.EXE");
inline const QString MmClientFileName = QStringLiteral("MMCLIENT.EXE");

// The favourites file of a game; Half-Life needs its mod. Empty when there is none.
QString favouritesFile(const QString& key, std::optional<Mod> mod);
// The master list of a game; Half-Life needs its mod.
std::optional<MasterList> masterList(const QString& key, std::optional<Mod> mod);

inline const QString MasterCaptionNone = QStringLiteral("Master Servers :");

// Where the master lists come from: "host" or "host:port", kept under this key of the "Options"
// section of Settings.ini. By default the companion server on this machine.
inline const QString MasterListHostKey = QStringLiteral("MasterListHost");
inline const QString DefaultMasterListHost = QStringLiteral("127.0.0.1:27801");

// The two community pages of the Kingpin menu.
inline const QString KingpinInfoPage = QStringLiteral("https://www.kingpin.info/");
inline const QString KingpinCheatPage = QStringLiteral("https://www.kingpin.info/");

} // namespace GameCatalogue
