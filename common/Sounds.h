#pragma once

#include <QString>

class Sounds {
public:
    virtual ~Sounds() = default;
    // Plays a wave file in the background; a missing file or audio device is silently ignored.
    virtual void play(const QString& waveFile) = 0;
};
