#pragma once

#include <QString>

namespace Version {
// "Quorvel : 1.0.0", from the project version CMake knows.
inline QString caption() {
    return QStringLiteral("Quorvel : %1.%2.%3")
        .arg(QUORVEL_VERSION_MAJOR)
        .arg(QUORVEL_VERSION_MINOR)
        .arg(QUORVEL_VERSION_PATCH);
}
} // namespace Version
