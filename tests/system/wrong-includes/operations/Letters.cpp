#include <freetype/freetype.h>
