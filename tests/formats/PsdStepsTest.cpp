// The steps of a load one by one: what they consume, and what only other callers than the loader itself ask
// for.
#include <cstdlib>

#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

// Runs steps on bytes that follow a good header, from the callback of the colour-mode data.
struct Steps {
    const std::function<void(DibPSDLoader&)>& act;
    DibPSDLoader* loader;
    int calls = 0;

    static bool callback(float, void* user) {
        auto& steps = *static_cast<Steps*>(user);
        if (++steps.calls != 2) return true;
        steps.act(*steps.loader);
        return false;
    }
};

std::string runSteps(const Bytes& bytes, const std::function<void(DibPSDLoader&)>& act, int mode = 3,
                     int depth = 8) {
    ByteWriter file;
    file.text("8BPS").be16(1).fill(6).be16(3).be32(1).be32(1);
    file.be16(static_cast<unsigned>(depth)).be16(static_cast<unsigned>(mode)).raw(bytes);
    DibPSDLoader loader;
    Steps steps{act, &loader};
    loader.SetCallback(Steps::callback, &steps);
    std::FILE* log = testing_support::openText();
    loader.SetLog(log);
    EXPECT_FALSE(loader.Load(testing_support::openBytes(file.bytes).get()));
    EXPECT_GE(steps.calls, 2);
    loader.SetLog(nullptr);
    return afterHeader(testing_support::closeText(log));
}

// The next byte of the file; -1 at its end.
int nextByte(DibPSDLoader& loader) {
    unsigned char byte = 0;
    return loader.Read(&byte, 1) ? byte : -1;
}

struct Text {
    bool read = false;
    std::string text;
    int next = 0;
};
Text readText(const Bytes& bytes, int unit) {
    Text result;
    runSteps(bytes, [&](DibPSDLoader& loader) {
        char* text = nullptr;
        result.read = loader.ReadPString(text, unit);
        if (text != nullptr) result.text = text;
        std::free(text);
        result.next = nextByte(loader);
    });
    return result;
}

TEST(PsdSteps, TextsArePaddedToTheirUnit) {
    const auto consumes = [](const Bytes& bytes, int unit, const std::string& text, int next) {
        const Text result = readText(bytes, unit);
        EXPECT_TRUE(result.read);
        EXPECT_EQ(result.text, text);
        EXPECT_EQ(result.next, next);
    };
    consumes({0, 1, 2, 3, 4}, 4, "", 4);
    consumes({3, 'a', 'b', 'c', 5}, 4, "abc", 5);
    consumes({4, 'a', 'b', 'c', 'd', 1, 2, 3, 6}, 4, "abcd", 6);
    consumes({7, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 7}, 4, "abcdefg", 7);
    consumes({0, 1, 8}, 2, "", 8);
    consumes({1, 'a', 9}, 2, "a", 9);
    consumes({2, 'a', 'b', 1, 10}, 2, "ab", 10);
    // The end of the file inside the text, and before it.
    for (const Bytes& cut :
         {Bytes{}, Bytes{0, 1, 2}, Bytes{4, 'a', 'b', 'c'}, Bytes{4, 'a', 'b', 'c', 'd', 1}})
        EXPECT_FALSE(readText(cut, 4).read) << cut.size();
}

TEST(PsdSteps, ReadingNothingSucceeds) {
    runSteps({1, 2, 3}, [](DibPSDLoader& loader) {
        unsigned char bytes[4] = {};
        EXPECT_TRUE(loader.Read(bytes, 0));
        EXPECT_TRUE(loader.Read(bytes, -5));
        EXPECT_TRUE(loader.Read(bytes, 2));
        EXPECT_EQ(bytes[1], 2);
        EXPECT_FALSE(loader.Read(bytes, 2));
    });
}

