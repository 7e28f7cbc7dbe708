#include "formats/Ilbm.h"

#include <cstring>

#include "dib/Kernels.h"
#include "tests/formats/IlbmTest.h"
#include "tests/reference/CodecReference.h"

namespace codec_test {
namespace {

using ilbm_test::chunk;

struct Bmhd {
    unsigned width = 8;
    unsigned height = 1;
    unsigned planes = 8;
    unsigned masking = 0;
    unsigned compression = 0;
};
Bytes bmhd(const Bmhd& b) {
    ByteWriter out;
    out.be16(b.width).be16(b.height).be32(0).u8(b.planes).u8(b.masking).u8(b.compression).u8(0).be16(0);
    return chunk("BMHD", out.u8(10).u8(11).be16(320).be16(200).bytes);
}

Bytes form(const std::vector<Bytes>& chunks) {
    ByteWriter out;
    out.text("ILBM");
    for (const Bytes& bytes : chunks) out.raw(bytes);
    return chunk("FORM", out.bytes);
}

Bytes picture(const Bmhd& header, const Bytes& body) { return form({bmhd(header), chunk("BODY", body)}); }

struct GoodFile {
    const char* name;
    Bytes bytes;
};
std::vector<GoodFile> goodFiles() {
    return {
        {"1 plane", picture({9, 2, 1}, {0x80, 0x80, 0x01, 0x00})},
        {"3 planes", picture({5, 1, 3}, {0x80, 0, 0x40, 0, 0x40, 0})},
        {"8 planes, packed, masked", picture({3, 2, 8, 1, 1}, {0xDD, 0xE0})},
        {"24 planes", picture({2, 1, 24}, Bytes(48, 0x80))},
        {"24 planes, packed", picture({2, 2, 24, 0, 1}, {0xC1, 0xC0, 0xE1, 0x40})},
    };
}

TEST(IlbmLoad, PlanesMakeTheDepth) {
    const auto depth = [](unsigned planes) {
        const Loaded loaded = load(LoadIFF, picture({8, 1, planes}, Bytes(2 * 24, 0)));
        return loaded.image->Header != nullptr ? int{loaded.image->Header->biBitCount} : 0;
    };
    EXPECT_EQ(depth(1), 1);
    for (const unsigned planes : {0U, 2U, 3U, 4U}) EXPECT_EQ(depth(planes), 4) << planes;
    for (const unsigned planes : {5U, 6U, 7U, 8U}) EXPECT_EQ(depth(planes), 8) << planes;
    for (const unsigned planes : {9U, 12U, 16U, 17U, 23U, 24U}) EXPECT_EQ(depth(planes), 24) << planes;
    for (const unsigned planes : {25U, 32U, 255U}) EXPECT_EQ(depth(planes), 0) << planes;
}

TEST(IlbmLoad, PixelsOfOnePlaneAreTurnedByOnePlace) {
    const Loaded first = load(LoadIFF, picture({8, 1, 1}, {0x80, 0}));
    ASSERT_TRUE(first.result);
    EXPECT_EQ(first.code, kUntouched);
    EXPECT_EQ(first.image->ScanLine(0)[0], 0x40);
    const Loaded last = load(LoadIFF, picture({16, 1, 1}, {0x01, 0x81}));
    EXPECT_EQ(last.image->ScanLine(0)[0], 0x80);
    EXPECT_EQ(last.image->ScanLine(0)[1], 0xC0);
    // Bits after the last pixel are no pixels.
    const Loaded narrow = load(LoadIFF, picture({3, 1, 1}, {0xFF, 0xFF}));
    EXPECT_EQ(narrow.image->ScanLine(0)[0], 0x70);
    EXPECT_EQ(narrow.image->ScanLine(0)[1], 0);
}

TEST(IlbmLoad, UpToFourPlanesTellZeroFromNonzero) {
    // Values 1, 6, 0, 4, 0.
    const Loaded loaded = load(LoadIFF, picture({5, 1, 3}, {0x80, 0, 0x40, 0, 0x50, 0}));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biBitCount, 4);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{0xFF, 0x0F, 0x00}));
    // Without colours the table is grey.
    EXPECT_EQ(testing_support::headerBytes(*loaded.image)[40 + 4 * 15], 255);
    EXPECT_EQ(rowBytes(*load(LoadIFF, picture({5, 1, 0}, {9})).image, 0), (Bytes{0, 0, 0}));
}

