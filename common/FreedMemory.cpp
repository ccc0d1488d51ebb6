#include "common/FreedMemory.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

void returnFreedMemory() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}
