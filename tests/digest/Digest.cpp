#include "tests/digest/Digest.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "dib/File.h"
#include "tests/support/Paths.h"
#include "tests/support/Sanitizer.h"

namespace digest {

void Hash::bytes(const void* data, std::size_t count) {
    testing_support::expectWritten(data, count);
    const auto* next = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < count; ++i) value_ = (value_ ^ next[i]) * 0x100000001B3U;
}

void Hash::image(const DibStream& image) {
    number(image.ErrorCode);
    number(image.HeaderOwner);
    number(image.BufferOwner);
    number(image.Header != nullptr);
    number(image.Buffer != nullptr);
    if (image.Header == nullptr) return;
    block(testing_support::headerBytes(image));
    if (image.Buffer != nullptr) block(testing_support::pixelBytes(image));
}

void Hash::file(const std::string& path) {
    const dib::FilePtr file = dib::openForReading(path.c_str());
    number(file != nullptr);
    if (file != nullptr) block(testing_support::remainingBytes(file.get()));
}

bool Progress::callback(float fraction, void* self) {
    auto& progress = *static_cast<Progress*>(self);
    progress.hash_.bytes(&fraction, sizeof fraction);
    return progress.calls_++ != progress.cancelAt_;
}

void line(const std::string& name, const char* dependsOn, const Hash& hash) {
    std::printf("%s %s %016" PRIx64 "\n", name.c_str(), dependsOn, hash.value());
}

std::string nameOf(const Kind& kind) {
    return std::to_string(kind.bitCount) + (kind.topDown ? " top-down" : " bottom-up");
}

DibPtr picture(const Kind& kind, int width, int height) {
    const auto seed = static_cast<std::uint64_t>(width * 64 + height + kind.bitCount);
    return testing_support::randomImage(width, kind.topDown ? -height : height, kind.bitCount, seed);
}

Hash runOnSizes(const Kind& kind, const Operation& operation) {
    struct Run {
        int width, height, cancelAt;
    };
    Hash hash;
    for (const Run& run : {Run{64, 48, -1}, Run{17, 5, -1}, Run{1, 7, -1}, Run{3, 3, -1}, Run{17, 9, 2}}) {
        const DibPtr image = picture(kind, run.width, run.height);
        std::srand(1);
        Progress progress(hash, run.cancelAt);
        hash.number(operation(Progress::callback, &progress, image.get()));
        hash.image(*image);
    }
    return hash;
}

}  // namespace digest