TEST(IlbmLoad, NoPlanesMakeABlankPictureOfAnySize) {
    const DibPtr old = testing_support::randomImage(9, 3, 4, 2);
    ProgressLog log;
    ASSERT_TRUE(load(LoadIFF, picture({9, 4, 0}, Bytes(8)), *old, &log));
    EXPECT_EQ(old->Header->biBitCount, 4);
    EXPECT_EQ(testing_support::pixelBytes(*old), Bytes(8 * 4, 0));
    EXPECT_EQ(log.fractions, (std::vector<float>{0.0F, 0.25F, 0.5F, 0.75F}));
    ProgressLog cancelled;
    cancelled.cancelAt = 2;
    EXPECT_EQ(load(LoadIFF, picture({9, 4, 0}, Bytes(8)), &cancelled).code, 9);
    EXPECT_EQ(cancelled.fractions.size(), 3U);
    // Nothing of it is in the file, so it costs no time either.
    const Loaded large = load(LoadIFF, picture({27652, 65280, 0}, Bytes(8)));
    ASSERT_TRUE(large.result);
    EXPECT_EQ(large.image->ScanLine(40000)[13000], 0);
}

TEST(IlbmLoad, EightPlanesAreTheValue) {
    Bytes body(16);
    for (std::size_t k = 0; k < 8; ++k)
        body[2 * k] = static_cast<unsigned char>(0x80 >> k);  // values 1, 2, 4, ...
    const Loaded loaded = load(LoadIFF, picture({8, 1, 8}, body));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1, 2, 4, 8, 16, 32, 64, 128}));
}

TEST(IlbmLoad, TwentyFourPlanesAreRedGreenBlueFromTheLowest) {
    Bytes body(48);
    body[0] = 0x80;           // plane 0: red 1
    body[2 * 9] = 0x80;       // plane 9: green 2
    body[2 * 18] = 0x80;      // plane 18: blue 4
    body[2 * 23 + 1] = 0x01;  // a fill bit
    const Loaded loaded = load(LoadIFF, picture({1, 1, 24}, body));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{4, 2, 1}));
}

TEST(IlbmLoad, RowsComeTopFirstIntoABottomUpImage) {
    Bytes body(32);
    body[0] = 0x80;
    const Loaded loaded = load(LoadIFF, picture({1, 2, 8}, body));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biHeight, 2);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1}));
    EXPECT_EQ(rowBytes(*loaded.image, 1), (Bytes{0}));
}

TEST(IlbmLoad, PacketsCrossPlanesAndRows) {
    // 2 rows of 8 planes of 2 bytes: a run over the first plane and a half, 128 as filler, literals over the
    // rest.
    ByteWriter body;
    body.u8(0xFE).u8(0x80).u8(0x80).u8(0x1C);
    for (unsigned i = 0; i < 29; ++i) body.u8(i == 13 ? 0x80 : 0);
    const Loaded loaded = load(LoadIFF, picture({1, 2, 8, 0, 1}, body.bytes));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{3}));
    EXPECT_EQ(rowBytes(*loaded.image, 1), (Bytes{1}));
}

TEST(IlbmLoad, LastPacketMustBeWhole) {
    EXPECT_TRUE(load(LoadIFF, picture({1, 1, 1, 0, 1}, {0x03, 0x80, 0, 9, 9})).result);
    const Loaded cut = load(LoadIFF, picture({1, 1, 1, 0, 1}, {0x03, 0x80, 0}));
    EXPECT_FALSE(cut.result);
    EXPECT_EQ(cut.code, 6);
}

TEST(IlbmLoad, MaskPlaneIsReadAndDropped) {
    Bytes body(2 * 9 * 2);
    body[0] = 0x80;
    body[16] = 0xFF;  // mask of the first row
    body[18 + 2] = 0x80;
    const Loaded loaded = load(LoadIFF, picture({1, 2, 8, 1}, body));
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1}));
    EXPECT_EQ(rowBytes(*loaded.image, 1), (Bytes{2}));
    // Other kinds of masks have no plane.
    EXPECT_TRUE(load(LoadIFF, picture({1, 1, 8, 2}, Bytes(16))).result);
}

