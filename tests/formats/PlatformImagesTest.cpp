// The bridge against a platform that writes down what it is asked for.
#include "formats/PlatformImages.h"

#include <DibCodec.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "dib/Kernels.h"
#include "formats/PlatformPixels.h"
#include "tests/formats/CodecTest.h"

namespace {

using namespace codec_test;
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
    bool write(const VexString&) override { return record_.note("write"); }

private:
    Record& record_;
    const unsigned char* pixels_;
    formats::ReleasePixels release_;
};

class RecordingPlatform final : public formats::ImagePlatform {
public:
    std::unique_ptr<formats::BitmapDecoder> open(const VexString&) override {
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

const VexString kPath(L"anywhere");
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
    const BitmapLayout refused[] = {{2, 2, 16, 64, 16},
                                    {2, 2, 16, 48, 12},
                                    {2, 2, 8, 16, 4},
                                    {2, 2, 1, 1, 1},
                                    {2, 2, 4, 8, 2},
                                    {2, 2, 8, 32, 7},
                                    {1ULL << 32, 1, 8, 8, 1ULL << 32}};
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

TEST(PlatformPixels, FloatsEqualTheFormulaAroundEveryStep) {
    const auto expect = [](float value) {
        const float samples[] = {value, value, value, value};
        unsigned char from[16];
        std::memcpy(from, samples, sizeof from);
        unsigned char to[4];
        formats::floatsToBgra(from, to, 1);
        const double byte =
            std::floor(std::pow(static_cast<double>(value), 0.45454543828964233) * 255.0 + 0.5);
        EXPECT_EQ(to[0], byte > 255 ? 255 : static_cast<int>(byte)) << value;
        EXPECT_EQ(to[3], to[0]);
    };
    for (int i = 0; i <= 255; ++i) {
        float value = static_cast<float>(std::pow((i + 0.5) / 255.0, 2.2));
        for (int step = 0; step < 40; ++step) value = std::nextafter(value, 0.0F);
        for (int step = 0; step < 80; ++step, value = std::nextafter(value, 2.0F)) expect(value);
    }
    testing_support::Random random(5);
    for (int i = 0; i < 100000; ++i) expect(random.real(0.0F, 1.2F));
    for (float value = 1.0F; value > 0.0F; value /= 2.0F) expect(value);
}

TEST(PlatformPixels, ExchangesEverywhereAlike) {
    for (const auto level : {dib::KernelLevel::kBaseline, dib::bestKernelLevel()}) {
        dib::limitKernelLevel(level);
        for (std::size_t pixels = 0; pixels < 70; ++pixels) {
            Bytes from(pixels * 4 + 4);
            testing_support::Random random(pixels);
            for (unsigned char& byte : from) byte = static_cast<unsigned char>(random.next());
            Bytes to(from.size(), 0xAB);
            formats::swapRedBlue32(from.data(), to.data(), pixels);
            for (std::size_t i = 0; i < pixels; ++i) {
                EXPECT_EQ(Bytes(&to[4 * i], &to[4 * i] + 4),
                          (Bytes{from[4 * i + 2], from[4 * i + 1], from[4 * i], from[4 * i + 3]}));
            }
            EXPECT_EQ(to.back(), 0xAB);
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(PlatformPixels, WidensEverywhereAlike) {
    for (const auto level : {dib::KernelLevel::kBaseline, dib::bestKernelLevel()}) {
        dib::limitKernelLevel(level);
        for (std::size_t pixels = 0; pixels < 70; ++pixels) {
            // Blocks of exactly that size: nothing beyond may be touched.
            Bytes from(pixels * 3);
            testing_support::Random random(pixels);
            for (unsigned char& byte : from) byte = static_cast<unsigned char>(random.next());
            Bytes to(pixels * 4);
            formats::expandToRgba(from.data(), to.data(), pixels);
            for (std::size_t i = 0; i < pixels; ++i) {
                EXPECT_EQ(Bytes(&to[4 * i], &to[4 * i] + 4),
                          (Bytes{from[3 * i + 2], from[3 * i + 1], from[3 * i], 255}));
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
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

// The formats themselves.

using PathCodec = bool (*)(const char*, DibStream*, DibProgressCallback, void*);
struct RoundTrip {
    PathCodec save;
    const char* name;
};
constexpr RoundTrip kExact[] = {{SavePNG, "png"}, {SaveTIFF, "tif"}};
constexpr PathCodec kSavers[] = {SavePNG, SaveJPEG, SaveTIFF};

TEST(PlatformCodecs, PngAndTiffKeepEveryBit) {
    for (const RoundTrip& format : kExact) {
        for (const auto& [width, height] : testing_support::kSizes) {
            const DibPtr dib = testing_support::randomImage(width, -height, 32, 3);
            const TemporaryFile file("");
            ASSERT_TRUE(format.save(file.path(), dib.get(), nullptr, nullptr)) << format.name;
            DibStream loaded;
            // The content tells, not the function.
            ASSERT_TRUE(LoadJPEG(file.path(), &loaded, nullptr, nullptr)) << format.name;
            ASSERT_EQ(loaded.Header->biBitCount, 32);
            ASSERT_EQ(loaded.Header->biHeight, height);
            for (int y = 0; y < height; ++y) ASSERT_EQ(rowBytes(*dib, y), rowBytes(loaded, y)) << format.name;
        }
    }
}

TEST(PlatformCodecs, JpegIsOpaqueAndClose) {
    DibStream dib;
    ASSERT_TRUE(dib.Create(40, 30, 32));
    std::memset(dib.Buffer, 100, static_cast<std::size_t>(dib.GetImageSize()));
    const TemporaryFile file("");
    ASSERT_TRUE(SaveJPEG(file.path(), &dib, nullptr, nullptr));
    DibStream loaded;
    ASSERT_TRUE(LoadPNG(file.path(), &loaded, nullptr, nullptr));
    ASSERT_EQ(loaded.Header->biBitCount, 24);
    for (const unsigned char byte : rowBytes(loaded, 7)) EXPECT_NEAR(byte, 100, 2);
}

TEST(PlatformCodecs, CutFilesFailOrAreWhole) {
    const DibPtr dib = testing_support::randomImage(9, 7, 32, 4);
    for (const PathCodec save : kSavers) {
        const TemporaryFile file("");
        ASSERT_TRUE(save(file.path(), dib.get(), nullptr, nullptr));
        DibStream whole;
        ASSERT_TRUE(LoadPNG(file.path(), &whole, nullptr, nullptr));
        int refused = 0;
        forEveryTruncation(testing_support::readFileBytes(file.path()), [&](const Bytes& cut, std::size_t) {
            const TemporaryFile shortened("", cut);
            DibStream loaded;
            loaded.ErrorCode = kUntouched;
            if (LoadPNG(shortened.path(), &loaded, nullptr, nullptr)) {
                EXPECT_EQ(testing_support::pixelBytes(loaded), testing_support::pixelBytes(whole));
            } else {
                ++refused;
                EXPECT_EQ(loaded.Header, nullptr);
            }
            EXPECT_EQ(loaded.ErrorCode, kUntouched);
        });
        EXPECT_GT(refused, 100);
    }
}

TEST(PlatformCodecs, AFailedSaveLeavesTheOldFile) {
    const TemporaryFile file("", bytesOf("old"));
    DibStream dib;
    ASSERT_TRUE(dib.Create(65501, 1, 8));
    dib.ErrorCode = kUntouched;
    EXPECT_FALSE(SaveJPEG(file.path(), &dib, nullptr, nullptr));
    EXPECT_EQ(testing_support::readFileBytes(file.path()), bytesOf("old"));
    EXPECT_EQ(dib.ErrorCode, kUntouched);
    const std::filesystem::path folder = std::filesystem::path(file.path()).parent_path();
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_NE(entry.path().filename().string().substr(0, 5), ".dib-") << entry.path();
    }
    EXPECT_FALSE(SavePNG("/dev/full", &dib, nullptr, nullptr));
    EXPECT_FALSE(SavePNG(DIB_TEST_TMP "/no-folder/a.png", &dib, nullptr, nullptr));
    EXPECT_FALSE(SavePNG("", &dib, nullptr, nullptr));
    EXPECT_FALSE(LoadPNG("", &dib, nullptr, nullptr));
}

TEST(PlatformCodecs, SurviveFailingAllocations) {
    const TemporaryFile file("");
    for (const PathCodec save : kSavers) {
        DibPtr dib;
        bool saved = false;
        for (const int depth : {8, 24, 32}) {
            testing_support::forEachFailingAllocation(
                [&] {
                    dib = testing_support::randomImage(9, 7, depth, 4);
                    dib->ErrorCode = kUntouched;
                },
                [&] { saved = save(file.path(), dib.get(), nullptr, nullptr); },
                [&](bool failureMet) {
                    EXPECT_EQ(saved, !failureMet);
                    EXPECT_EQ(dib->ErrorCode, kUntouched);
                    dib.reset();
                });
        }
        DibPtr loaded;
        bool read = false;
        testing_support::forEachFailingAllocation(
            [&] { loaded.reset(new DibStream); },
            [&] { read = LoadPNG(file.path(), loaded.get(), nullptr, nullptr); },
            [&](bool failureMet) {
                EXPECT_EQ(read, !failureMet);
                loaded.reset();
            });
    }
}

}  // namespace
