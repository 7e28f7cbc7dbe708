// Random blocks of every kind against other decoders, where they are installed: Python's imaging library, and
// a graphics driver that runs without a screen.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>

#include "plugins/dds/Blocks.h"
#include "plugins/dds/Reader.h"
#include "tests/formats/CodecTest.h"
#include "tests/plugins/DdsFile.h"

namespace {

using codec_test::TemporaryFile;
using dds_test::Bytes;
using dds_test::Format;
using dds_test::named;
using dds_test::numbered;

// Writes the pixels of the file that is named first into the second, as red, green, blue, alpha.
constexpr const char* kPictures =
    "import sys\n"
    "from PIL import Image, DdsImagePlugin\n"
    "if len(sys.argv) > 1:\n"
    "    open(sys.argv[2], 'wb').write(Image.open(sys.argv[1]).convert('RGBA').tobytes())\n";

// Writes the blocks in the file that is named first as texels of four floats, as a graphics driver sees them:
// the third argument is the driver's number of their format, the last the side of the square.
constexpr const char* kTextures = R"(
import ctypes, sys
gl = ctypes.CDLL('libOSMesa.so.8')
gl.OSMesaCreateContextExt.restype = ctypes.c_void_p
context = ctypes.c_void_p(gl.OSMesaCreateContextExt(0x1908, 0, 0, 0, None))
assert gl.OSMesaMakeCurrent(context, ctypes.create_string_buffer(4), 0x1401, 1, 1)
if len(sys.argv) > 1:
    blocks = open(sys.argv[1], 'rb').read()
    side = int(sys.argv[4])
    gl.glCompressedTexImage2D(0x0DE1, 0, int(sys.argv[3]), side, side, 0, len(blocks), blocks)
    texels = (ctypes.c_float * (side * side * 4))()
    gl.glGetTexImage(0x0DE1, 0, 0x1908, 0x1406, texels)
    assert gl.glGetError() == 0
    open(sys.argv[2], 'wb').write(bytes(texels))
)";

// A script of Python's, which needs a library. The interpreter that has it need not be the first in the path.
class OtherDecoder {
public:
    explicit OtherDecoder(const char* script) : script_(".py", codec_test::bytesOf(script)) {
        for (const char* name : {"python3", "/usr/bin/python3"}) {
            if (interpreter_.empty() && run(name, "")) interpreter_ = name;
        }
    }
    bool isInstalled() const { return !interpreter_.empty(); }

    // What it writes for a file of these bytes; empty when it fails.
    Bytes see(const Bytes& bytes, const std::string& arguments = "") const {
        const TemporaryFile input(".dds", bytes);
        const TemporaryFile output(".raw");
        const std::string paths = std::string(" ") + input.path() + " " + output.path() + " ";
        return run(interpreter_, paths + arguments) ? output.bytes() : Bytes();
    }

private:
    bool run(const std::string& interpreter, const std::string& arguments) const {
        const std::string command =
            interpreter + " '" + script_.path() + "' " + arguments + " >/dev/null 2>&1";
        return std::system(command.c_str()) == 0;
    }
    TemporaryFile script_;
    std::string interpreter_;
};

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
    const OtherDecoder other(kPictures);
    if (!other.isInstalled()) GTEST_SKIP() << "no other decoder is installed";
    struct Case {
        const char* name;
        Format format;
        std::size_t blockBytes;
    };
    for (const Case& c :
         {Case{"BC1", named("DXT1"), 8}, Case{"BC2", named("DXT3"), 16}, Case{"BC3", named("DXT5"), 16},
          Case{"BC4", named("ATI1"), 8}, Case{"BC5", numbered(83), 16}, Case{"BC7", numbered(98), 16}}) {
        Bytes blocks = randomBlocks(c.blockBytes);
        // Every mode as often as the others. Decoders differ over the alpha of a block without one.
        for (std::size_t i = 0; c.format.number == 98 && i < blocks.size(); i += 16) {
            const std::size_t mode = i / 16 % 8;
            blocks[i] = static_cast<unsigned char>((blocks[i] | 1) << mode);
        }
        const Bytes bytes = dds_test::file(kSide, kSide, c.format, blocks);
        const Bytes theirs = other.see(bytes);
        const Bytes ours = seenByUs(bytes, kSide);
        ASSERT_EQ(ours.size(), kSide * kSide * 4);
        ASSERT_EQ(theirs.size(), ours.size()) << c.name;
        std::size_t different = 0;
        for (std::size_t i = 0; i < ours.size(); ++i) different += ours[i] != theirs[i] ? 1 : 0;
        EXPECT_EQ(different, 0U) << c.name;
    }
}

