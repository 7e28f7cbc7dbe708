#include "formats/Hdr.h"

#include <cerrno>

#include "formats/HdrRows.h"
#include "tests/formats/RgbeTest.h"
#include "tests/reference/CodecReference.h"

namespace codec_test {
namespace {

const std::string kHead = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";

Bytes hdr(int width, int height, const Bytes& pixels, const std::string& head = kHead) {
    return ByteWriter()
        .text(head + "-Y " + std::to_string(height) + " +X " + std::to_string(width) + "\n")
        .raw(pixels)
        .bytes;
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
    expectNoFile(LoadHDR, LoadHDR, image, kUntouched);

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

TEST(HdrLoad, AnErrorNumberOfAnEarlierCallIsNotPrinted) {
    errno = ENOENT;
    EXPECT_EQ(failedLoad(hdr(8, 1, {})).printed, "RGBE read error: Success\n");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(failedLoad(bytesOf("#?RADIANCE\n")).printed, "RGBE read error: Success\n");
    // A file that cannot be read has a reason of its own.
    const dib::FilePtr folder = dib::openForReading("/");
    if (folder == nullptr) return;  // a system that does not open folders
    EXPECT_EQ(printedBy([&] {
                  DibStream image;
                  EXPECT_FALSE(LoadHDR(folder.get(), &image, nullptr, nullptr));
              }),
              "RGBE read error: Is a directory\n");
}

TEST(HdrLoad, FilesMayHaveAnyNumberOfLines) {
    std::string lines;
    for (int i = 0; i < (1 << 20) + 5; ++i) lines += "a\n";
    EXPECT_TRUE(
        load(LoadHDR, hdr(1, 1, Bytes(4), "#?RADIANCE\n" + lines + "FORMAT=32-bit_rle_rgbe\n\n")).result);
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

TEST(HdrLoad, StreamsWithoutEndAreLeft) {
    NEEDS_CALL_STREAMS();
    for (EndlessStream stream :
         {EndlessStream{"", "x"}, EndlessStream{"#?RADIANCE\n", "a\n"}, EndlessStream{"#?RADIANCE\n", "x"}}) {
        const dib::FilePtr file = stream.open();
        DibStream image;
        EXPECT_FALSE(LoadHDR(file.get(), &image, nullptr, nullptr)) << stream.start << stream.repeated;
    }
}

TEST(HdrLoad, EveryFailingAllocation) {
    EXPECT_EQ(failEveryAllocation(LoadHDR, hdr(8, 1, uniformRow(8, 1, 2, 3, 4))), 3);
}

TEST(HdrLoad, NeverCallsTheCallback) {
    ProgressLog log;
    log.cancelAt = 0;
    EXPECT_TRUE(load(LoadHDR, hdr(1, 1, Bytes(4)), &log).result);
    EXPECT_TRUE(log.fractions.empty());
}

}  // namespace
}  // namespace codec_test