TEST(PsdSteps, FailOutsideALoad) {
    DibPSDLoader loader;
    const auto check = [&] {
        EXPECT_FALSE(loader.LoadHeader());
        EXPECT_FALSE(loader.LoadColorModeData());
        EXPECT_FALSE(loader.LoadImageResource());
        EXPECT_FALSE(loader.LoadLayerMaskInfo());
        EXPECT_FALSE(loader.LoadImageData(nullptr, nullptr, {}));
        unsigned char bytes[4] = {};
        EXPECT_TRUE(loader.Read(bytes, 0));
        EXPECT_FALSE(loader.Read(bytes, 1));
        char* text = nullptr;
        EXPECT_FALSE(loader.ReadPString(text, 2));
        EXPECT_EQ(text, nullptr);
        EXPECT_FALSE(loader.DecodeRLE(bytes, 1, 2));
        EXPECT_TRUE(loader.DoCallback());
        ProgressLog progress;
        loader.SetCallback(ProgressLog::callback, &progress);
        EXPECT_TRUE(loader.DoCallback());
        EXPECT_EQ(progress.fractions, std::vector<float>{0});
        loader.SetCallback(nullptr, nullptr);
    };
    check();
    EXPECT_TRUE(loader.Load(testing_support::openBytes(PsdDocument().bytes()).get()));
    check();
}

TEST(PsdSteps, PackBitsRowsConsumeWhatTheyUnpack) {
    const std::string log =
        runSteps({0x80, 1, 7, 8, 0xFF, 9, 55, 0, 4, 2, 1, 2, 3, 66}, [](DibPSDLoader& loader) {
            unsigned char row[4] = {};
            EXPECT_TRUE(loader.DecodeRLE(row, 4, 6));
            EXPECT_EQ(Bytes(row, row + 4), (Bytes{7, 8, 9, 9}));
            EXPECT_EQ(nextByte(loader), 55);
            EXPECT_FALSE(loader.DecodeRLE(row, 1, 3));
            EXPECT_FALSE(loader.DecodeRLE(row, 2, 4));
            EXPECT_EQ(nextByte(loader), 66);
            EXPECT_FALSE(loader.DecodeRLE(row, -5, 0));
            EXPECT_FALSE(loader.DecodeRLE(row, 0, -3));
            EXPECT_TRUE(loader.DecodeRLE(row, 0, 0));
        });
    EXPECT_EQ(log,
              "invalid posotion 2/3\ninvalid load bytes 3/2\n"
              "invalid load bytes 0/-5\ninvalid posotion 0/-3\n");
}

TEST(PsdSteps, PlanesWithoutAnImageAreRead) {
    runSteps({0, 0, 77, 0, 1, 88, 0, 2}, [](DibPSDLoader& loader) {
        EXPECT_TRUE(loader.LoadImageData(nullptr, nullptr, {PSD_CHANNEL_RED, PSD_CHANNEL_GREEN}));
        EXPECT_EQ(nextByte(loader), 77);
        EXPECT_TRUE(loader.LoadImageData(nullptr, nullptr, {PSD_CHANNEL_RED}));
        EXPECT_EQ(nextByte(loader), 88);
        EXPECT_FALSE(loader.LoadImageData(nullptr, nullptr, {PSD_CHANNEL_RED}));
        EXPECT_FALSE(loader.LoadImageData(nullptr, nullptr, {}));
    });
}

TEST(PsdSteps, MasksGoToTheListOrNowhere) {
    const Bytes planes = {0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 99};
    for (const bool listed : {false, true}) {
        const long live = testing_support::liveAllocations();
        runSteps(planes, [&](DibPSDLoader& loader) {
            const DibPtr image = testing_support::blankImage(2, -2, 24);
            std::vector<DibStream*> extra;
            EXPECT_TRUE(loader.LoadImageData(image.get(), listed ? &extra : nullptr,
                                             {PSD_CHANNEL_MASK, PSD_CHANNEL_GREEN}));
            EXPECT_EQ(nextByte(loader), 99);
            EXPECT_EQ(codec_test::rowBytes(*image, 0), (Bytes{0, 5, 0, 0, 6, 0}));
            EXPECT_EQ(codec_test::rowBytes(*image, 1), (Bytes{0, 7, 0, 0, 8, 0}));
            ASSERT_EQ(extra.size(), listed ? 1U : 0U);
            if (!listed) return;
            EXPECT_EQ(extra[0]->RefCount, 1U);
            EXPECT_EQ(extra[0]->Header->biBitCount, 8);
            EXPECT_EQ(extra[0]->Header->biHeight, 2);
            EXPECT_EQ(codec_test::rowBytes(*extra[0], 0), (Bytes{1, 2}));
            EXPECT_EQ(codec_test::rowBytes(*extra[0], 1), (Bytes{3, 4}));
            extra[0]->Release();
        });
        EXPECT_EQ(testing_support::liveAllocations(), live);
    }
}

