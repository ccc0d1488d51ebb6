#pragma once

// Hands the heap pages that are free back to the system. The C library keeps what the program frees
// for its next allocations; start-up frees a good deal it will not need again soon (the window icon
// at every size for the window system, the start-up picture, font and style set-up), and those pages
// would otherwise stay counted against the program for as long as it runs.
void returnFreedMemory();
