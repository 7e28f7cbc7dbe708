#include "formats/Hdr.h"

#include <cmath>
#include <limits>

#include "tests/formats/CodecTest.h"
#include "tests/reference/CodecReference.h"

namespace {

using namespace codec_test;
using Floats = std::vector<float>;

const std::string kHead = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";

Bytes hdr(int width, int height, const Bytes& pixels, const std::string& head = kHead) {
    return ByteWriter()
        .text(head + "-Y " + std::to_string(height) + " +X " + std::to_string(width) + "\n")
        .raw(pixels)
        .bytes;
}

Bytes packetStart(unsigned width) {
    return {2, 2, static_cast<unsigned char>(width >> 8), static_cast<unsigned char>(width)};
}

// A row whose four components are one run each.
Bytes uniformRow(unsigned width, unsigned red, unsigned green, unsigned blue, unsigned exponent) {
    ByteWriter row;
    row.raw(packetStart(width));
    for (const unsigned value : {red, green, blue, exponent}) row.u8(128 + width).u8(value);
    return row.bytes;
}

// What a function prints to standard error.
template <class Act>
std::string printedBy(Act act) {
    ::testing::internal::CaptureStderr();
    act();
    return ::testing::internal::GetCapturedStderr();
}

struct FailedLoad {
    int code = 0;
    std::string printed;
};
FailedLoad failedLoad(const Bytes& file) {
    FailedLoad failed;
    failed.printed = printedBy([&] {
        const Loaded loaded = load(LoadHDR, file);
        EXPECT_FALSE(loaded.result);
        failed.code = loaded.code;
    });
    return failed;
}

TEST(HdrLoad, PixelsAreRaisedAndStoredBlueFirst) {
    // Exponent 128 makes mantissas 256ths: (64, 128, 255) / 256 to the power 1 / 2.2, times 255.
    const Loaded loaded = load(LoadHDR, hdr(2, 1, {64, 128, 255, 128, 0, 0, 0, 0}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.code, kUntouched);
    EXPECT_EQ(loaded.image->Header->biBitCount, 24);
    EXPECT_EQ(loaded.image->Header->biHeight, 1);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{255, 186, 136, 0, 0, 0}));
}

TEST(HdrLoad, FromOneOnEverythingIs255) {
    const Loaded loaded = load(LoadHDR, hdr(3, 1, {128, 127, 255, 129, 1, 1, 0, 200, 255, 255, 255, 255}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{255, 254, 255, 0, 255, 255, 255, 255, 255}));
}

TEST(HdrLoad, TopRowFirst) {
    const Loaded loaded = load(LoadHDR, hdr(1, 2, {128, 128, 128, 129, 0, 0, 0, 0}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biHeight, 2);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{255, 255, 255}));
    EXPECT_EQ(rowBytes(*loaded.image, 1), (Bytes{0, 0, 0}));
}

TEST(HdrLoad, EveryPairOfMantissaAndExponentMatchesThePowerFunction) {
    for (unsigned exponent = 0; exponent < 256; ++exponent) {
        for (unsigned mantissa = 0; mantissa < 256; ++mantissa) {
            const auto m = static_cast<unsigned char>(mantissa);
            const auto e = static_cast<unsigned char>(exponent);
            ASSERT_EQ(formats::hdrByte(m, e), reference::hdrByte(m, e)) << mantissa << " " << exponent;
        }
    }
}

TEST(HdrLoad, NarrowRowsAreFlatWiderOnesMayHavePackets) {
    Bytes flat;
    for (int i = 0; i < 7; ++i) flat.insert(flat.end(), {2, 2, 0, 128});
    const Loaded narrow = load(LoadHDR, hdr(7, 1, flat));
    ASSERT_TRUE(narrow.result);
    EXPECT_EQ(rowBytes(*narrow.image, 0)[20], reference::hdrByte(2, 128));

    const Loaded wide = load(LoadHDR, hdr(8, 1, uniformRow(8, 1, 2, 3, 130)));
    ASSERT_TRUE(wide.result);
    EXPECT_EQ(rowBytes(*wide.image, 0)[21], reference::hdrByte(3, 130));
    EXPECT_EQ(rowBytes(*wide.image, 0)[23], reference::hdrByte(1, 130));
}

