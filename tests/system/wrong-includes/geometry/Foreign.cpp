#include <zlib.h>

#include <vector>
