#include "formats/Codec.h"
