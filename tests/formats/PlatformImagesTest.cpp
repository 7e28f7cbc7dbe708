// The bridge against a platform that writes down what it is asked for.
#include "formats/PlatformImages.h"

#include <DibCodec.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

using formats::BitmapLayout;
using formats::ColorTriples;

// What the platform was asked for, and which of its steps is to fail.
struct Record {
    std::vector<std::string> calls;
    std::string failing;
    BitmapLayout layout{2, 2, 8, 32, 8};
    Bytes pixels = Bytes(64);
    Bytes colors;
    Bytes saved;
    int savedWidth = 0;
    int savedHeight = 0;
    int type = -1;

    bool note(const std::string& call) {
        calls.push_back(call);
        return call != failing;
    }
};

class RecordingDecoder final : public formats::BitmapDecoder {
public:
    explicit RecordingDecoder(Record& record) : record_(record) {}
    ~RecordingDecoder() override { record_.note("release"); }
    bool readLayout(BitmapLayout& layout) override {
        layout = record_.layout;
        return record_.note("layout");
    }
    ColorTriples readColors() override {
        record_.note("colors");
        return {record_.colors.data(), record_.colors.size() / 3};
    }
    bool startPixels() override { return record_.note("start"); }
    const unsigned char* nextRow() override {
        const std::size_t at = row_++ * record_.layout.bytesPerRow;
        return record_.note("row" + std::to_string(row_ - 1)) ? record_.pixels.data() + at : nullptr;
    }

private:
    Record& record_;
    std::size_t row_ = 0;
};

class RecordingImage final : public formats::PlatformImage {
public:
    RecordingImage(Record& record, const unsigned char* pixels, formats::ReleasePixels release)
        : record_(record), pixels_(pixels), release_(release) {}
    ~RecordingImage() override {
        record_.note("release");
        release_(nullptr, pixels_, 0);
    }
    bool encode(DibCocoaUtil::DibCocoaFileType type) override {
        record_.type = type;
        return record_.note("encode");
    }
    bool write(const char*) override { return record_.note("write"); }

private:
    Record& record_;
    const unsigned char* pixels_;
    formats::ReleasePixels release_;
};

class RecordingPlatform final : public formats::ImagePlatform {
public:
    std::unique_ptr<formats::BitmapDecoder> open(const char*) override {
        if (!record.note("open")) return nullptr;
        return std::make_unique<RecordingDecoder>(record);
    }
    std::unique_ptr<formats::PlatformImage> makeImage(const unsigned char* pixels, int width, int height,
                                                      formats::ReleasePixels release) override {
        record.saved.assign(pixels, pixels + static_cast<std::ptrdiff_t>(width) * height * 4);
        record.savedWidth = width;
        record.savedHeight = height;
        if (record.note("make")) return std::make_unique<RecordingImage>(record, pixels, release);
        release(nullptr, pixels, 0);
        return nullptr;
    }
    Record record;
};

constexpr const char* kPath = "anywhere";
using Calls = std::vector<std::string>;

TEST(PlatformImages, LoadsInOneOrderOfSteps) {
    RecordingPlatform platform;
    DibStream dib;
    EXPECT_TRUE(formats::loadImageFile(platform, kPath, &dib));
    EXPECT_EQ(platform.record.calls, (Calls{"open", "layout", "colors", "start", "row0", "row1", "release"}));
    EXPECT_EQ(dib.Header->biHeight, 2);
    EXPECT_EQ(dib.ErrorCode, 0);
}

TEST(PlatformImages, ReleasesWhateverStepFails) {
    for (const std::string step : {"layout", "start", "row0", "row1"}) {
        RecordingPlatform platform;
        platform.record.failing = step;
        DibStream dib;
        dib.Create(1, 1, 8);
        dib.ErrorCode = kUntouched;
        EXPECT_FALSE(formats::loadImageFile(platform, kPath, &dib)) << step;
        EXPECT_EQ(platform.record.calls.back(), "release") << step;
        EXPECT_EQ(platform.record.calls[platform.record.calls.size() - 2], step);
        EXPECT_EQ(dib.ErrorCode, kUntouched) << step;
        // Before the new image exists the old one stays; afterwards there is none.
        EXPECT_EQ(dib.Header != nullptr, step == "layout") << step;
    }
    RecordingPlatform platform;
    platform.record.failing = "open";
    DibStream dib;
    EXPECT_FALSE(formats::loadImageFile(platform, kPath, &dib));
    EXPECT_EQ(platform.record.calls, Calls{"open"});
    EXPECT_FALSE(formats::loadImageFile(platform, kPath, nullptr));
}