TEST(PsdSteps, OtherChannelsAreReadAndDropped) {
    for (const int id : {-32768, -3, 3, 25}) {
        runSteps({0, 0, 1, 2, 99}, [&](DibPSDLoader& loader) {
            const DibPtr image = testing_support::blankImage(2, 1, 32);
            EXPECT_TRUE(loader.LoadImageData(image.get(), nullptr, {static_cast<PSD_CHANNEL_ID>(id)}));
            EXPECT_EQ(testing_support::pixelBytes(*image), Bytes(8, 0)) << id;
            EXPECT_EQ(nextByte(loader), 99);
        });
    }
}

TEST(PsdSteps, ShallowImagesTakeTheChannelsTheyHaveRoomFor) {
    runSteps({0, 0, 1, 2, 3, 4}, [](DibPSDLoader& loader) {
        const DibPtr image = testing_support::blankImage(1, 1, 24);
        EXPECT_TRUE(loader.LoadImageData(
            image.get(), nullptr,
            {PSD_CHANNEL_RED, PSD_CHANNEL_GREEN, PSD_CHANNEL_BLUE, PSD_CHANNEL_TRANSPARENCY}));
        EXPECT_EQ(codec_test::rowBytes(*image, 0), (Bytes{3, 2, 1}));
    });
    // An image of 16 bits has no bytes for channels: its first row fails.
    runSteps({0, 0, 1, 2}, [](DibPSDLoader& loader) {
        const DibPtr image = testing_support::blankImage(1, 2, 16);
        EXPECT_FALSE(loader.LoadImageData(image.get(), nullptr, {PSD_CHANNEL_RED}));
        EXPECT_EQ(image->ErrorCode, 0);
        EXPECT_EQ(nextByte(loader), 2);
    });
}

TEST(PsdSteps, CompressionIsJudgedBeforeAnythingElse) {
    runSteps({0, 2, 1, 0, 0}, [](DibPSDLoader& loader) {
        const DibPtr image = testing_support::blankImage(1, 1, 24);
        EXPECT_FALSE(loader.LoadImageData(image.get(), nullptr, {}));
        EXPECT_EQ(image->ErrorCode, 6);
        image->ErrorCode = 0;
        EXPECT_FALSE(loader.LoadImageData(image.get(), nullptr, {PSD_CHANNEL_RED}));
        EXPECT_EQ(image->ErrorCode, 6);
        image->ErrorCode = 0;
        EXPECT_FALSE(loader.LoadImageData(image.get(), nullptr, {PSD_CHANNEL_RED}));
        EXPECT_EQ(image->ErrorCode, 6);  // half a word
    });
}

// The section lengths of a file whose layer record is all there is.
Bytes layerFile(const Bytes& record) {
    PsdDocument document;
    document.layerSection =
        ByteWriter().be32(static_cast<unsigned>(record.size() + 2)).be16(1).raw(record).bytes;
    return document.bytes();
}

ByteWriter recordStart(unsigned channels) {
    ByteWriter record;
    record.fill(16).be16(channels);
    for (unsigned i = 0; i < channels; ++i) record.be16(i).be32(0);
    return record.text("8BIMnorm").fill(4);
}