TEST(IlbmLoad, Colours) {
    const Loaded loaded =
        load(LoadIFF, form({bmhd({1, 1, 8}), chunk("CMAP", {1, 2, 3, 4, 5, 6}), chunk("BODY", Bytes(16))}));
    ASSERT_TRUE(loaded.result);
    const Bytes header = testing_support::headerBytes(*loaded.image);
    EXPECT_EQ(Bytes(header.begin() + 40, header.begin() + 52), (Bytes{3, 2, 1, 0, 6, 5, 4, 0, 2, 2, 2, 0}));
    // More colours than the depth has, colours of 24-bit images, colours before the size.
    EXPECT_TRUE(
        load(LoadIFF, form({bmhd({1, 1, 2}), chunk("CMAP", Bytes(768, 1)), chunk("BODY", Bytes(4))})).result);
    EXPECT_TRUE(
        load(LoadIFF, form({bmhd({1, 1, 24}), chunk("CMAP", Bytes(768, 1)), chunk("BODY", Bytes(48))}))
            .result);
    EXPECT_TRUE(
        load(LoadIFF, form({chunk("CMAP", Bytes(6, 1)), bmhd({1, 1, 8}), chunk("BODY", Bytes(16))})).result);
}

TEST(IlbmLoad, ColorsWithoutAPictureAreThoseOfTheOneThatIsThere) {
    const DibPtr indexed = testing_support::blankImage(1, 1, 4);
    const Bytes pixels = testing_support::pixelBytes(*indexed);
    EXPECT_FALSE(load(LoadIFF, form({chunk("CMAP", {1, 2, 3, 4, 5, 6})}), *indexed));
    const Bytes header = testing_support::headerBytes(*indexed);
    EXPECT_EQ(Bytes(header.begin() + 40, header.begin() + 48), (Bytes{3, 2, 1, 0, 6, 5, 4, 0}));
    EXPECT_EQ(testing_support::pixelBytes(*indexed), pixels);

    const DibPtr deep = testing_support::randomImage(2, 2, 24, 3);
    const Bytes before = testing_support::headerBytes(*deep);
    EXPECT_FALSE(load(LoadIFF, form({chunk("CMAP", Bytes(768, 1))}), *deep));
    EXPECT_EQ(testing_support::headerBytes(*deep), before);
    // Even one with a table ignores the chunk.
    alignas(BITMAPINFOHEADER) unsigned char block[40 + 8] = {};
    std::memcpy(block, deep->Header, 40);
    deep->HeaderFree();
    deep->Header = reinterpret_cast<BITMAPINFOHEADER*>(block);
    deep->Header->biClrUsed = 2;
    EXPECT_FALSE(load(LoadIFF, form({chunk("CMAP", Bytes(6, 1))}), *deep));
    EXPECT_EQ(Bytes(block + 40, block + 48), Bytes(8, 0));

    DibStream none;
    EXPECT_FALSE(load(LoadIFF, form({chunk("CMAP", Bytes(768, 1))}), none));
    EXPECT_EQ(none.Header, nullptr);
}

TEST(IlbmLoad, ChunksOfOddLengthAreNotRoundedUp) {
    // With a fill byte after three colours the next chunk is read one byte early, and BODY is not found.
    ByteWriter padded;
    padded.raw(chunk("CMAP", Bytes(9, 1))).u8(0);
    EXPECT_FALSE(load(LoadIFF, form({bmhd({1, 1, 8}), padded.bytes, chunk("BODY", Bytes(16))})).result);
    EXPECT_TRUE(
        load(LoadIFF, form({bmhd({1, 1, 8}), chunk("CMAP", Bytes(9, 1)), chunk("BODY", Bytes(16))})).result);
}

TEST(IlbmLoad, TopLevelChunks) {
    const Bytes good = picture({1, 1, 8}, Bytes(16));
    const auto joined = [](const Bytes& a, const Bytes& b) { return ByteWriter().raw(a).raw(b).bytes; };
    // Other chunks are skipped; the length of the FORM is compared with the position in the file, so a chunk
    // in front of it cuts its end off unless bytes after the picture make up for it.
    EXPECT_FALSE(load(LoadIFF, joined(chunk("JUNK", Bytes(100)), good)).result);
    const Bytes roomy = form({bmhd({1, 1, 8}), chunk("BODY", Bytes(16)), chunk("JUNK", Bytes(100))});
    EXPECT_TRUE(load(LoadIFF, joined(chunk("JUNK", Bytes(20)), roomy)).result);
    // A FORM of another type ends the reading.
    EXPECT_FALSE(load(LoadIFF, joined(chunk("FORM", bytesOf("8SVX")), good)).result);
    EXPECT_TRUE(load(LoadIFF, joined(good, chunk("FORM", bytesOf("8SVX")))).result);
    EXPECT_TRUE(load(LoadIFF, joined(good, chunk("FORM", bytesOf("IL")))).result);
    // A picture that is broken after a good one.
    const Bytes broken = form({bmhd({1, 100, 8}), chunk("BODY", Bytes(3)), chunk("JUNK", Bytes(200))});
    const Loaded second = load(LoadIFF, joined(good, broken));
    EXPECT_FALSE(second.result);
    EXPECT_EQ(second.code, 6);
}

