#include "ancillary/ColourScheme.h"

namespace ColourScheme {

namespace {
constexpr qint64 White = 0xFFFFFF;
constexpr qint64 Black = 0;
constexpr qint64 Orange = 0x80FF; // blue-green-red
constexpr qint64 ButtonFace = 0xF0F0F0;
} // namespace

const std::array<RoleInfo, RoleCount>& roles() {
    static const std::array<RoleInfo, RoleCount> table{{
        {ColourRole::MainBackground, "Main BackGround", White},
        {ColourRole::MainText, "Main Text Color", Black},
        {ColourRole::Emotion, "Emotion Color", Orange},
        {ColourRole::NickBackground, "Nick BackGround", White},
        {ColourRole::NickText, "Nick Text Color", Black},
        {ColourRole::InputBackground, "Input BackGround", White},
        {ColourRole::InputText, "Input Text Color", Black},
        {ColourRole::BoxBackground, "Box BackGround", White},
        {ColourRole::BoxText, "Box Text Color", Black},
        {ColourRole::WindowBackground, "Window BackGround", ButtonFace},
    }};
    return table;
}

const RoleInfo& info(ColourRole role) {
    return roles()[std::size_t(role)];
}

} // namespace ColourScheme
