// How much work lies between two calls of the callback, so that a cancelled call ends soon.

#include <algorithm>
#include <cstring>

#include "tests/formats/DoorTest.h"
#include "tests/formats/PsdTest.h"

namespace door_test {
namespace {

using testing_support::randomImage;

struct Shape {
    int width;
    int height;
    int depth;
};
constexpr Shape kShapes[] = {{40, 3000, 1},  {40, 3000, 8},  {40, 3000, 24},  {40, 3000, 32},
                             {3000, 200, 1}, {3000, 200, 8}, {3000, 200, 24}, {3000, 200, 32}};

// At most 64 rows and 256 KiB lie between two calls; the last 1 % is for what follows the rows.
void expectShortSteps(const std::vector<float>& fractions, const Shape& shape) {
    ASSERT_FALSE(fractions.empty());
    const int rows = std::clamp(256 * 1024 * 8 / (shape.width * shape.depth), 1, 64);
    const double most = std::max(0.99 * rows / shape.height, 0.01) + 1e-5;
    EXPECT_EQ(fractions.front(), 0.F);
    EXPECT_EQ(fractions.back(), 1.F);
    for (std::size_t i = 1; i < fractions.size(); ++i) {
        ASSERT_GE(fractions[i], fractions[i - 1]);
        ASSERT_LE(fractions[i] - fractions[i - 1], most) << "call " << i;
    }
}

void expectShortLoad(const Bytes& bytes, const Shape& shape, const DibLoadOptions& options = {}) {
    ProgressLog log;
    DibStream image;
    DibFileResult result;
    ASSERT_TRUE(
        DibLoadMemory(bytes.data(), bytes.size(), &image, &options, &result, ProgressLog::callback, &log))
        << result.reason;
    expectShortSteps(log.fractions, shape);
}

TEST(DoorSteps, AreShortForEveryFormat) {
    for (const Shape& shape : kShapes) {
        const DibPtr image = randomImage(shape.width, shape.height, shape.depth, 5);
        for (const DibFormat* format : writableFormats()) {
            SCOPED_TRACE(testing::Message()
                         << format->name << ' ' << shape.width << 'x' << shape.height << ' ' << shape.depth);
            DibSaveOptions options;
            options.format = format->name;
            options.compressionLevel = 1;
            DibBytes saved;
            ProgressLog log;
            ASSERT_TRUE(DibSaveMemory(&saved, image.get(), &options, nullptr, ProgressLog::callback, &log));
            expectShortSteps(log.fractions, shape);
            const Bytes bytes(saved.data, saved.data + saved.size);
            expectShortLoad(bytes, shape, named(format->name));
        }
    }
}

// Documents cannot be saved.
TEST(DoorSteps, AreShortForDocuments) {
    for (const Shape& shape : {Shape{40, 3000, 8}, Shape{3000, 200, 8}}) {
        Bytes pixels(2, 0);  // not packed
        pixels.resize(2 + static_cast<std::size_t>(shape.width) * static_cast<std::size_t>(shape.height));
        expectShortLoad(psd_test::document(1, 8, 1, shape.width, shape.height, pixels).bytes(), shape);
    }
}

// A picture of 1 MiB that comes in pieces of any size.
struct Slow {
    Bytes bytes = codec_test::bytesOf("P5\n1024 1024\n255\n");
    std::size_t at = 0;

    Slow() { bytes.resize(bytes.size() + 1024 * 1024, 7); }
    static std::size_t read(void* context, void* out, std::size_t count) {
        auto& slow = *static_cast<Slow*>(context);
        const std::size_t part = std::min(count, slow.bytes.size() - slow.at);
        std::memcpy(out, slow.bytes.data() + slow.at, part);
        slow.at += part;
        return part;
    }
};

TEST(DoorSteps, StreamsCanBeCancelledWhileTheyCome) {
    for (int call = 0; call < 60; ++call) {
        Slow slow;
        ProgressLog log;
        log.cancelAt = call;
        DibStream image;
        DibFileResult result;
        EXPECT_FALSE(DibLoadStream(DibReader{Slow::read, &slow}, &image, nullptr, &result,
                                   ProgressLog::callback, &log));
        EXPECT_EQ(result.code, 9);
        EXPECT_STREQ(result.reason, "cancelled");
        EXPECT_EQ(image.Header, nullptr);
        EXPECT_EQ(slow.at, static_cast<std::size_t>(call) * 16384);
        EXPECT_EQ(log.fractions, std::vector<float>(static_cast<std::size_t>(call) + 1, 0.F));
    }
    Slow slow;
    ProgressLog log;
    DibStream image;
    ASSERT_TRUE(
        DibLoadStream(DibReader{Slow::read, &slow}, &image, nullptr, nullptr, ProgressLog::callback, &log));
    EXPECT_EQ(log.fractions.front(), 0.F);
    EXPECT_EQ(log.fractions.back(), 1.F);
    EXPECT_TRUE(std::is_sorted(log.fractions.begin(), log.fractions.end()));
}

// More would come: waiting for it would last forever.
TEST(DoorSteps, PipesCanBeCancelledBeforeTheyEnd) {
    int ends[2];
    ASSERT_TRUE(testing_support::makePipe(ends));
    const Slow slow;
    ASSERT_TRUE(testing_support::writeAll(ends[1], slow.bytes.data(), 20000));
    const dib::FilePtr file(testing_support::openDescriptor(ends[0], "rb"));
    ProgressLog log;
    log.cancelAt = 1;
    DibStream image;
    DibFileResult result;
    EXPECT_FALSE(DibLoadStream(file.get(), &image, nullptr, &result, ProgressLog::callback, &log));
    EXPECT_EQ(result.code, 9);
    EXPECT_EQ(log.fractions.size(), 2U);
    testing_support::closeDescriptor(ends[1]);
}

}  // namespace
}  // namespace door_test
