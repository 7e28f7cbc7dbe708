#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>

#include "tests/fakes/FakeGraphics.h"

struct __CFData : FakeObject {};
struct CGColorSpace : FakeObject {};
struct CGDataProvider : FakeObject {};
struct CGImage : FakeObject {};

namespace {

struct LentPixels {
    const void* data = nullptr;
    std::size_t size = 0;
    CGDataProviderReleaseDataCallback release = nullptr;
};
LentPixels lent;

void giveBack() { lent.release(nullptr, lent.data, lent.size); }
void dropParts();

__CFData data{{"data"}};
CGColorSpace fileSpace{{"space", nullptr, 1}};
CGDataProvider fileProvider{{"provider", nullptr, 1}};
CGImage fileBitmap{{"bitmap", nullptr, 1}};
CGColorSpace deviceSpace{{"device space"}};
CGDataProvider lender{{"lender", giveBack}};
CGImage madeBitmap{{"made bitmap", dropParts}};

void dropParts() {
    released(&lender);
    released(&deviceSpace);
}

bool record(const std::string& call, const std::string& arguments) {
    return FakeFoundation::instance().record(call, arguments);
}

// A number that a call answers with, 0 when it is to fail.
std::size_t answered(const char* call, const void* object, std::size_t number) {
    return record(call, nameOf(object)) ? number : 0;
}

FakePicture& picture() { return FakeFoundation::instance().picture; }

}  // namespace

CGImageRef fakeFileBitmap() { return &fileBitmap; }

void fakeEncode() {
    const auto* bytes = static_cast<const unsigned char*>(lent.data);
    picture().pixels.assign(bytes, bytes + lent.size);
}

std::size_t CGImageGetWidth(CGImageRef image) { return answered("CGImageGetWidth", image, picture().width); }
std::size_t CGImageGetHeight(CGImageRef image) {
    return answered("CGImageGetHeight", image, picture().height);
}
std::size_t CGImageGetBitsPerComponent(CGImageRef image) {
    return answered("CGImageGetBitsPerComponent", image, picture().bitsPerComponent);
}
std::size_t CGImageGetBitsPerPixel(CGImageRef image) {
    return answered("CGImageGetBitsPerPixel", image, picture().bitsPerPixel);
}
std::size_t CGImageGetBytesPerRow(CGImageRef image) {
    return answered("CGImageGetBytesPerRow", image, picture().bytesPerRow);
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
    return record("CGImageGetColorSpace", nameOf(image)) ? &fileSpace : nullptr;
}

CGDataProviderRef CGImageGetDataProvider(CGImageRef image) {
    return record("CGImageGetDataProvider", nameOf(image)) ? &fileProvider : nullptr;
}

std::size_t CGColorSpaceGetColorTableCount(CGColorSpaceRef space) {
    return answered("CGColorSpaceGetColorTableCount", space, picture().colors.size() / 3);
}

void CGColorSpaceGetColorTable(CGColorSpaceRef space, std::uint8_t* table) {
    record("CGColorSpaceGetColorTable", nameOf(space));
    std::copy(picture().colors.begin(), picture().colors.end(), table);
}

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
    return static_cast<CFDataRef>(retained(data, record("CGDataProviderCopyData", nameOf(provider))));
}

const UInt8* CFDataGetBytePtr(CFDataRef from) {
    return record("CFDataGetBytePtr", nameOf(from)) ? picture().pixels.data() : nullptr;
}

CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* pixels, std::size_t size,
                                               CGDataProviderReleaseDataCallback release) {
    const bool succeeds =
        record("CGDataProviderCreateWithData", nameOf(info) + ", pixels, " + std::to_string(size));
    if (succeeds) lent = {pixels, size, release};
    return static_cast<CGDataProviderRef>(retained(lender, succeeds));
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB() {
    return static_cast<CGColorSpaceRef>(retained(deviceSpace, record("CGColorSpaceCreateDeviceRGB", "")));
}

CGImageRef CGImageCreate(std::size_t width, std::size_t height, std::size_t bitsPerComponent,
                         std::size_t bitsPerPixel, std::size_t bytesPerRow, CGColorSpaceRef space,
                         CGBitmapInfo bitmapInfo, CGDataProviderRef provider, const CGFloat* decode,
                         bool shouldInterpolate, CGColorRenderingIntent intent) {
    std::string arguments;
    for (const std::size_t number : {width, height, bitsPerComponent, bitsPerPixel, bytesPerRow}) {
        arguments += std::to_string(number) + ", ";
    }
    arguments += nameOf(space) + (bitmapInfo == kCGImageAlphaLast ? ", alpha last, " : ", ?, ") +
                 nameOf(provider) + (decode == nullptr ? ", no decode, " : ", ?, ") +
                 (shouldInterpolate ? "interpolated, " : "?, ") +
                 (intent == kCGRenderingIntentDefault ? "default" : "?");
    if (!record("CGImageCreate", arguments)) return nullptr;
    retained(*space);
    retained(*provider);
    return static_cast<CGImageRef>(retained(madeBitmap));
}
