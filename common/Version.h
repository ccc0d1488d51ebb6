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

// "Version 1.0.0", as the splash window and the about box show it.
inline QString label() {
    return QStringLiteral("Version %1.%2.%3")
        .arg(QUORVEL_VERSION_MAJOR)
        .arg(QUORVEL_VERSION_MINOR)
        .arg(QUORVEL_VERSION_PATCH);
}

// The product's web page (the project's HOMEPAGE_URL in CMake).
inline QString webPage() {
    return QStringLiteral(QUORVEL_HOMEPAGE_URL);
}
} // namespace Version
