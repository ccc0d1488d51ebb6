#pragma once

class Random {
public:
    virtual ~Random() = default;
    // A number in [low, high].
    virtual int between(int low, int high) = 0;
};
