#include <string_view>

#include "c/include/dibstream.h"

#define DIB_C_TEXT_OF(number) #number
#define DIB_C_DOTTED(major, minor, patch) \
    DIB_C_TEXT_OF(major) "." DIB_C_TEXT_OF(minor) "." DIB_C_TEXT_OF(patch)

static constexpr std::string_view kText =
    DIB_C_DOTTED(DIB_C_VERSION_MAJOR, DIB_C_VERSION_MINOR, DIB_C_VERSION_PATCH);
// CMakeLists.txt has the version too, from which the files are named.
static_assert(kText == DIB_PROJECT_VERSION);

int dib_version(void) { return DIB_C_VERSION; }

const char* dib_version_text(void) { return kText.data(); }
