#pragma once

#include "common/Clock.h"
#include "common/Desktop.h"
#include "common/ProgramFolder.h"
#include "common/Prompts.h"
#include "common/Random.h"
#include "common/Sounds.h"

// What a window needs from the outside world, handed to it through its constructor.
struct Services {
    Prompts& prompts;
    Desktop& desktop;
    Sounds& sounds;
    Clock& clock;
    Random& random;
    ProgramFolder folder;
};
