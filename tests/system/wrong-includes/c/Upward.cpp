#include <jpeglib.h>

#include "formats/Formats.h"
