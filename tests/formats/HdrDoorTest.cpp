#include "tests/formats/DoorCodecTest.h"
#include "tests/formats/RgbeTest.h"

namespace door_test {
namespace {

using codec_test::ByteWriter;
using codec_test::uniformRow;

const std::string kHead = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";

Bytes hdr(const std::string& size, const Bytes& pixels, const std::string& head = kHead) {
    return ByteWriter().text(head + size + "\n").raw(pixels).bytes;
}

// 8 x 4 pixels; all of a row have one colour.
Bytes packed() {
    ByteWriter rows;
    for (unsigned y = 0; y < 4; ++y) rows.raw(uniformRow(8, 16 * y, 40, 200, 128));
    return hdr("-Y 4 +X 8", rows.bytes);
}

// 3 x 3 pixels, too narrow for packets.
Bytes flat() {
    ByteWriter rows;
    for (unsigned i = 0; i < 9; ++i) rows.u8(10 + 20 * i).u8(40).u8(200).u8(128);
    return hdr("-Y 3 +X 3", rows.bytes);
}

// The red bytes of all pixels, top row first.
Bytes reds(DibStream& image) {
    Bytes values;
    const Bytes pixels = codec_test::pixelsOf(image);
    for (std::size_t i = 2; i < pixels.size(); i += 3) values.push_back(pixels[i]);
    return values;
}

TEST(HdrDoor, EverySourceGivesOnePicture) {
    const std::string printed = codec_test::printedBy([] {
        for (const Bytes& file : {packed(), flat()}) {
            expectOneFromEverySource(file, ".hdr");
            expectLoadProgress(file, 4);
            EXPECT_GT(failEveryLoad(file), 1);
        }
    });
    EXPECT_EQ(printed, "");
}

TEST(HdrDoor, CutFilesAreRefusedOrKept) {
    expectRowsOfCutFiles(packed(), kHead.size() + 10, 4 + 8);
    expectRowsOfCutFiles(flat(), kHead.size() + 10, 12);
}

TEST(HdrDoor, ReasonsNameWhatIsWrongAndNothingIsPrinted) {
    struct Case {
        Bytes file;
        const char* reason;
        int code;
    };
    Bytes width = packed();
    width[kHead.size() + 10 + 12 + 3] = 9;
    Bytes run = packed();
    run[kHead.size() + 10 + 24 + 4] = 255;
    Bytes cut = flat();
    cut.pop_back();
    const Case cases[] = {
        {width, "a row of run lengths is of another width (in row 2 of 4)", 6},
        {run, "the run lengths are damaged (in row 3 of 4)", 6},
        {cut, "the file ends before its pixels do (in row 3 of 3)", 4},
        {hdr("-Y 1 +X 1", {1, 2, 3, 4}, "#?RADIANCE\n\n"),
         "the header has no line FORMAT=32-bit_rle_rgbe or FORMAT=32-bit_rle_xyze", 7},
        {hdr("+X 1 -X 1", {1, 2, 3, 4}), "the line of the size is missing or damaged", 6},
        {hdr("", {}), "the file ends inside its header", 4},
        {hdr("-Y 0 +X 1", {}), "a picture of 1x0 pixels is empty", 6},
    };
    for (const Case& c : cases) {
        const std::string printed = codec_test::printedBy([&] {
            const Opened load = opened(c.file);
            EXPECT_FALSE(load.isLoaded);
            EXPECT_EQ(load.reason(), c.reason);
            EXPECT_EQ(load.result.code, c.code) << c.reason;
        });
        EXPECT_EQ(printed, "");
    }
}

TEST(HdrDoor, ExtremeBytes) {
    for (const Bytes& file : {packed(), flat()}) expectExtremeBytesAreSurvived(file, "x.hdr");
}

TEST(HdrDoor, EveryOrderIsTurnedUpright) {
    // 3 columns and 2 rows of values 1 2 3 / 4 5 6; stored as each order has them.
    struct Case {
        const char* size;
        std::vector<unsigned> stored;
    };
    const Case cases[] = {{"-Y 2 +X 3", {1, 2, 3, 4, 5, 6}}, {"-Y 2 -X 3", {3, 2, 1, 6, 5, 4}},
                          {"+Y 2 -X 3", {6, 5, 4, 3, 2, 1}}, {"+Y 2 +X 3", {4, 5, 6, 1, 2, 3}},
                          {"+X 3 -Y 2", {1, 4, 2, 5, 3, 6}}, {"-X 3 -Y 2", {3, 6, 2, 5, 1, 4}},
                          {"-X 3 +Y 2", {6, 3, 5, 2, 4, 1}}, {"+X 3 +Y 2", {4, 1, 5, 2, 6, 3}}};
    const auto file = [](const Case& c) {
        ByteWriter pixels;
        for (const unsigned value : c.stored) pixels.u8(20 * value).u8(40).u8(200).u8(128);
        return hdr(c.size, pixels.bytes);
    };
    const Opened upright = opened(file(cases[0]));
    ASSERT_TRUE(upright.isLoaded);
    for (const Case& c : cases) {
        expectOneFromEverySource(file(c), ".hdr");
        const Opened load = opened(file(c));
        ASSERT_TRUE(load.isLoaded) << c.size;
        EXPECT_TRUE(testing_support::sameImage(*load.image, *upright.image)) << c.size;
        EXPECT_EQ(load.result.metadata.orientation, 1);
    }
    DibLoadOptions stored;
    stored.appliesOrientation = false;
    const Opened load = opened(file(cases[5]), stored);
    EXPECT_EQ(load.image->Header->biWidth, 2);
    EXPECT_EQ(load.result.metadata.orientation, 6);
    expectOneFromEverySource(file(cases[5]), ".hdr", stored);
}

TEST(HdrDoor, OldRunsRepeatThePixelBefore) {
    // A run of 2, and one of 1 + 256 x 1 in two pixels.
    const Bytes start = {128, 0, 0, 128};
    ByteWriter row;
    row.raw(start).raw({1, 1, 1, 2}).raw({64, 0, 0, 128}).raw({1, 1, 1, 1}).raw({1, 1, 1, 1});
    const Opened load = opened(hdr("-Y 1 +X 261", row.bytes));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    Bytes expected(3, 186);
    expected.insert(expected.end(), 258, 136);
    EXPECT_EQ(reds(*load.image), expected);

    row.raw({1, 1, 1, 1});
    const Opened excess = opened(hdr("-Y 1 +X 262", row.bytes));
    EXPECT_EQ(excess.reason(), "the run lengths are damaged");
    // Nothing is before the first pixel, which is a colour.
    EXPECT_TRUE(opened(hdr("-Y 1 +X 1", {1, 1, 1, 128})).isLoaded);
}

TEST(HdrDoor, XyzBecomesRedGreenBlue) {
    const std::string head = "#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n";
    // White is equal energy; (1, 1, 1) x 0.5 is grey 0.5 to the power 1 / 2.2. X alone is red without green.
    const Opened load = opened(hdr("-Y 1 +X 2", {128, 128, 128, 128, 64, 0, 0, 128}, head));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    const Bytes row = codec_test::rowBytes(*load.image, 0);
    EXPECT_NEAR(row[0], 186, 1);
    EXPECT_NEAR(row[1], 186, 1);
    EXPECT_NEAR(row[2], 186, 1);
    EXPECT_NEAR(row[3], 42, 1);   // 255 x (0.0747 x 0.25) ^ (1 / 2.2)
    EXPECT_EQ(row[4], 0);         // below black
    EXPECT_NEAR(row[5], 208, 1);  // 255 x (2.5653 x 0.25) ^ (1 / 2.2)
}

TEST(HdrDoor, ExposureAndGammaAreNoted) {
    const auto withLines = [](const std::string& lines) {
        const Bytes file = flat();
        return opened(hdr("-Y 3 +X 3", Bytes(file.end() - 36, file.end()),
                          "#?RADIANCE\n" + lines + "FORMAT=32-bit_rle_rgbe\n\n"));
    };
    const Opened plain = withLines("");
    ASSERT_TRUE(plain.isLoaded) << plain.result.reason;
    EXPECT_EQ(notesOf(plain.result), "");
    struct Case {
        const char* lines;
        const char* notes;
    };
    const Case cases[] = {
        {"EXPOSURE=2.5\n", "the exposure of 2.5 was not undone;"},
        {"EXPOSURE= 2\nEXPOSURE=3\n", "the exposure of 6 was not undone;"},
        {"EXPOSURE=2\nEXPOSURE=.5\nGAMMA=1.0\n", ""},
        {"GAMMA=2.2\nEXPOSURE=4\n", "the exposure of 4 was not undone;the gamma of 2.2 was not undone;"},
        {"EXPOSURE=\nGAMMA=bright\n", ""},
    };
    for (const Case& c : cases) {
        const Opened load = withLines(c.lines);
        ASSERT_TRUE(load.isLoaded) << c.lines << load.result.reason;
        EXPECT_EQ(notesOf(load.result), c.notes);
        EXPECT_EQ(reds(*load.image), reds(*plain.image)) << c.lines;
    }
}

TEST(HdrDoor, LinesOfTheHeaderMayEndWithBlanks) {
    EXPECT_TRUE(
        opened(hdr("-Y 1 +X 1\r", {9, 9, 9, 128}, "#?RGBE\r\n# comment\r\nFORMAT=32-bit_rle_rgbe \r\n\r\n"))
            .isLoaded);
}

TEST(HdrDoor, ProbeReadsTheHeader) {
    const auto probed = [](const Bytes& file) {
        DibFileInfo info;
        EXPECT_TRUE(DibProbeMemory(file.data(), file.size(), &info));
        return info;
    };
    const DibFileInfo info = probed(packed());
    EXPECT_EQ(info.width, 8);
    EXPECT_EQ(info.height, 4);
    EXPECT_EQ(info.bitCount, 24);
    EXPECT_EQ(info.storedBits, 32);
    EXPECT_STREQ(info.compression, "rle");
    EXPECT_STREQ(probed(flat()).compression, "none");
}

// Samples that show the picture of another one.
TEST(HdrDoor, SamplesShowOnePicture) {
    const std::filesystem::path folder = testing_support::samplesFolder() / "gen/files";
    if (!std::filesystem::exists(folder / "hdr-flat-67x45.hdr")) GTEST_SKIP() << "no sample files";
    const auto sample = [&](const char* name) {
        return opened(testing_support::readFileBytes(folder / name));
    };
    const Opened flat = sample("hdr-flat-67x45.hdr");
    ASSERT_TRUE(flat.isLoaded);
    for (const char* name : {"hdr-rgbe-magic.hdr", "hdr-orient-mYpX.hdr", "hdr-orient-mYmX.hdr",
                             "hdr-orient-pYmX.hdr", "hdr-orient-pYpX.hdr", "hdr-orient-pXpY.hdr",
                             "hdr-orient-mXpY.hdr", "hdr-orient-mXmY.hdr", "hdr-swapped.hdr"}) {
        const Opened load = sample(name);
        ASSERT_TRUE(load.isLoaded) << name << load.result.reason;
        EXPECT_TRUE(testing_support::sameImage(*load.image, *flat.image)) << name;
    }
    EXPECT_TRUE(sample("hdr-oldrle-64x45.hdr").isLoaded);
    EXPECT_TRUE(sample("hdr-xyze.hdr").isLoaded);
}

}  // namespace
}  // namespace door_test
