// The one function of the dynamic loader that is used, for checks of syntax.
#ifndef TESTS_FAKES_MACH_O_DYLD_H
#define TESTS_FAKES_MACH_O_DYLD_H

#include <stdint.h>

extern "C" int _NSGetExecutablePath(char* path, uint32_t* size);

#endif