TEST(HdrLoad, EveryRowDecidesForItself) {
    ByteWriter rows;
    rows.raw(uniformRow(8, 1, 2, 3, 130));
    for (unsigned i = 0; i < 8; ++i) rows.u8(10 + i).u8(20).u8(30).u8(128);
    rows.raw(uniformRow(8, 4, 5, 6, 130));
    const Loaded loaded = load(LoadHDR, hdr(8, 3, rows.bytes));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 1)[23], reference::hdrByte(17, 128));
    EXPECT_EQ(rowBytes(*loaded.image, 2)[23], reference::hdrByte(4, 130));
}

TEST(HdrLoad, FlatFileOfAnyWidth) {
    Bytes pixels(400);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<unsigned char>(i % 4 == 3 ? 128 : i);
    const Loaded loaded = load(LoadHDR, hdr(100, 1, pixels));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0)[2], reference::hdrByte(0, 128));
    EXPECT_EQ(rowBytes(*loaded.image, 0)[3 * 50], reference::hdrByte(202, 128));
    // Bytes 2, 2 with a width whose top bit is set are a pixel too.
    pixels = Bytes(400, 128);
    pixels[0] = pixels[1] = 2;
    EXPECT_TRUE(load(LoadHDR, hdr(100, 1, pixels)).result);
}

TEST(HdrLoad, GammaAndExposureAreNotApplied) {
    const Bytes pixel = {64, 128, 200, 128};
    const Loaded plain = load(LoadHDR, hdr(1, 1, pixel));
    const Loaded other =
        load(LoadHDR,
             hdr(1, 1, pixel, "#?RADIANCE\nGAMMA=2.2\nEXPOSURE=9\n# any line\nFORMAT=32-bit_rle_rgbe\n\n"));
    ASSERT_TRUE(other.result);
    EXPECT_EQ(rowBytes(*plain.image, 0), rowBytes(*other.image, 0));
}

TEST(HdrLoad, FailureTable) {
    DibStream image;
    image.ErrorCode = kUntouched;
    EXPECT_FALSE(LoadHDR("/nonexistent/file.hdr", &image, nullptr, nullptr));
    EXPECT_FALSE(LoadHDR(L"/nonexistent/file.hdr", &image, nullptr, nullptr));
    EXPECT_EQ(image.ErrorCode, kUntouched);

    FailedLoad failed = failedLoad({});
    EXPECT_EQ(failed.code, 6);
    EXPECT_EQ(failed.printed.substr(0, 17), "RGBE read error: ");
    failed = failedLoad(hdr(1, 1, Bytes(4), "#?RADIANCE\n\n"));
    EXPECT_EQ(failed.code, 6);
    EXPECT_EQ(failed.printed, "RGBE bad file format: no FORMAT specifier found\n");
    failed = failedLoad(bytesOf(kHead + "+Y 1 +X 1\nabcd"));
    EXPECT_EQ(failed.code, 6);
    EXPECT_EQ(failed.printed, "RGBE bad file format: missing image size specifier\n");
    EXPECT_EQ(failedLoad(hdr(8, 1, uniformRow(9, 1, 2, 3, 4))).printed,
              "RGBE bad file format: wrong scanline width\n");
    for (const Bytes& packets :
         {Bytes{0}, Bytes{9}, Bytes{137, 1}, Bytes{132, 1, 133, 1}, Bytes{136, 1, 0}}) {
        failed = failedLoad(hdr(8, 1, ByteWriter().raw(packetStart(8)).raw(packets).bytes));
        EXPECT_EQ(failed.code, 6);
        EXPECT_EQ(failed.printed, "RGBE bad file format: bad scanline data\n");
    }
    for (const char* size : {"-Y -1 +X 1\n", "-Y 1 +X -1\n", "-Y -2 +X -2\n"}) {
        EXPECT_EQ(failedLoad(bytesOf(kHead + size + "abcd")).code, 6) << size;
    }
    for (const char* size : {"-Y 0 +X 1\n", "-Y 1 +X 0\n", "-Y 40000 +X 40000\n", "-Y 1 +X 99999999999\n"}) {
        EXPECT_EQ(failedLoad(bytesOf(kHead + size + "abcd")).code, 2) << size;
    }
}

