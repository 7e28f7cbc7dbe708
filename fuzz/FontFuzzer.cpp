// Any bytes as the file of a font, in which a few letters are written. The last byte chooses their size and
// place.
#include <DibOperation.h>

#include <cstring>
#include <string>

#include "fuzz/FuzzSupport.h"

namespace {

constexpr int kWidth = 40;
constexpr int kHeight = 30;
// A pair with kerning, accents, a letter of a higher plane, a byte that is no UTF-8, and two lines.
constexpr const char* kText = "AV i\xC3\xA4\xF0\x9D\x84\x9E\xFF\\\n.A";

bool isUntouched(const DibStream& image) {
    for (int i = 0; i < kWidth * kHeight * 4; ++i) {
        if (image.Buffer[i] != 0x80) return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const int choice = data[size - 1];
    constexpr int kSizes[] = {1, 7, 20, 300};
    constexpr const char* kPlaces[] = {"nw", "center", "se", "n"};
    fuzz::withPath(data, size, [&](const char* path) {
        DibStream image;
        fuzz::require(image.Create(kWidth, kHeight, 32), "a picture fits in memory");
        std::memset(image.Buffer, 0x80, kWidth * kHeight * 4);
        const std::string chain = std::string("text:") + kText +
                                  ",size=" + std::to_string(kSizes[choice & 3]) +
                                  ",place=" + kPlaces[choice >> 2 & 3] + ",box=#20406080,font=" + path;
        DibOperationResult result;
        const bool isDone = DibApply(&image, chain.c_str(), nullptr, &result);
        fuzz::require(isDone == (result.code == DIB_OK), "a failure has a code");
        fuzz::require(isDone == (result.reason[0] == '\0'), "a failure has a reason");
        fuzz::require(isDone || isUntouched(image), "a failure changes nothing");
        fuzz::checkImage(image);
    });
    return 0;
}