TEST(PlatformImages, RefusesOtherLayouts) {
    constexpr std::size_t kTooWide = (SIZE_MAX >> 1) + 1;
    const BitmapLayout refused[] = {
        {2, 2, 16, 64, 16}, {2, 2, 16, 48, 12},           {2, 2, 8, 16, 4}, {2, 2, 1, 1, 1}, {2, 2, 4, 8, 2},
        {2, 2, 8, 32, 7},   {kTooWide, 1, 8, 8, kTooWide}};
    for (const BitmapLayout& layout : refused) {
        RecordingPlatform platform;
        platform.record.layout = layout;
        DibStream dib;
        EXPECT_FALSE(formats::loadImageFile(platform, kPath, &dib)) << layout.bitsPerPixel;
        EXPECT_EQ(platform.record.calls, (Calls{"open", "layout", "colors", "release"}));
        EXPECT_EQ(dib.ErrorCode, 0);
    }
}

TEST(PlatformImages, KeepsTheCodeOfAFailedCreate) {
    RecordingPlatform platform;
    platform.record.layout = {0, 2, 8, 32, 0};
    DibStream dib;
    EXPECT_FALSE(formats::loadImageFile(platform, kPath, &dib));
    EXPECT_EQ(dib.ErrorCode, DIB_ERROR_MEMORY);
    EXPECT_EQ(platform.record.calls.back(), "release");
}

TEST(PlatformImages, TakesColorsAsTriples) {
    RecordingPlatform platform;
    platform.record.layout = {3, 1, 8, 8, 5};
    platform.record.pixels = {0, 1, 2, 99, 99};
    platform.record.colors = {10, 20, 30, 40, 50, 60};
    DibStream dib;
    ASSERT_TRUE(formats::loadImageFile(platform, kPath, &dib));
    ASSERT_EQ(dib.Header->biBitCount, 8);
    EXPECT_EQ(rowBytes(dib, 0), (Bytes{0, 1, 2}));
    const auto* table = reinterpret_cast<const unsigned char*>(dib.Header) + 40;
    EXPECT_EQ(Bytes(table, table + 12), (Bytes{30, 20, 10, 0, 60, 50, 40, 0, 2, 2, 2, 0}));
    // More colours than indices are left out.
    platform.record.colors = Bytes(300 * 3, 7);
    DibStream other;
    ASSERT_TRUE(formats::loadImageFile(platform, kPath, &other));
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(other.Header)[40 + 255 * 4], 7);
}

TEST(PlatformImages, StoresThreeBytesPerPixelOf24Bits) {
    RecordingPlatform platform;
    platform.record.layout = {3, 2, 8, 24, 10};
    for (std::size_t i = 0; i < 20; ++i) platform.record.pixels[i] = static_cast<unsigned char>(i + 1);
    DibStream dib;
    ASSERT_TRUE(formats::loadImageFile(platform, kPath, &dib));
    ASSERT_EQ(dib.Header->biBitCount, 24);
    EXPECT_EQ(rowBytes(dib, 0), (Bytes{3, 2, 1, 6, 5, 4, 9, 8, 7}));
    EXPECT_EQ(rowBytes(dib, 1), (Bytes{13, 12, 11, 16, 15, 14, 19, 18, 17}));
}

TEST(PlatformImages, ExchangesRedAndBlueOf32Bits) {
    RecordingPlatform platform;
    platform.record.pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    DibStream dib;
    ASSERT_TRUE(formats::loadImageFile(platform, kPath, &dib));
    EXPECT_EQ(rowBytes(dib, 0), (Bytes{3, 2, 1, 4, 7, 6, 5, 8}));
    EXPECT_EQ(rowBytes(dib, 1), (Bytes{11, 10, 9, 12, 15, 14, 13, 16}));
}

TEST(PlatformImages, RaisesFloatsAlphaIncluded) {
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float samples[] = {0.0F, 1.0F, 0.25F, 0.5F, nan, inf, -inf, -1.0F};
    RecordingPlatform platform;
    platform.record.layout = {2, 1, 32, 128, 32};
    std::memcpy(platform.record.pixels.data(), samples, sizeof samples);
    DibStream dib;
    ASSERT_TRUE(formats::loadImageFile(platform, kPath, &dib));
    ASSERT_EQ(dib.Header->biBitCount, 32);
    EXPECT_EQ(rowBytes(dib, 0), (Bytes{136, 255, 0, 186, 0, 255, 0, 0}));
}