TEST(HdrLoad, RowsBeforeABrokenOneStay) {
    ::testing::internal::CaptureStderr();
    const Loaded loaded = load(LoadHDR, hdr(8, 2, uniformRow(8, 1, 2, 3, 130)));
    ::testing::internal::GetCapturedStderr();
    EXPECT_FALSE(loaded.result);
    EXPECT_EQ(loaded.code, 6);
    EXPECT_EQ(rowBytes(*loaded.image, 0)[0], reference::hdrByte(3, 130));
}

TEST(HdrLoad, EveryTruncationFails) {
    ByteWriter literal;
    literal.raw(packetStart(9));
    for (unsigned plane = 0; plane < 4; ++plane) literal.u8(9).fill(9, 120 + plane);
    for (const Bytes& file :
         {hdr(8, 1, uniformRow(8, 1, 2, 3, 4)), hdr(9, 1, literal.bytes), hdr(3, 1, Bytes(12, 9))}) {
        ASSERT_TRUE(load(LoadHDR, file).result);
        forEveryTruncation(file, [&](const Bytes& cut, std::size_t length) {
            const int code = failedLoad(cut).code;
            EXPECT_TRUE(code == 6 || code == 2) << length << " gives " << code;
        });
    }
}

TEST(HdrLoad, EveryFailingAllocation) {
    const Bytes bytes = hdr(8, 1, uniformRow(8, 1, 2, 3, 4));
    DibStream* image = nullptr;
    bool loaded = false;
    dib::FilePtr file;
    const int failures = testing_support::forEachFailingAllocation(
        [&] {
            image = new DibStream;
            file = testing_support::openBytes(bytes);
        },
        [&] { loaded = LoadHDR(file.get(), image, nullptr, nullptr); },
        [&](bool failureMet) {
            EXPECT_EQ(loaded, !failureMet);
            EXPECT_EQ(image->ErrorCode, failureMet ? 2 : 0);
            image->Release();
            file.reset();
        });
    EXPECT_EQ(failures, 3);
}

TEST(HdrLoad, NeverCallsTheCallback) {
    ProgressLog log;
    log.cancelAt = 0;
    EXPECT_TRUE(load(LoadHDR, hdr(1, 1, Bytes(4)), &log).result);
    EXPECT_TRUE(log.fractions.empty());
}

// The routines with C linkage.