TEST(PsdSteps, MaskAndRangeLengthsPlaceWhatFollows) {
    // A mask of 4 bytes: its other fields are read from what follows, which is then read again.
    ByteWriter shortMask = recordStart(0);
    shortMask.be32(16).be32(4).be32(0xFFFFFFFE).be32(0).u8(2).text("ab").u8(0);
    Load load(layerFile(shortMask.bytes), true);
    ASSERT_TRUE(load.result);
    const PSDLayerInfo* layer = load.loader.GetLayerInfo(0);
    EXPECT_TRUE(layer->hasMask);
    EXPECT_EQ(layer->maskTop, -2);
    EXPECT_EQ(layer->maskLeft, 0);
    EXPECT_EQ(layer->maskBottom, 0x02616200);
    EXPECT_STREQ(layer->name, "ab");

    // Ranges longer and shorter than the channels need.
    for (const unsigned length : {8U, 16U, 21U}) {
        ByteWriter ranges = recordStart(1);
        ranges.be32(8 + length + 4).be32(0).be32(length).be16(1).be16(2).be16(3).be16(4);
        for (unsigned i = 8; i < length; ++i) ranges.u8(i);
        ranges.u8(3).text("abc");
        Load ranged(layerFile(ranges.fill(16).bytes), true);
        ASSERT_TRUE(ranged.result) << length;
        layer = ranged.loader.GetLayerInfo(0);
        EXPECT_EQ(layer->grayBlendRange.sourceLow, 1);
        EXPECT_EQ(layer->grayBlendRange.destinationHigh, 4);
        ASSERT_EQ(layer->channelBlendRanges.size(), 1U);
        EXPECT_EQ(layer->channelBlendRanges[0].sourceLow, length == 8 ? 0x0361 : 0x0809);
        EXPECT_STREQ(layer->name, "abc");
    }
}

TEST(PsdSteps, FieldsBehindTheEndOfTheFileKeepTheirValues) {
    // Two channels, then ranges of 24 bytes of which the file holds only the first.
    ByteWriter record = recordStart(2);
    record.be32(100).be32(0).be32(24);
    for (unsigned value = 1; value <= 12; ++value) record.be16(100 * value);
    const Bytes whole = layerFile(record.bytes);
    const std::size_t ranges = 26 + 4 + 4 + 4 + 4 + 2 + record.bytes.size() - 24;
    const auto cutAfter = [&](std::size_t bytes) {
        return Load(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(ranges + bytes)), true);
    };
    const auto values = [](const PSDLayerInfo::BLEND_RANGE& range) {
        return std::vector<int>{range.sourceLow, range.sourceHigh, range.destinationLow,
                                range.destinationHigh};
    };
    const std::vector<int> untouched = {0, 65535, 0, 65535};
    for (std::size_t bytes = 0; bytes <= 24; ++bytes) {
        const Load load = cutAfter(bytes);
        EXPECT_FALSE(load.result);
        const PSDLayerInfo* layer = load.loader.GetLayerInfo(0);
        std::vector<int> read = values(layer->grayBlendRange);
        ASSERT_EQ(layer->channelBlendRanges.size(), 2U);
        for (const auto& range : layer->channelBlendRanges)
            for (const int value : values(range)) read.push_back(value);
        for (std::size_t i = 0; i < 12; ++i) {
            const int expected = 2 * i + 2 <= bytes ? 100 * (static_cast<int>(i) + 1) : untouched[i % 4];
            EXPECT_EQ(read[i], expected) << i << " cut after " << bytes;
        }
    }
    EXPECT_NE(cutAfter(11).log.find("Layer[0].GrayBlendDest: 300, 400\n"
                                    "Layer[0].Channel[0].BlendSource: 500, 65535\n"
                                    "Layer[0].Channel[0].BlendDest: 0, 65535\n"
                                    "Layer[0].Channel[1].BlendSource: 0, 65535\n"),
              std::string::npos);
    // Without their length there are no ranges; half a field counts as none of it.
    const Load noRanges(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(ranges - 4)), true);
    EXPECT_TRUE(noRanges.loader.GetLayerInfo(0)->channelBlendRanges.empty());
    EXPECT_EQ(values(noRanges.loader.GetLayerInfo(0)->grayBlendRange), untouched);
    const Bytes withTop = layerFile(Bytes(2, 0x12));
    const Load halfTop(Bytes(withTop.begin(), withTop.begin() + 26 + 4 + 4 + 4 + 4 + 2 + 2), true);
    EXPECT_EQ(halfTop.loader.GetLayerInfo(0)->top, 0);
}