TEST(IlbmLoad, FormEndsEightBytesEarly) {
    // Its length is compared with positions that count from the start of the file, so a chunk without data in
    // the last eight bytes is not seen.
    const Loaded loaded = load(LoadIFF, picture({5, 1, 0}, {}));
    EXPECT_FALSE(loaded.result);
    EXPECT_EQ(loaded.code, kUntouched);
}

TEST(IlbmLoad, LengthsAreUnsigned) {
    Bytes bytes = form({bmhd({1, 1, 8}), chunk("JUNK", {}), chunk("BODY", Bytes(16))});
    for (std::size_t i = 0; i < 4; ++i) bytes[12 + 28 + 4 + i] = 0xFF;
    EXPECT_FALSE(load(LoadIFF, bytes).result);
    Bytes huge = picture({1, 1, 8}, Bytes(16));
    for (std::size_t i = 0; i < 4; ++i) huge[4 + i] = 0xFF;
    EXPECT_TRUE(load(LoadIFF, huge).result);
    // As a position of 32 bits with a sign this length with the head of its chunk is no step at all.
    for (const std::size_t chunkAt : {std::size_t{0}, std::size_t{12 + 28}}) {
        Bytes still = form({bmhd({1, 1, 8}), chunk("JUNK", {}), chunk("BODY", Bytes(16))});
        if (chunkAt == 0) still[0] = 'J';
        for (std::size_t i = 0; i < 4; ++i) still[chunkAt + 4 + i] = i < 3 ? 0xFF : 0xF8;
        EXPECT_FALSE(load(LoadIFF, still).result);
    }
}

TEST(IlbmLoad, FailureTable) {
    DibStream image;
    expectNoFile(LoadIFF, LoadIFF, image, 3);

    for (const unsigned compression : {2U, 3U, 255U}) {
        const Loaded loaded = load(LoadIFF, picture({1, 1, 8, 0, compression}, Bytes(16)));
        EXPECT_FALSE(loaded.result);
        EXPECT_EQ(loaded.code, 7);
        EXPECT_EQ(loaded.image->Header, nullptr);
    }
    EXPECT_EQ(load(LoadIFF, picture({1, 1, 8}, Bytes(15))).code, 6);
    EXPECT_EQ(load(LoadIFF, picture({1, 1, 8, 0, 1}, {0x80})).code, 6);
    EXPECT_EQ(load(LoadIFF, picture({1, 1, 8, 0, 1}, {0xF1})).code, 6);
    for (const Bytes& nothing : {Bytes{}, bytesOf("FORM"), form({}), form({bmhd({1, 1, 8})}),
                                 form({chunk("BODY", Bytes(16))}), picture({1, 1, 25}, Bytes(60))}) {
        const Loaded loaded = load(LoadIFF, nothing);
        EXPECT_FALSE(loaded.result);
        EXPECT_EQ(loaded.code, kUntouched);
    }
    EXPECT_EQ(load(LoadIFF, picture({0, 1, 8}, {})).code, 2);
    EXPECT_EQ(load(LoadIFF, picture({1, 0, 8}, {})).code, 2);
    EXPECT_EQ(load(LoadIFF, picture({65535, 65535, 24}, {})).code, 2);
}

TEST(IlbmLoad, RejectedCompressionYieldsToALaterPicture) {
    const Bytes rejected = picture({1, 1, 8, 0, 2}, Bytes(16));
    const Bytes good = form({bmhd({1, 1, 8}), chunk("BODY", Bytes(16)), chunk("JUNK", Bytes(100))});
    const Loaded loaded = load(LoadIFF, ByteWriter().raw(rejected).raw(good).bytes);
    EXPECT_TRUE(loaded.result);
    EXPECT_EQ(loaded.code, 7);
}