TEST(Rgbe, PixelsFromColours) {
    const auto pixel = [](float red, float green, float blue) {
        Bytes bytes(4, 99);
        float2rgbe(bytes.data(), red, green, blue);
        return bytes;
    };
    EXPECT_EQ(pixel(0, 0, 0), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(pixel(1, 0.5F, 0.25F), (Bytes{128, 64, 32, 129}));
    EXPECT_EQ(pixel(0.999F, 0, 0), (Bytes{255, 0, 0, 128}));
    EXPECT_EQ(pixel(0, 3, 100), (Bytes{0, 6, 200, 135}));
    EXPECT_EQ(pixel(9e-33F, 0, 0), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(pixel(2e-32F, 0, 0)[3], 23);
    // What does not fit: negative parts, values that are no numbers, and those too large.
    const float inf = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(pixel(-1, 1, -inf), (Bytes{0, 128, 0, 129}));
    EXPECT_EQ(pixel(-1, -1, -1), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(pixel(nan, 1, nan), (Bytes{0, 128, 0, 129}));
    EXPECT_EQ(pixel(nan, nan, nan), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(pixel(inf, 1, 0), (Bytes{255, 0, 0, 255}));
    EXPECT_EQ(pixel(std::ldexp(1.0F, 126), 0, 0), (Bytes{128, 0, 0, 255}));
    EXPECT_EQ(pixel(std::numeric_limits<float>::max(), 0, 0), (Bytes{255, 0, 0, 255}));
}

TEST(Rgbe, ColoursFromPixels) {
    const auto color = [](Bytes bytes) {
        Floats parts(3);
        rgbe2float(&parts[0], &parts[1], &parts[2], bytes.data());
        return parts;
    };
    EXPECT_EQ(color({128, 64, 32, 129}), (Floats{1, 0.5F, 0.25F}));
    EXPECT_EQ(color({255, 255, 255, 0}), (Floats{0, 0, 0}));
    EXPECT_EQ(color({1, 0, 0, 136}), (Floats{1, 0, 0}));
    EXPECT_EQ(color({1, 0, 0, 1}), (Floats{std::ldexp(1.0F, -135), 0, 0}));
}

std::string headerText(const rgbe_header_info* info) {
    const Bytes bytes = testing_support::writtenBytes(
        [&](std::FILE* file) { EXPECT_EQ(RGBE_WriteHeader(file, 640, 480, info), 0); });
    return {bytes.begin(), bytes.end()};
}

TEST(Rgbe, WrittenHeaders) {
    EXPECT_EQ(headerText(nullptr), "#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n-Y 480 +X 640\n");
    rgbe_header_info info = {0, "OTHER", 2.2F, 0.5F};
    EXPECT_EQ(headerText(&info), "#?RGBE\nFORMAT=32-bit_rle_rgbe\n\n-Y 480 +X 640\n");
    info.valid = RGBE_VALID_PROGRAMTYPE | RGBE_VALID_GAMMA | RGBE_VALID_EXPOSURE;
    EXPECT_EQ(headerText(&info),
              "#?OTHER\nGAMMA=2.2\nEXPOSURE=0.5\nFORMAT=32-bit_rle_rgbe\n\n-Y 480 +X 640\n");
}

struct ReadHeader {
    int result = 0;
    int width = 0;
    int height = 0;
    rgbe_header_info info{};
    long consumed = 0;
};
ReadHeader readHeader(const std::string& text, bool withInfo = true) {
    ReadHeader header;
    const Bytes bytes = bytesOf(text);
    const dib::FilePtr file = testing_support::openBytes(bytes);
    header.info = {9, "before", 9, 9};
    header.result =
        RGBE_ReadHeader(file.get(), &header.width, &header.height, withInfo ? &header.info : nullptr);
    header.consumed = std::ftell(file.get());
    return header;
}

TEST(Rgbe, ReadHeaders) {
    const std::string text =
        "#?PROGRAM of some kind\nGAMMA=2.2\nFORMAT=32-bit_rle_rgbe\nEXPOSURE=0.5\n\n-Y 3 +X 4\n";
    const ReadHeader full = readHeader(text + "pixels");
    EXPECT_EQ(full.result, 0);
    EXPECT_EQ(full.width, 4);
    EXPECT_EQ(full.height, 3);
    EXPECT_EQ(full.info.valid, 7);
    EXPECT_STREQ(full.info.programtype, "PROGRAM");
    EXPECT_EQ(full.info.gamma, 2.2F);
    EXPECT_EQ(full.info.exposure, 0.5F);
    EXPECT_EQ(full.consumed, static_cast<long>(text.size()));

    const ReadHeader bare = readHeader("FORMAT=32-bit_rle_rgbe\n\n-Y3+X4");
    EXPECT_EQ(bare.result, 0);
    EXPECT_EQ(bare.width, 4);
    EXPECT_EQ(bare.info.valid, 0);
    EXPECT_STREQ(bare.info.programtype, "");
    EXPECT_EQ(bare.info.gamma, 1.0F);
    EXPECT_EQ(bare.info.exposure, 1.0F);

    EXPECT_EQ(readHeader(text, false).result, 0);
    EXPECT_STREQ(readHeader("#?0123456789abcdefgh\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n").info.programtype,
                 "0123456789abcde");
}

TEST(Rgbe, PacketsOfRunsAndLiterals) {
    // Four planes of one row; the red one varies, the others are runs.
    const auto redPackets = [](const Bytes& mantissas) {
        Floats data;
        for (const unsigned char mantissa : mantissas) {
            // Green 128 / 256 keeps the exponent at 128 whatever red is.
            data.insert(data.end(), {static_cast<float>(mantissa) / 256.0F, 0.5F, 0.0F});
        }
        const int width = static_cast<int>(mantissas.size());
        const Bytes bytes = testing_support::writtenBytes(
            [&](std::FILE* file) { EXPECT_EQ(RGBE_WritePixels_RLE(file, data.data(), width, 1), 0); });
        Floats again(data.size());
        const dib::FilePtr file = testing_support::openBytes(bytes);
        EXPECT_EQ(RGBE_ReadPixels_RLE(file.get(), again.data(), width, 1), 0);
        EXPECT_EQ(again, data);
        EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 4), packetStart(static_cast<unsigned>(width)));
        std::size_t others = 0;  // three planes of equal bytes
        for (int left = width; left > 0; left -= 127) others += left >= 4 ? 2 : left > 1 ? 2U : 2U;
        return Bytes(bytes.begin() + 4, bytes.end() - static_cast<std::ptrdiff_t>(3 * others));
    };
    EXPECT_EQ(redPackets({1, 1, 1, 1, 1, 1, 1, 1}), (Bytes{136, 1}));
    EXPECT_EQ(redPackets({1, 2, 3, 4, 5, 6, 7, 8}), (Bytes{8, 1, 2, 3, 4, 5, 6, 7, 8}));
    // Three equal bytes are no run among others, but are one where nothing else stands before a run or the end.
    EXPECT_EQ(redPackets({9, 1, 1, 1, 2, 2, 2, 2}), (Bytes{4, 9, 1, 1, 1, 132, 2}));
    EXPECT_EQ(redPackets({1, 1, 1, 2, 2, 2, 2, 2}), (Bytes{131, 1, 133, 2}));
    EXPECT_EQ(redPackets({1, 1, 1, 1, 1, 1, 2, 2}), (Bytes{134, 1, 130, 2}));
    EXPECT_EQ(redPackets({1, 1, 3, 3, 2, 2, 2, 2}), (Bytes{4, 1, 1, 3, 3, 132, 2}));
    EXPECT_EQ(redPackets({1, 1, 1, 1, 1, 1, 1, 2}), (Bytes{135, 1, 1, 2}));
    EXPECT_EQ(redPackets(Bytes(127, 5)), (Bytes{255, 5}));
    EXPECT_EQ(redPackets(Bytes(131, 5)), (Bytes{255, 5, 132, 5}));
    EXPECT_EQ(redPackets(Bytes(129, 5)), (Bytes{255, 5, 130, 5}));
    Bytes steps(130);
    for (std::size_t i = 0; i < steps.size(); ++i) steps[i] = static_cast<unsigned char>(i);
    const Bytes packets = redPackets(steps);
    EXPECT_EQ(packets[0], 128);
    EXPECT_EQ(packets[129], 2);
}

TEST(Rgbe, NarrowAndVeryWideRowsAreFlat) {
    for (const int width : {1, 7, 32768}) {
        const Floats data(static_cast<std::size_t>(width) * 3, 1.0F);
        const Bytes bytes = testing_support::writtenBytes(
            [&](std::FILE* file) { EXPECT_EQ(RGBE_WritePixels_RLE(file, data.data(), width, 1), 0); });
        ASSERT_EQ(bytes.size(), static_cast<std::size_t>(width) * 4);
        Floats again(data.size());
        const dib::FilePtr file = testing_support::openBytes(bytes);
        EXPECT_EQ(RGBE_ReadPixels_RLE(file.get(), again.data(), width, 1), 0);
        EXPECT_EQ(again, data);
    }
}

TEST(Rgbe, WithoutMemoryRowsAreWrittenFlat) {
    const Floats data(24, 1.0F);
    const Bytes bytes = testing_support::writtenBytes([&](std::FILE* file) {
        const testing_support::FailNthAllocation failure(0);
        EXPECT_EQ(RGBE_WritePixels_RLE(file, data.data(), 8, 1), 0);
        EXPECT_TRUE(failure.failed());
    });
    EXPECT_EQ(bytes.size(), 32U);
    const Bytes packets = uniformRow(8, 1, 2, 3, 4);
    const dib::FilePtr file = testing_support::openBytes(packets);
    Floats out(24);
    EXPECT_EQ(printedBy([&] {
                  const testing_support::FailNthAllocation failure(0);
                  EXPECT_EQ(RGBE_ReadPixels_RLE(file.get(), out.data(), 8, 1), -1);
              }),
              "RGBE error: unable to allocate buffer space\n");
}

TEST(Rgbe, FlatPixelsBothWaysAndShort) {
    Floats data(3 * 2000);
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<float>(i % 128 + 128) / 256.0F;
    const Bytes bytes = testing_support::writtenBytes(
        [&](std::FILE* file) { EXPECT_EQ(RGBE_WritePixels(file, data.data(), 2000), 0); });
    ASSERT_EQ(bytes.size(), 8000U);
    Floats again(data.size());
    const dib::FilePtr file = testing_support::openBytes(bytes);
    EXPECT_EQ(RGBE_ReadPixels(file.get(), again.data(), 2000), 0);
    EXPECT_EQ(again, data);
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(RGBE_ReadPixels(file.get(), again.data(), 1), -1); }).substr(0, 16),
              "RGBE read error:");
    EXPECT_EQ(RGBE_ReadPixels(file.get(), again.data(), 0), 0);
    EXPECT_EQ(RGBE_ReadPixels_RLE(file.get(), again.data(), -1, -1), 0);
}

