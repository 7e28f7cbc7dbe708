// What a build without FreeType says.
#include "operations/Refusal.h"
#include "operations/fonts/Font.h"

namespace operations {

std::unique_ptr<Font> openFont(const std::string&) {
    throw Refusal{DIB_ERROR_UNSUPPORTED,
                  "font: this build has no FreeType, so it writes in the built-in letters only"};
}

}  // namespace operations
