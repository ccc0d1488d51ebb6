#include "common/FreedMemory.h"

#include <cstdlib> // tells which C library this is (__GLIBC__)

#if defined(__GLIBC__)
#include <malloc.h>
#endif

void returnFreedMemory() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}