TEST(Rgbe, ReadingStopsExactlyBehindTheRow) {
    const Bytes bytes = ByteWriter().raw(uniformRow(8, 1, 2, 3, 4)).text("rest").bytes;
    const dib::FilePtr file = testing_support::openBytes(bytes);
    Floats out(24);
    ASSERT_EQ(RGBE_ReadPixels_RLE(file.get(), out.data(), 8, 1), 0);
    EXPECT_EQ(std::fgetc(file.get()), 'r');
}

TEST(Rgbe, FlatRowMakesAllFurtherRowsFlat) {
    ByteWriter rows;
    rows.raw(uniformRow(8, 1, 2, 3, 136));
    for (int i = 0; i < 16; ++i) rows.u8(2).u8(2).u8(i == 0 ? 200U : 0U).u8(136);
    const dib::FilePtr file = testing_support::openBytes(rows.bytes);
    Floats out(3 * 24);
    ASSERT_EQ(RGBE_ReadPixels_RLE(file.get(), out.data(), 8, 3), 0);
    EXPECT_EQ(out[0], 1.0F);
    EXPECT_EQ(out[3 * 8 + 2], 200.0F);
    EXPECT_EQ(out[3 * 16], 2.0F);  // 2, 2, 0, 136 is a pixel here
}

TEST(Rgbe, WriteErrorsAreTold) {
    std::FILE* full = std::fopen("/dev/full", "wb");
    if (full == nullptr) GTEST_SKIP() << "no full device";
    std::setbuf(full, nullptr);
    const Floats data(24, 1.0F);
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(RGBE_WriteHeader(full, 8, 1, nullptr), -1); }).substr(0, 17),
              "RGBE write error:");
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(RGBE_WritePixels(full, data.data(), 8), -1); }).substr(0, 17),
              "RGBE write error:");
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(RGBE_WritePixels_RLE(full, data.data(), 8, 1), -1); }).substr(0, 17),
              "RGBE write error:");
    std::fclose(full);
}

extern "C" int rgbeFromC(FILE* file);

TEST(Rgbe, WorksFromC) {
    const dib::FilePtr file(std::tmpfile());
    EXPECT_EQ(rgbeFromC(file.get()), 0);
}

}  // namespace
