// The macOS side of the image bridge, on doubles of the system's frameworks: which calls it makes, in which
// order and with what arguments, and that it releases everything it made. These tests cannot show that the
// frameworks behave like the doubles.
#include <DibCocoaUtil.h>
#include <DibCodec.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "formats/PlatformImages.h"
#include "tests/fakes/FakeFoundation.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Calls = std::vector<std::string>;
using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::setPixelValue;

Calls operator+(Calls first, const Calls& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Bytes rowOf(DibStream& image, int y) {
    const unsigned char* row = image.ScanLine(y);
    return {row, row + image.Header->biWidth * image.Header->biBitCount / 8};
}

class MacImages : public ::testing::Test {
protected:
    void SetUp() override { fake = {}; }
    void TearDown() override { EXPECT_EQ(fake.objects, 0); }

    bool load() { return LoadPNG("a.png", &image, nullptr, nullptr); }
    // Whether only releases follow `call`.
    void expectStopsAt(const std::string& call) const {
        Calls made;
        for (const std::string& text : fake.calls) {
            const std::string name = text.substr(0, text.find('('));
            if (name != "release" && name != "CFRelease" && name != "drain") made.push_back(name);
        }
        EXPECT_EQ(made.back(), call);
        EXPECT_EQ(fake.objects, 0) << call;
    }

    FakeFoundation& fake = FakeFoundation::instance();
    DibStream image;
};

const Calls kOpened = {"initWithBytes:length:encoding:(a.png, UTF-8)", "initWithContentsOfFile:(path)",
                       "release(NSString)"};
const Calls kLayoutRead = {"CGImageForProposedRect:context:hints:(none, none, none)",
                           "CGImageGetWidth(bitmap)",
                           "CGImageGetHeight(bitmap)",
                           "CGImageGetBitsPerComponent(bitmap)",
                           "CGImageGetBitsPerPixel(bitmap)",
                           "CGImageGetBytesPerRow(bitmap)",
                           "CGImageGetColorSpace(bitmap)",
                           "CGColorSpaceGetColorTableCount(space)"};
const Calls kPixelsRead = {"CGImageGetDataProvider(bitmap)", "CGDataProviderCopyData(provider)",
                           "CFDataGetBytePtr(data)"};
const Calls kClosed = {"CFRelease(data)", "release(NSImage)", "drain()"};

TEST_F(MacImages, LoadingCallsInOrder) {
    // Two rows of one pixel and a byte of fill.
    fake.picture = {1, 2, 8, 32, 5, {}, {1, 2, 3, 4, 99, 5, 6, 7, 8, 99}};
    EXPECT_TRUE(load());
    EXPECT_EQ(fake.calls, kOpened + kLayoutRead + kPixelsRead + kClosed);
    EXPECT_EQ(image.Header->biBitCount, 32);
    EXPECT_EQ(rowOf(image, 0), (Bytes{3, 2, 1, 4}));
    EXPECT_EQ(rowOf(image, 1), (Bytes{7, 6, 5, 8}));
}

TEST_F(MacImages, AColorTableIsTakenAfterItsCount) {
    fake.picture = {2, 1, 8, 8, 2, {10, 20, 30, 40, 50, 60}, {1, 0}};
    EXPECT_TRUE(load());
    EXPECT_EQ(fake.calls,
              kOpened + kLayoutRead + Calls{"CGColorSpaceGetColorTable(space)"} + kPixelsRead + kClosed);
    EXPECT_EQ(rowOf(image, 0), (Bytes{1, 0}));
    const auto* table = reinterpret_cast<const unsigned char*>(image.Header) + 40;
    EXPECT_EQ(Bytes(table, table + 12), (Bytes{30, 20, 10, 0, 60, 50, 40, 0, 2, 2, 2, 0}));
}

TEST_F(MacImages, ThePathIsHandedOverAsCharacters) {
    fake.picture = {1, 1, 8, 24, 3, {}, {1, 2, 3}};
    EXPECT_TRUE(LoadJPEG(L"/\u00E9\U0001F600.jpg", &image, nullptr, nullptr));
    EXPECT_EQ(fake.calls[0], "initWithBytes:length:encoding:(/\u00E9\U0001F600.jpg, UTF-8)");
    EXPECT_EQ(rowOf(image, 0), (Bytes{3, 2, 1}));
}

TEST_F(MacImages, EveryFailureOfALoadReleasesWhatWasMade) {
    for (const char* call : {"initWithBytes:length:encoding:", "initWithContentsOfFile:",
                             "CGImageForProposedRect:context:hints:", "CGImageGetDataProvider",
                             "CGDataProviderCopyData", "CFDataGetBytePtr"}) {
        fake = {};
        fake.failing = call;
        fake.picture = {1, 1, 8, 32, 4, {}, {1, 2, 3, 4}};
        DibStream loaded;
        EXPECT_FALSE(LoadTIFF("a.tif", &loaded, nullptr, nullptr)) << call;
        EXPECT_EQ(loaded.Header, nullptr) << call;
        EXPECT_EQ(loaded.ErrorCode, 0) << call;
        expectStopsAt(call);
    }
}

TEST_F(MacImages, ABitmapWithoutAColorSpaceHasNoTable) {
    fake.picture = {1, 1, 8, 8, 1, {10, 20, 30}, {0}};
    fake.failing = "CGImageGetColorSpace";
    EXPECT_TRUE(load());
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(image.Header)[40], 0);
}