TEST(IlbmLoad, ALaterPictureThatCannotBeCreatedFails) {
    const Bytes good = picture({1, 1, 8}, Bytes(16));
    const Bytes impossible = form({bmhd({65535, 65535, 24}), chunk("JUNK", Bytes(200))});
    const Loaded loaded = load(LoadIFF, ByteWriter().raw(good).raw(impossible).bytes);
    EXPECT_FALSE(loaded.result);
    EXPECT_EQ(loaded.code, 2);
    EXPECT_EQ(loaded.image->Header, nullptr);

    // More planes than there are pictures for create nothing; the earlier picture stays.
    const Bytes foreign = form({bmhd({65535, 65535, 25}), chunk("JUNK", Bytes(200))});
    const Loaded kept = load(LoadIFF, ByteWriter().raw(good).raw(foreign).bytes);
    EXPECT_TRUE(kept.result);
    EXPECT_EQ(kept.image->Header->biWidth, 1);
}

TEST(IlbmLoad, EveryTruncationFails) {
    for (const GoodFile& file : goodFiles()) {
        ASSERT_TRUE(load(LoadIFF, file.bytes).result) << file.name;
        forEveryTruncation(file.bytes, [&](const Bytes& cut, std::size_t length) {
            EXPECT_FALSE(load(LoadIFF, cut).result) << file.name << " at " << length;
        });
    }
}

TEST(IlbmLoad, EveryHeaderByteAtItsExtremes) {
    for (const GoodFile& file : goodFiles()) {
        forEveryExtremeByte(file.bytes, 48, [&](const Bytes& damaged, std::size_t at, unsigned value) {
            const Loaded loaded = load(LoadIFF, damaged);
            EXPECT_TRUE(!loaded.result || loaded.image->Header != nullptr)
                << file.name << " byte " << at << " = " << value;
        });
    }
}

TEST(IlbmLoad, ProgressAndCancelAtEveryRow) {
    const Bytes file = picture({1, 4, 8}, Bytes(64));
    ProgressLog log;
    ASSERT_TRUE(load(LoadIFF, file, &log).result);
    EXPECT_EQ(log.fractions, (std::vector<float>{0.0F, 0.25F, 0.5F, 0.75F}));
    for (int row = 0; row < 4; ++row) {
        ProgressLog cancelled;
        cancelled.cancelAt = row;
        const Loaded loaded = load(LoadIFF, file, &cancelled);
        EXPECT_FALSE(loaded.result);
        EXPECT_EQ(loaded.code, 9);
        EXPECT_EQ(cancelled.fractions.size(), static_cast<std::size_t>(row) + 1);
    }
}

TEST(IlbmLoad, EveryFailingAllocation) {
    for (const GoodFile& good : goodFiles()) EXPECT_GE(failEveryAllocation(LoadIFF, good.bytes), 3);
}

TEST(IlbmLoad, EveryPlaneCountMatchesThePlainLoops) {
    testing_support::Random random(11);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (const testing_support::Size size : testing_support::kSizes) {
            for (int planes = 0; planes <= 24; ++planes) {
                const auto rowBytesOfAll = static_cast<std::size_t>((size.width + 15) / 16 * 2 * planes);
                Bytes body(rowBytesOfAll * static_cast<std::size_t>(size.height) + 1);
                for (unsigned char& byte : body) byte = static_cast<unsigned char>(random.next());
                const Loaded loaded =
                    load(LoadIFF, picture({static_cast<unsigned>(size.width),
                                           static_cast<unsigned>(size.height), static_cast<unsigned>(planes)},
                                          body));
                ASSERT_TRUE(loaded.result);
                const DibPtr expected =
                    testing_support::blankImage(size.width, size.height, loaded.image->Header->biBitCount);
                for (int y = 0; y < size.height; ++y) {
                    const unsigned char* row = body.data() + static_cast<std::size_t>(y) * rowBytesOfAll;
                    reference::storeIlbmRow(row, planes, *expected, y);
                    ASSERT_EQ(rowBytes(*loaded.image, y), rowBytes(*expected, y))
                        << planes << " planes, row " << y;
                }
            }
        }
    }
}

}  // namespace
}  // namespace codec_test
