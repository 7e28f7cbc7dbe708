#include "tests/formats/DoorCodecTest.h"

namespace door_test {
namespace {

using codec_test::bytesOf;
using codec_test::ByteWriter;
using codec_test::pixelsOf;

Bytes file(const std::string& header, const Bytes& samples) {
    return ByteWriter().text(header).raw(samples).bytes;
}

Bytes shown(const Bytes& bytes, int bitCount) {
    const Opened load = opened(bytes);
    EXPECT_TRUE(load.isLoaded) << load.result.reason;
    if (!load.isLoaded) return {};
    EXPECT_EQ(load.image->Header->biBitCount, bitCount);
    return pixelsOf(*load.image);
}
Bytes shown(const std::string& text, int bitCount) { return shown(bytesOf(text), bitCount); }

std::string pam(int channels, int largest, const std::string& type) {
    return "P7\n# made by hand\nWIDTH 2\nHEIGHT 1\nDEPTH " + std::to_string(channels) + "\nMAXVAL " +
           std::to_string(largest) + "\nTUPLTYPE " + type + "\nENDHDR\n";
}

TEST(PnmLoad, EverySourceGivesOnePicture) {
    for (const Bytes& bytes :
         {bytesOf("P1\n3 2\n1 0 1 0 1 1"), bytesOf("P2 2 2 255 1 2 3 4 "),
          bytesOf("P3 1 2 255 1 2 3 4 5 6\n"), bytesOf("P4 9 2\nabcd"), bytesOf("P5 3 2 255\nabcdef"),
          bytesOf("P6 1 2 255\nabcdef"), file(pam(4, 255, "RGB_ALPHA"), {1, 2, 3, 4, 5, 6, 7, 8}),
          file("PF\n1 1\n-1\n", Bytes(12))}) {
        expectOneFromEverySource(bytes, ".pnm");
        expectLoadProgress(bytes, 3);
        EXPECT_GT(failEveryLoad(bytes), 1);
    }
}

TEST(PnmLoad, CommentsAreNoted) {
    const std::string noted = "the texts of the file are not kept;";
    EXPECT_EQ(notesOf(opened(bytesOf("P5\n# noon\n1 1\n255\nx")).result), noted);
    EXPECT_EQ(notesOf(opened(bytesOf("P5\n1 1# noon\n255\nx")).result), noted);
    EXPECT_EQ(notesOf(opened(file(pam(3, 255, "RGB"), {1, 2, 3, 4, 5, 6})).result), noted);
    EXPECT_EQ(notesOf(opened(bytesOf("P5\n1 1\n255\n#")).result), "");
}

TEST(PnmLoad, BitmapsHaveOneBit) {
    EXPECT_EQ(shown("P1\n3 2\n1 0 1 0 1 1", 1), Bytes({0x40, 0x80}));
    EXPECT_EQ(shown("P1 3 2 #c\n101#x 0\n01\n1", 1), Bytes({0x40, 0x80}));  // no blanks are needed
    EXPECT_EQ(shown(file("P4\n#c\n9 2\n", {0xA5, 0x80, 0x0F, 0x7F}), 1), Bytes({0x5A, 0x00, 0xF0, 0x80}));
    const Opened load = opened(bytesOf("P1 1 1 1"));
    const auto* table = reinterpret_cast<const DibBGRA*>(load.image->Header + 1);
    EXPECT_EQ(table[0].red, 0);
    EXPECT_EQ(table[1].red, 255);
    EXPECT_EQ(shown(file(pam(1, 1, "BLACKANDWHITE"), {1, 0}), 1), Bytes({0x80}));
}

TEST(PnmLoad, TextMayBeSetInAnyWay) {
    const Bytes expected = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(shown("P2\n3 2\n255\n1 2 3\n4 5 6\n", 8), expected);
    EXPECT_EQ(shown("P2 3\t2\r\n255 1\n2\n3\n4\n5\n6", 8), expected);
    EXPECT_EQ(shown("P2#a\n3#b\n#c 9\n 2 255#d\n1 2 3 4#e\n\f\v5 6", 8), expected);
    EXPECT_EQ(shown("P3 1 2 255 1 2 3 4 5 6", 24), Bytes({3, 2, 1, 6, 5, 4}));
}

TEST(PnmLoad, EveryLargestValueIsScaledAndRounded) {
    EXPECT_EQ(shown("P2 4 1 3 0 1 2 3", 8), Bytes({0, 85, 170, 255}));
    EXPECT_EQ(shown("P2 4 1 1 0 1 2 3", 8), Bytes({0, 255, 255, 255}));
    EXPECT_EQ(shown("P2 3 1 100 1 50 99", 8), Bytes({3, 128, 252}));
    EXPECT_EQ(shown(file("P5 3 1 100\n", {1, 50, 200}), 8), Bytes({3, 128, 255}));
    EXPECT_EQ(shown(file("P6 1 1 7\n", {1, 2, 7}), 24), Bytes({255, 73, 36}));
    // 255 x 0x1234 / 65535 is 18.13, 255 x 0x0181 / 65535 is 1.498.
    EXPECT_EQ(shown(file("P5 4 1 65535\n", {0x12, 0x34, 0x01, 0x81, 0x01, 0x82, 0xFF, 0xFF}), 8),
              Bytes({18, 1, 2, 255}));
    EXPECT_EQ(shown(file("P6 1 1 1023\n", {3, 255, 2, 0, 0, 1}), 24), Bytes({0, 128, 255}));
    EXPECT_EQ(shown("P2 2 1 65535 65535 257", 8), Bytes({255, 1}));
    EXPECT_EQ(opened(bytesOf("P2 1 1 256 0")).note(0), "samples of 16 bits became 8");
    EXPECT_EQ(opened(bytesOf("P2 1 1 255 0")).result.noteCount, 0);
}

TEST(PnmLoad, SamplesAboveTheLargestValueAreNotedOnce) {
    const std::string noted = "samples above the largest value, 100, were taken for it;";
    EXPECT_EQ(notesOf(opened(bytesOf("P2 3 1 100 1 50 100 ")).result), "");
    EXPECT_EQ(notesOf(opened(bytesOf("P2 3 2 100 101 50 100 200 9 9")).result), noted);
    EXPECT_EQ(notesOf(opened(bytesOf("P2 1 1 100 9999999")).result), noted);
    EXPECT_EQ(notesOf(opened(file("P5 3 1 100\n", {100, 50, 0})).result), "");
    const Opened load = opened(file("P6 1 2 100\n", {1, 50, 101, 1, 255, 2}));
    EXPECT_EQ(notesOf(load.result), noted);
    EXPECT_EQ(load.result.notes[0].kind, DIB_NOTE_WARNING);
    EXPECT_EQ(notesOf(opened(file("P5 1 1 1023\n", {4, 0})).result),
              "samples of 16 bits became 8;samples above the largest value, 1023, were taken for it;");
}

TEST(PnmLoad, PamFilesHaveAlpha) {
    EXPECT_EQ(shown(file(pam(2, 3, "GRAYSCALE_ALPHA"), {0, 1, 2, 3}), 32),
              Bytes({0, 0, 0, 85, 170, 170, 170, 255}));
    EXPECT_EQ(shown(file(pam(4, 255, "RGB_ALPHA"), {1, 2, 3, 4, 5, 6, 7, 8}), 32),
              Bytes({3, 2, 1, 4, 7, 6, 5, 8}));
    EXPECT_EQ(shown(file(pam(1, 255, "GRAYSCALE"), {7, 9}), 8), Bytes({7, 9}));
    EXPECT_EQ(shown(file(pam(3, 255, "RGB"), {1, 2, 3, 4, 5, 6}), 24), Bytes({3, 2, 1, 6, 5, 4}));
    const Bytes ink = file(pam(4, 255, "CMYK"), {0, 255, 128, 0, 0, 0, 0, 255});
    EXPECT_EQ(shown(ink, 24), Bytes({127, 0, 255, 0, 0, 0}));
    EXPECT_EQ(opened(ink).note(0), "CMYK became RGB without a colour profile");
    EXPECT_EQ(shown(file(pam(5, 255, "CMYK_ALPHA"), {0, 255, 128, 0, 7, 0, 0, 0, 255, 255}), 32),
              Bytes({127, 0, 255, 7, 0, 0, 0, 255}));
    EXPECT_STREQ(opened(file(pam(5, 255, "RGB"), Bytes(10))).result.reason, "5 channels are not read");
}

TEST(PnmLoad, FloatsAreClampedAndStartAtTheBottom) {
    const Bytes little = {0, 0, 0, 0x3F, 0, 0, 0x80, 0x3F, 0, 0, 0, 0xC0, 0, 0, 0, 0x40};  // 0.5 1 -2 2
    EXPECT_EQ(shown(file("Pf\n2 2\n-1.0\n", little), 8), Bytes({0, 255, 128, 255}));
    EXPECT_EQ(shown(file("Pf\n2 2\n-2\n", little), 8), Bytes({0, 255, 64, 128}));
    const Bytes big = {0x3F, 0, 0, 0, 0x7F, 0xC0, 0, 0, 0x3E, 0x80, 0, 0};  // 0.5, not a number, 0.25
    EXPECT_EQ(shown(file("PF\n1 1\n1\n", big), 24), Bytes({64, 0, 128}));
    EXPECT_EQ(opened(file("PF\n1 1\n1\n", big)).note(0), "floating-point samples became 8 bits");
}

TEST(PnmLoad, ProbeReadsTheHeader) {
    const Bytes bytes = file(pam(4, 65535, "RGB_ALPHA"), {});
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_STREQ(info.format->name, "ppm");
    EXPECT_EQ(info.width, 2);
    EXPECT_EQ(info.height, 1);
    EXPECT_EQ(info.bitCount, 32);
    EXPECT_EQ(info.storedBits, 64);
    EXPECT_TRUE(info.hasAlpha);
    EXPECT_STREQ(info.compression, "none");
}

TEST(PnmLoad, RowsOfCutFilesAreKept) {
    Bytes samples(2 * 3 * 5);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<unsigned char>(i + 1);
    expectRowsOfCutFiles(file("P6 2 5 255\n", samples), 11, 6);
    expectRowsOfCutFiles(file("P5 6 5 255\n", samples), 11, 6);
    expectRowsOfCutFiles(file("P6 2 5 200\n", samples), 11, 6);
    expectRowsOfCutFiles(file("P5 3 5 300\n", samples), 11, 6);
    const Opened kept = opened(bytesOf("P2 2 3 255 1 2 3 4 5"), keepingDamaged());
    ASSERT_TRUE(kept.isLoaded);
    EXPECT_EQ(pixelsOf(*kept.image), Bytes({1, 2, 3, 4, 0, 0}));
    EXPECT_EQ(kept.note(0), "the file ends before its pixels do: 2 of 3 rows were read");
}

TEST(PnmLoad, RefusalsSayWhy) {
    const auto reason = [](const std::string& text) { return opened(bytesOf(text)).reason(); };
    EXPECT_EQ(reason("P5 x"), "the size is not two numbers");
    EXPECT_EQ(reason("P5 1 1 x"), "the largest value is not a number");
    EXPECT_EQ(reason("P5 1 1 65536 a"), "a largest value of 65536 is impossible");
    EXPECT_EQ(reason("P5 1 1 0 a"), "a largest value of 0 is impossible");
    EXPECT_EQ(reason("P5 0 1 255 a"), "a picture of 0x1 pixels is empty");
    EXPECT_EQ(reason("P6 99999 99999 255 a"), "a picture of 99999x99999 pixels is too large");
    EXPECT_EQ(reason("P2 1 2 255 1 a 2"), "the pixels are not all numbers (in row 2 of 2)");
    EXPECT_EQ(reason("P7\nWIDTH 1\n"), "the file ends inside its header");
    EXPECT_EQ(reason("P7\nWIDTH x\n"), "WIDTH is not a number");
    EXPECT_EQ(reason("P7\nWIDTH 1\nHEIGHT 1\nDEPTH 9\nMAXVAL 1\nENDHDR\n"), "9 channels are not read");
    EXPECT_EQ(reason("PF\n1 1\nx\n"), "the scale is not a number");
    EXPECT_EQ(reason("PF4\n2 2\n-1.0\n" + std::string(64, 'a')), "PFM files with alpha (PF4) are not read");
    EXPECT_EQ(opened(bytesOf("PF4\n1 1\n1\n")).result.code, DIB_ERROR_UNSUPPORTED);
}

TEST(PnmLoad, EveryDamagedHeaderIsHarmless) {
    int loaded = 0;
    for (const Bytes& bytes : {bytesOf("P3 1 2 255 1 2 3 4 5 6\n"), bytesOf("P4 9 2\nabcd"),
                               file(pam(4, 255, "CMYK"), Bytes(8)), file("PF\n1 1\n-1\n", Bytes(12))}) {
        codec_test::forEveryExtremeByte(bytes, 200, [&](const Bytes& damaged, std::size_t, unsigned) {
            const Opened load = opened(damaged, keepingDamaged());
            loaded += load.isLoaded ? 1 : 0;
            EXPECT_EQ(load.isLoaded, load.result.reason[0] == '\0');
        });
        codec_test::forEveryTruncation(bytes, [](const Bytes& cut, std::size_t) {
            const Opened load = opened(cut, keepingDamaged());
            EXPECT_EQ(load.isLoaded, load.result.code == 0);
        });
    }
    EXPECT_GT(loaded, 50);
}

}  // namespace
}  // namespace door_test
