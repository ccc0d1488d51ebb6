#include "servers/GameCatalogue.h"

#include <QStringList>

#include <array>

namespace GameCatalogue {

namespace {

const std::array<Game, 3>& games() {
    static const std::array<Game, 3> all{{
        {HalfLife, QStringLiteral("\\hl.exe"), QStringLiteral("hl.exe"),
         QStringLiteral("\\halflife-path.qvl")},
        {Kingpin, KingpinExe, KingpinFileName, QStringLiteral("\\kingpin-path.qvl")},
        {Rtcw, QStringLiteral("\\wolfmp.exe"), QStringLiteral("WolfMP.exe"),
         QStringLiteral("\\rtcw-path.qvl")},
    }};
    return all;
}

// Favourites file and master-list name of each Half-Life mod, in option order.
struct ModFiles {
    QString favourites;
    QString caption;
    QString listName;
};
const std::array<ModFiles, ModCount>& mods() {
    static const std::array<ModFiles, ModCount> all{{
        {QStringLiteral("\\teamfortress-serverlist.qvl"), QStringLiteral("Half-Life / Team Fortress"),
         QStringLiteral("teamfortress")},
        {QStringLiteral("\\counterstrike-serverlist.qvl"), QStringLiteral("Half-Life / Counter Strike"),
         QStringLiteral("counterstrike")},
        {QStringLiteral("\\dod-serverlist.qvl"), QStringLiteral("Half-Life / Day Of Defeat"),
         QStringLiteral("dod")},
        {QStringLiteral("\\half-life-serverlist.qvl"), QStringLiteral("Half-Life / Standard"),
         QStringLiteral("half-life")},
    }};
    return all;
}

MasterList named(const QString& captionTail, const QString& listName) {
    const QString file = QStringLiteral("qvllist-") + listName + QStringLiteral(".qvl");
    return {QStringLiteral("Master Servers : ") + captionTail, QStringLiteral("/quorvel/") + file,
            QStringLiteral("\\") + file};
}

} // namespace

QStringList keys() {
    return {Home, HalfLife, Kingpin, Rtcw};
}

const Game* game(const QString& key) {
    for (const Game& g : games()) {
        if (g.key == key)
            return &g;
    }
    return nullptr;
}

QString favouritesFile(const QString& key, std::optional<Mod> mod) {
    if (key == Kingpin)
        return QStringLiteral("\\kingpin-serverlist.qvl");
    if (key == Rtcw)
        return QStringLiteral("\\rtcw-serverlist.qvl");
    if (key == HalfLife && mod)
        return mods()[std::size_t(*mod)].favourites;
    return {};
}

std::optional<MasterList> masterList(const QString& key, std::optional<Mod> mod) {
    if (key == Kingpin)
        return named(QStringLiteral("Kingpin"), QStringLiteral("kingpin"));
    if (key == Rtcw)
        return named(QStringLiteral("Castle Wolfenstein"), QStringLiteral("rtcw"));
    if (key == HalfLife && mod) {
        const ModFiles& m = mods()[std::size_t(*mod)];
        return named(m.caption, m.listName);
    }
    return std::nullopt;
}

} // namespace GameCatalogue