TEST_F(MacImages, OtherLayoutsAreRefusedBeforeThePixelsAreRead) {
    fake.picture = {1, 1, 16, 64, 8, {}, Bytes(8)};
    EXPECT_FALSE(load());
    expectStopsAt("CGColorSpaceGetColorTableCount");
}

const Calls kMade = {
    "CGDataProviderCreateWithData(none, pixels, 16)",
    "CGColorSpaceCreateDeviceRGB()",
    "CGImageCreate(2, 2, 8, 32, 8, device space, alpha last, lender, no decode, interpolated, default)",
    "initWithCGImage:size:(made bitmap, 2 x 2)",
    "CFRelease(made bitmap)",
    "CFRelease(device space)",
    "CFRelease(lender)"};

Calls encodedAs(const std::string& type) {
    return {"CGImageForProposedRect:context:hints:(none, none, none)",
            "initWithCGImage:(made bitmap)",
            "size()",
            "setSize:(2 x 2)",
            "representationUsingType:properties:(" + type + ", none)",
            "release(NSBitmapImageRep)"};
}

Calls written(const std::string& path) {
    return {"initWithBytes:length:encoding:(" + path + ", UTF-8)", "writeToFile:atomically:(path, YES)",
            "release(NSString)", "release(NSImage)", "drain()"};
}

DibPtr fourPixels(int height) {
    DibPtr image = blankImage(2, height, 32);
    setPixelValue(*image, 0, 0, 0x04010203);
    setPixelValue(*image, 1, 1, 0x08050607);
    return image;
}

TEST_F(MacImages, SavingCallsInOrder) {
    const std::pair<bool (*)(const char*, DibStream*, DibProgressCallback, void*), const char*> savers[] = {
        {SavePNG, "4"}, {SaveJPEG, "3"}, {SaveTIFF, "0"}};
    for (const auto& [save, type] : savers) {
        for (const int height : {2, -2}) {
            fake = {};
            const DibPtr saved = fourPixels(height);
            EXPECT_TRUE(save("/b", saved.get(), nullptr, nullptr));
            EXPECT_EQ(fake.calls, kMade + encodedAs(type) + written("/b"));
            EXPECT_EQ(fake.picture.pixels, (Bytes{1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 5, 6, 7, 8}));
            EXPECT_EQ(fake.objects, 0);
        }
    }
}

TEST_F(MacImages, OtherTypesAreRefusedBeforeAnythingIsMade) {
    const DibPtr saved = fourPixels(2);
    EXPECT_FALSE(DibCocoaUtil::SaveImageFile(VexString(L"/b"), saved.get(),
                                             static_cast<DibCocoaUtil::DibCocoaFileType>(3)));
    EXPECT_EQ(fake.calls, Calls{});
}

TEST_F(MacImages, EveryFailureOfASaveReleasesWhatWasMade) {
    const DibPtr saved = fourPixels(2);
    for (const char* call : {"CGDataProviderCreateWithData", "CGColorSpaceCreateDeviceRGB", "CGImageCreate",
                             "initWithCGImage:size:", "CGImageForProposedRect:context:hints:",
                             "initWithCGImage:", "representationUsingType:properties:",
                             "initWithBytes:length:encoding:", "writeToFile:atomically:"}) {
        fake = {};
        const long blocks = testing_support::liveAllocations();
        fake.failing = call;
        EXPECT_FALSE(SavePNG("/b", saved.get(), nullptr, nullptr)) << call;
        expectStopsAt(call);
        fake = {};
        EXPECT_EQ(testing_support::liveAllocations(), blocks) << call;
    }
}

TEST_F(MacImages, WithoutMemoryNothingIsAskedOfTheSystem) {
    const DibPtr saved = fourPixels(2);
    const long blocks = testing_support::liveAllocations();
    for (const long n : {0, 1}) {  // the pixels, what holds the image
        const testing_support::FailNthAllocation failure(n);
        EXPECT_FALSE(SavePNG(L"/b", saved.get(), nullptr, nullptr));
        EXPECT_TRUE(failure.failed());
    }
    {
        const testing_support::FailNthAllocation failure(0);  // what holds the decoder
        EXPECT_FALSE(LoadPNG(L"a", &image, nullptr, nullptr));
        EXPECT_TRUE(failure.failed());
    }
    EXPECT_EQ(testing_support::liveAllocations(), blocks);
    EXPECT_EQ(fake.calls, Calls{});
}

}  // namespace