// A driver's textures: red, green, blue and alpha of each texel.
using Texels = std::vector<std::array<float, 4>>;

Texels seenByDriver(const OtherDecoder& driver, const Bytes& blocks, int driversNumber) {
    const Bytes bytes = driver.see(blocks, std::to_string(driversNumber) + " " + std::to_string(kSide));
    Texels texels(bytes.size() / sizeof(Texels::value_type));
    if (!texels.empty()) std::memcpy(texels.data(), bytes.data(), texels.size() * sizeof(Texels::value_type));
    return texels;
}

// The driver interpolates in signed bytes, up to two off, and takes -128 for a number of its own rather than
// for -127.
TEST(DdsExchangeTest, SignedBlocksLookNearlyTheSame) {
    const OtherDecoder driver(kTextures);
    if (!driver.isInstalled()) GTEST_SKIP() << "no other decoder is installed";
    Bytes blocks = randomBlocks(16);
    std::replace(blocks.begin(), blocks.end(), Bytes::value_type{0x80}, Bytes::value_type{0x81});
    const Bytes ours = seenByUs(dds_test::file(kSide, kSide, numbered(84), blocks), kSide);
    const Texels theirs = seenByDriver(driver, blocks, 0x8DBE);
    ASSERT_EQ(ours.size(), kSide * kSide * 4);
    ASSERT_EQ(theirs.size(), kSide * kSide);
    for (std::size_t i = 0; i < theirs.size(); ++i) {
        for (std::size_t channel = 0; channel < 2; ++channel) {
            ASSERT_NEAR(ours[i * 4 + channel], (theirs[i][channel] + 1) * 127.5F, 2.51F)
                << i << " " << channel;
        }
    }
}

// Every half of every mode, with and without signs.
TEST(DdsExchangeTest, RandomBlocksOfHalvesAreTheSame) {
    const OtherDecoder driver(kTextures);
    if (!driver.isInstalled()) GTEST_SKIP() << "no other decoder is installed";
    constexpr unsigned kModes[] = {0, 1, 2, 6, 10, 14, 18, 22, 26, 30, 3, 7, 11, 15, 19, 23, 27, 31};
    Bytes blocks = randomBlocks(16);
    for (std::size_t i = 0; i < blocks.size(); i += 16) {
        const unsigned mode = kModes[i / 16 % std::size(kModes)];
        blocks[i] = static_cast<unsigned char>((blocks[i] & (mode < 2 ? ~3U : ~31U)) | mode);
    }
    for (const bool isSigned : {false, true}) {
        const Texels theirs = seenByDriver(driver, blocks, isSigned ? 0x8E8E : 0x8E8F);
        ASSERT_EQ(theirs.size(), kSide * kSide);
        for (std::size_t block = 0; block < blocks.size() / 16; ++block) {
            plugins::dds::FloatBlock ours;
            plugins::dds::decodeBc6Samples(blocks.data() + block * 16, isSigned, ours);
            for (std::size_t i = 0; i < ours.size(); ++i) {
                const std::size_t x = block % (kSide / 4) * 4 + i % 4;
                const std::size_t y = block / (kSide / 4) * 4 + i / 4;
                ASSERT_EQ((std::array<float, 4>{ours[i].red, ours[i].green, ours[i].blue, 1}),
                          theirs[y * kSide + x])
                    << "mode " << kModes[block % std::size(kModes)] << ", signed " << isSigned;
            }
        }
    }
}

}  // namespace