TEST(PlatformImages, SavesTheTopRowFirst) {
    for (const int height : {2, -2}) {
        DibStream dib;
        ASSERT_TRUE(dib.Create(1, height, 32));
        const unsigned char top[] = {1, 2, 3, 4};
        const unsigned char bottom[] = {5, 6, 7, 8};
        std::memcpy(dib.ScanLine(0), top, 4);
        std::memcpy(dib.ScanLine(1), bottom, 4);
        RecordingPlatform platform;
        EXPECT_TRUE(formats::saveImageFile(platform, kPath, &dib, DibCocoaUtil::DIB_COCOA_TIFF));
        EXPECT_EQ(platform.record.calls, (Calls{"make", "encode", "write", "release"}));
        EXPECT_EQ(platform.record.saved, (Bytes{3, 2, 1, 4, 7, 6, 5, 8}));
        EXPECT_EQ(platform.record.savedWidth, 1);
        EXPECT_EQ(platform.record.savedHeight, 2);
        EXPECT_EQ(platform.record.type, 2);
    }
}

TEST(PlatformImages, SavesOtherDepthsFromAConvertedClone) {
    for (const int depth : testing_support::kDepths) {
        const DibPtr dib = testing_support::randomImage(5, 3, depth, 9);
        const Bytes before = testing_support::pixelBytes(*dib);
        const DibPtr expected(dib->Clone());
        ASSERT_TRUE(expected->ChangeBpp(32, 0));
        RecordingPlatform platform;
        EXPECT_TRUE(formats::saveImageFile(platform, kPath, dib.get(), DibCocoaUtil::DIB_COCOA_PNG));
        for (int y = 0; y < 3; ++y) {
            Bytes row = rowBytes(*expected, y);
            for (std::size_t i = 0; i < row.size(); i += 4) std::swap(row[i], row[i + 2]);
            EXPECT_EQ(row, Bytes(&platform.record.saved[static_cast<std::size_t>(y) * 20],
                                 &platform.record.saved[static_cast<std::size_t>(y) * 20] + 20));
        }
        EXPECT_EQ(dib->Header->biBitCount, depth);
        EXPECT_EQ(testing_support::pixelBytes(*dib), before);
    }
}

TEST(PlatformImages, SavingReleasesWhateverStepFails) {
    const std::pair<std::string, Calls> steps[] = {{"make", {"make"}},
                                                   {"encode", {"make", "encode", "release"}},
                                                   {"write", {"make", "encode", "write", "release"}}};
    for (const auto& [step, calls] : steps) {
        const DibPtr dib = testing_support::randomImage(5, 3, 8, 9);
        dib->ErrorCode = kUntouched;
        const long live = testing_support::liveAllocations();
        {
            RecordingPlatform platform;
            platform.record.failing = step;
            EXPECT_FALSE(formats::saveImageFile(platform, kPath, dib.get(), DibCocoaUtil::DIB_COCOA_PNG));
            EXPECT_EQ(platform.record.calls, calls);
        }
        EXPECT_EQ(dib->ErrorCode, kUntouched);
        EXPECT_EQ(testing_support::liveAllocations(), live);
    }
}

TEST(PlatformImages, RefusesUnknownTypesAndEmptyImages) {
    const DibPtr dib = testing_support::randomImage(2, 2, 32, 1);
    RecordingPlatform platform;
    for (const int type : {-1, 3, 4, 1000}) {
        EXPECT_FALSE(formats::saveImageFile(platform, kPath, dib.get(),
                                            static_cast<DibCocoaUtil::DibCocoaFileType>(type)));
    }
    DibStream empty;
    EXPECT_FALSE(formats::saveImageFile(platform, kPath, &empty, DibCocoaUtil::DIB_COCOA_PNG));
    EXPECT_FALSE(formats::saveImageFile(platform, kPath, nullptr, DibCocoaUtil::DIB_COCOA_PNG));
    EXPECT_TRUE(platform.record.calls.empty());
}

TEST(PlatformImages, ImagesOfNothingAreNotMade) {
    RecordingPlatform platform;
    const unsigned char pixel[4] = {};
    EXPECT_EQ(formats::rawData32ToImage(platform, nullptr, 1, 1, true), nullptr);
    for (const int side : {0, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(formats::rawData32ToImage(platform, pixel, side, 1, true), nullptr);
        EXPECT_EQ(formats::rawData32ToImage(platform, pixel, 1, side, true), nullptr);
    }
    EXPECT_TRUE(platform.record.calls.empty());
    EXPECT_NE(formats::rawData32ToImage(platform, pixel, 1, 1, true), nullptr);
    DibCocoaUtil::rawdata_free(nullptr, nullptr, 0);
}

}  // namespace
}  // namespace codec_test
