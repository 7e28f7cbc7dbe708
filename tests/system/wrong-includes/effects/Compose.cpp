#include <DibStream.h>

#include "formats/Formats.h"
