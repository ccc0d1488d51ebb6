#pragma once

#include <QLockFile>
#include <QString>

#include <memory>

// Refuses a second running copy of the program that uses the same program folder. The lock lives
// in the user's runtime folder, keyed by the program folder, so copies in different folders (and tests
// running side by side) never collide, and a crashed copy's stale lock is taken over.
class SingleInstance {
public:
    explicit SingleInstance(const QString& programFolder);
    // True when no other copy holds the lock; the lock is held until this object goes.
    bool acquire();

private:
    std::unique_ptr<QLockFile> m_lock;
};
