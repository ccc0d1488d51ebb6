#pragma once

#include <QString>
#include <QtGlobal>

#include <array>

// The ten colours of the main window that the colour scheme editor sets. Seven of them are kept in
// lines 4 to 11 of "\Quorvel.ini"; the other three last for the session, as the action colour of
// "/me" lines always has (it is set to orange at every start).
enum class ColourRole {
    MainBackground,
    MainText,
    Emotion,
    NickBackground,
    NickText,
    InputBackground,
    InputText,
    BoxBackground,
    BoxText,
    WindowBackground,
};

namespace ColourScheme {

inline constexpr int RoleCount = 10;

struct RoleInfo {
    ColourRole role;
    const char* caption; // as the editor shows it
    qint64 defaultBgr;   // blue-green-red
};

// In the order the editor lists them.
const std::array<RoleInfo, RoleCount>& roles();
const RoleInfo& info(ColourRole role);

} // namespace ColourScheme

// What the editor changes: the main window implements it, the editor never sees the window.
class ColourSchemeTarget {
public:
    virtual ~ColourSchemeTarget() = default;
    virtual qint64 colour(ColourRole role) const = 0;
    virtual void setColour(ColourRole role, qint64 bgr) = 0;
};
