// The routines with C linkage.
#include "tests/formats/RgbeTest.h"

#include <DibRgbe.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace codec_test {
namespace {

using Floats = std::vector<float>;

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
    // A name that fills its field lacks the NUL.
    std::memset(info.programtype, 'x', sizeof info.programtype);
    info.valid = RGBE_VALID_PROGRAMTYPE;
    EXPECT_EQ(headerText(&info), "#?xxxxxxxxxxxxxxxx\nFORMAT=32-bit_rle_rgbe\n\n-Y 480 +X 640\n");
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
    // Three equal bytes are no run among others, but are one where nothing else stands before a run or the
    // end.
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
    const TemporaryFile block("", Bytes(1));
    const dib::FilePtr full(std::fopen(block.path(), "rb"));
    if (std::fprintf(full.get(), "x") >= 0) GTEST_SKIP() << "the C library takes what cannot be written";
    const Floats data(24, 1.0F);
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(RGBE_WriteHeader(full.get(), 8, 1, nullptr), -1); }).substr(0, 17),
              "RGBE write error:");
    EXPECT_EQ(printedBy([&] { EXPECT_EQ(RGBE_WritePixels(full.get(), data.data(), 8), -1); }).substr(0, 17),
              "RGBE write error:");
    EXPECT_EQ(
        printedBy([&] { EXPECT_EQ(RGBE_WritePixels_RLE(full.get(), data.data(), 8, 1), -1); }).substr(0, 17),
        "RGBE write error:");
}

extern "C" int rgbeFromC(FILE* file);

TEST(Rgbe, WorksFromC) {
    const dib::FilePtr file(std::tmpfile());
    EXPECT_EQ(rgbeFromC(file.get()), 0);
}

}  // namespace
}  // namespace codec_test
