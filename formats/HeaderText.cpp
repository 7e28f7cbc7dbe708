#include "formats/HeaderText.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "dib/Numbers.h"

namespace formats {

namespace {
constexpr std::int64_t kMostLines = 1 << 20;
}

bool HeaderLines::next() {
    if ((linesRead_ != kMostLines || source_.hasKnownEnd()) && source_.line(line_, sizeof line_)) {
        ++linesRead_;
        return true;
    }
    line_[0] = '\0';
    return false;
}

bool readNumber(const char*& at, int& number) {
    char* end = nullptr;
    const long value = std::strtol(at, &end, 10);
    if (end == at) return false;
    number = dib::asInt(std::clamp(value, long{INT_MIN}, long{INT_MAX}));
    at = end;
    return true;
}

}  // namespace formats
