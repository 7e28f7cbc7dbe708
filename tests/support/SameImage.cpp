#include <cstring>

#include "tests/support/TestImages.h"

namespace testing_support {

::testing::AssertionResult sameImage(const DibStream& a, const DibStream& b) {
    const auto headerA = headerBytes(a);
    const auto headerB = headerBytes(b);
    if (headerA != headerB) {
        std::size_t at = 0;
        while (at < headerA.size() && at < headerB.size() && headerA[at] == headerB[at]) ++at;
        return ::testing::AssertionFailure() << "header blocks of " << headerA.size() << " and "
                                             << headerB.size() << " bytes differ at byte " << at;
    }
    const auto pixelsA = pixelBytes(a);
    const auto pixelsB = pixelBytes(b);
    if (pixelsA == pixelsB) return ::testing::AssertionSuccess();
    std::size_t at = 0;
    while (at < pixelsA.size() && at < pixelsB.size() && pixelsA[at] == pixelsB[at]) ++at;
    if (at == pixelsA.size() || at == pixelsB.size()) {
        return ::testing::AssertionFailure()
               << "pixel blocks of " << pixelsA.size() << " and " << pixelsB.size() << " bytes";
    }
    const std::size_t pitch = a.GetPitch();
    return ::testing::AssertionFailure()
           << "buffer row " << at / pitch << " byte " << at % pitch << ": " << int{pixelsA[at]} << " against "
           << int{pixelsB[at]} << " (" << a.Header->biWidth << " x " << a.Header->biHeight << " x "
           << a.Header->biBitCount << ")";
}

}  // namespace testing_support
