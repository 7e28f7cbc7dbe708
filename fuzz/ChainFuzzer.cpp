// Any text as a chain: it is parsed, and what is quick is applied. The last byte chooses the picture and the
// options, so that plain texts are seeds.
#include <DibOperation.h>

#include <cctype>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/FuzzSupport.h"

namespace {

void checkResult(bool isDone, const DibOperationResult& result) {
    fuzz::require(isDone == (result.code == DIB_OK), "a failure has a code");
    fuzz::require(isDone == (result.reason[0] == '\0'), "a failure has a reason");
    fuzz::require(std::memchr(result.reason, 0, sizeof result.reason) != nullptr, "reasons end");
}

// The time grows with most numbers, and pictures with percentages.
bool isQuick(std::string_view value) {
    std::size_t digits = 0;
    const std::size_t mostDigits =
        value.find('%') != std::string_view::npos || value.find('e') != std::string_view::npos ? 1 : 2;
    for (const char c : value) {
        digits = std::isdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        if (digits > mostDigits) return false;
    }
    return true;
}

bool isQuick(const DibChain& chain) {
    if (chain.stepCount > 6) return false;
    for (int i = 0; i < chain.stepCount; ++i) {
        const DibStep& step = chain.steps[i];
        for (int k = 0; step.operation->parameters[k] != nullptr; ++k) {
            const bool isNumber = step.operation->parameters[k]->choices == nullptr;
            if (isNumber && step.operation->parameters[k]->kind != DIB_PARAMETER_COLOR &&
                !isQuick(step.values[k]))
                return false;
        }
    }
    return true;
}

bool openSecond(void*, const char*, DibStream* image, DibFileResult* result, DibProgressCallback, void*) {
    if (image->Create(5, 4, 24)) return true;
    result->code = DIB_ERROR_MEMORY;
    return false;
}

struct Progress {
    float last = 0;
    int callsLeft;

    static bool report(float fraction, void* user) {
        auto& progress = *static_cast<Progress*>(user);
        fuzz::require(fraction >= progress.last && fraction <= 1, "progress never goes back");
        progress.last = fraction;
        return --progress.callsLeft != 0;
    }
};

std::vector<unsigned char> bytesOf(const DibStream& image) {
    const auto pixels = static_cast<std::size_t>(image.GetImageSize());
    std::vector<unsigned char> bytes(sizeof *image.Header + pixels);
    std::memcpy(bytes.data(), image.Header, sizeof *image.Header);
    std::memcpy(bytes.data() + sizeof *image.Header, image.Buffer, pixels);
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::uint8_t choice = data[size - 1];
    const std::string text(reinterpret_cast<const char*>(data), size - 1);
    DibOperationResult result;
    DibChain chain;
    checkResult(DibParseStep(text.c_str(), &chain, &result), result);
    const bool isParsed = DibParseChain(text.c_str(), &chain, &result);
    checkResult(isParsed, result);
    fuzz::require(isParsed || chain.steps == nullptr, "a refused chain has no steps");
    if (!isParsed || !isQuick(chain)) return 0;

    fuzz::Input input(&choice, 1);
    DibStream image;
    fuzz::randomImage(input, image, 16);
    const std::vector<unsigned char> before = bytesOf(image);
    for (int i = 0; i < chain.stepCount; ++i) {
        DibBytes call;
        checkResult(DibDescribeCall(&chain.steps[i], &image, &call, &result), result);
    }
    DibApplyOptions options;
    options.open = openSecond;
    options.inPlace = (choice & 128U) != 0;
    Progress progress{0, (choice & 64U) != 0 ? choice & 63 : -1};
    const bool isDone = DibApply(&image, text.c_str(), &options, &result, Progress::report, &progress);
    checkResult(isDone, result);
    fuzz::require(!isDone || progress.last == 1.0F, "progress ends at 1");
    fuzz::require(isDone || options.inPlace || bytesOf(image) == before, "a failed chain changes nothing");
    if (isDone || !options.inPlace) fuzz::checkImage(image);
    return 0;
}
