// Random blocks of every kind against another decoder, where Python's imaging library is installed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "plugins/dds/Reader.h"
#include "tests/formats/CodecTest.h"
#include "tests/plugins/DdsFile.h"

namespace {

using codec_test::TemporaryFile;
using dds_test::Bytes;
using dds_test::Format;
using dds_test::named;
using dds_test::numbered;

// Writes what it reads as red, green, blue, alpha.
constexpr const char* kScript =
    "import sys\n"
    "from PIL import Image\n"
    "open(sys.argv[2], 'wb').write(Image.open(sys.argv[1]).convert('RGBA').tobytes())\n";

// The interpreter that has the library, which need not be the first in the path; null when there is none.
const char* interpreter() {
    for (const char* name : {"python3", "/usr/bin/python3"}) {
        const std::string command =
            std::string(name) + " -c 'from PIL import DdsImagePlugin' >/dev/null 2>&1";
        if (std::system(command.c_str()) == 0) return name;
    }
    return nullptr;
}

// What the other decoder sees; empty when it cannot read the file.
Bytes seenByOthers(const Bytes& bytes) {
    const TemporaryFile input(".dds", bytes);
    const TemporaryFile output(".raw");
    const TemporaryFile script(".py", codec_test::bytesOf(kScript));
    const std::string command = std::string(interpreter()) + " '" + script.path() + "' '" + input.path() +
                                "' '" + output.path() + "' 2>/dev/null";
    return std::system(command.c_str()) == 0 ? output.bytes() : Bytes();
}

Bytes seenByUs(const Bytes& bytes, std::size_t side) {
    const dib::FilePtr file = testing_support::openBytes(bytes);
    plugins::Picture picture;
    if (!plugins::dds::read(file.get(), picture, nullptr, nullptr)) return {};
    Bytes all;
    for (std::size_t y = 0; y < side; ++y) {
        const unsigned char* pixel = picture.row(y);
        for (std::size_t x = 0; x < side; ++x) {
            if (picture.header().biBitCount == 8) {
                all.insert(all.end(), {*pixel, *pixel, *pixel, 255});
                ++pixel;
            } else {
                all.insert(all.end(), {pixel[2], pixel[1], pixel[0], pixel[3]});
                pixel += 4;
            }
        }
    }
    return all;
}

constexpr std::size_t kSide = 256;  // 4096 blocks

Bytes randomBlocks(std::size_t blockBytes) {
    std::mt19937 random(7);
    Bytes blocks(kSide / 4 * (kSide / 4) * blockBytes);
    for (unsigned char& byte : blocks) byte = static_cast<unsigned char>(random());
    return blocks;
}

TEST(DdsExchangeTest, RandomBlocksLookTheSame) {
    if (interpreter() == nullptr) GTEST_SKIP() << "no other decoder is installed";
    struct Case {
        const char* name;
        Format format;
        std::size_t blockBytes;
    };
    for (const Case& c :
         {Case{"BC1", named("DXT1"), 8}, Case{"BC2", named("DXT3"), 16}, Case{"BC3", named("DXT5"), 16},
          Case{"BC5", numbered(83), 16}, Case{"BC7", numbered(98), 16}}) {
        Bytes blocks = randomBlocks(c.blockBytes);
        // Every mode as often as the others. Decoders differ over the alpha of a block without one.
        for (std::size_t i = 0; c.format.number == 98 && i < blocks.size(); i += 16) {
            const std::size_t mode = i / 16 % 8;
            blocks[i] = static_cast<unsigned char>((blocks[i] | 1) << mode);
        }
        const Bytes bytes = dds_test::file(kSide, kSide, c.format, blocks);
        const Bytes theirs = seenByOthers(bytes);
        const Bytes ours = seenByUs(bytes, kSide);
        ASSERT_EQ(ours.size(), kSide * kSide * 4);
        ASSERT_EQ(theirs.size(), ours.size()) << c.name;
        std::size_t different = 0;
        for (std::size_t i = 0; i < ours.size(); ++i) different += ours[i] != theirs[i] ? 1 : 0;
        EXPECT_EQ(different, 0U) << c.name;
    }
}

}  // namespace
