// The few declarations of the system's framework that the macOS side of the image bridge uses, with the types
// that it gives them. FakeGraphics.cpp defines them.
#ifndef TESTS_FAKES_COREGRAPHICS_CORE_GRAPHICS_H
#define TESTS_FAKES_COREGRAPHICS_CORE_GRAPHICS_H

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <cstdint>

using CFDataRef = const struct __CFData*;
using CGFloat = double;
using CGImageRef = struct CGImage*;
using CGColorSpaceRef = struct CGColorSpace*;
using CGDataProviderRef = struct CGDataProvider*;
using CGBitmapInfo = std::uint32_t;
using CGDataProviderReleaseDataCallback = void (*)(void* info, const void* data, std::size_t size);
enum CGImageAlphaInfo : std::uint32_t { kCGImageAlphaPremultipliedLast = 1, kCGImageAlphaLast = 3 };
enum CGColorRenderingIntent : std::int32_t { kCGRenderingIntentDefault = 0 };

struct CGSize {
    CGFloat width;
    CGFloat height;
};
struct CGRect;

std::size_t CGImageGetWidth(CGImageRef image);
std::size_t CGImageGetHeight(CGImageRef image);
std::size_t CGImageGetBitsPerComponent(CGImageRef image);
std::size_t CGImageGetBitsPerPixel(CGImageRef image);
std::size_t CGImageGetBytesPerRow(CGImageRef image);
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
CGDataProviderRef CGImageGetDataProvider(CGImageRef image);
std::size_t CGColorSpaceGetColorTableCount(CGColorSpaceRef space);
void CGColorSpaceGetColorTable(CGColorSpaceRef space, std::uint8_t* table);
CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);
const UInt8* CFDataGetBytePtr(CFDataRef data);

CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* data, std::size_t size,
                                               CGDataProviderReleaseDataCallback release);
CGColorSpaceRef CGColorSpaceCreateDeviceRGB();
CGImageRef CGImageCreate(std::size_t width, std::size_t height, std::size_t bitsPerComponent,
                         std::size_t bitsPerPixel, std::size_t bytesPerRow, CGColorSpaceRef space,
                         CGBitmapInfo bitmapInfo, CGDataProviderRef provider, const CGFloat* decode,
                         bool shouldInterpolate, CGColorRenderingIntent intent);

#endif