TEST(PsdSteps, MaskRectanglesWhoseDifferenceIsNoInt) {
    PsdDocument document;
    PsdLayer& layer = document.addLayer({0, 0, 1, 1}, {0});
    layer.channels.push_back({-2, {}});
    const auto loads = [&](const PsdRectangle& mask) {
        layer.mask = mask;
        // The mask's data is 2 bytes long in the record, whatever the rectangle says.
        PsdDocument written = document;
        written.layers[0].mask = PsdRectangle{};
        Bytes bytes = written.bytes();
        ByteWriter edges;
        for (const int edge : {mask.top, mask.left, mask.bottom, mask.right})
            edges.be32(static_cast<unsigned>(edge));
        // 18 bytes after the record's rectangle, two channels, signatures, flags and two lengths.
        const std::size_t at = 26 + 4 + 4 + 4 + 4 + 2 + 16 + 2 + 2 * 6 + 8 + 4 + 4 + 4;
        std::copy(edges.bytes.begin(), edges.bytes.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
        Load load(bytes, true, true);
        EXPECT_EQ(load.code, kUntouched);
        EXPECT_EQ(load.loader.GetLayerInfo(0)->maskRight, mask.right);
        return load.result;
    };
    EXPECT_FALSE(loads({INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}));
    EXPECT_FALSE(loads({0, INT32_MIN, 1, INT32_MAX}));
    EXPECT_FALSE(loads({0, 0, 60000, 60000}));
    EXPECT_TRUE(loads({INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN}));
    EXPECT_TRUE(loads({0, INT32_MAX, 1, INT32_MIN}));
}

TEST(PsdSteps, LoadPSDMayBeCalledAgainAndAgain) {
    PsdDocument small;
    small.width = 2;
    small.height = 1;
    small.imageData = Bytes{0, 0, 1, 2, 3, 4, 5, 6};
    const Bytes good = small.bytes();
    const codec_test::TemporaryFile whole(".psd", good);
    const codec_test::TemporaryFile cut(".psd", Bytes(good.begin(), good.end() - 3));
    const codec_test::TemporaryFile foreign(".psd", codec_test::bytesOf("8BPX"));
    const long live = testing_support::liveAllocations();
    {
        DibPtr image(new DibStream);
        for (int round = 0; round < 2; ++round) {
            EXPECT_TRUE(LoadPSD(whole.path(), image.get(), nullptr, nullptr));
            EXPECT_EQ(codec_test::rowBytes(*image, 0), (Bytes{5, 3, 1, 6, 4, 2}));
            EXPECT_FALSE(LoadPSD(foreign.path(), image.get(), nullptr, nullptr));
            EXPECT_EQ(image->ErrorCode, 6);
            EXPECT_EQ(codec_test::rowBytes(*image, 0), (Bytes{5, 3, 1, 6, 4, 2}));
            image->ErrorCode = kUntouched;
            EXPECT_FALSE(LoadPSD(cut.path(), image.get(), nullptr, nullptr));
            EXPECT_EQ(image->ErrorCode, kUntouched);
            EXPECT_EQ(codec_test::rowBytes(*image, 0), (Bytes{255, 255, 1, 255, 255, 2}));
            EXPECT_EQ(image->RefCount, 1U);
        }
    }
    EXPECT_EQ(testing_support::liveAllocations(), live);
}

}  // namespace
}  // namespace psd_test
