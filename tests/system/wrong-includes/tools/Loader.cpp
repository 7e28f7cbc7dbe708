#include <dlfcn.h>

#include "dib/Private.h"
