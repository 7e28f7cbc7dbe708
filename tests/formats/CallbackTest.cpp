// Callbacks that empty or replace the image while it is loaded: the load ends, and what the callback did
// stays.
#include <functional>

#include "formats/Ilbm.h"
#include "formats/Ppm.h"
#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

Bytes ilbm(unsigned planes, unsigned compression, const Bytes& body) {
    ByteWriter bitmap;
    bitmap.be16(8).be16(3).be32(0).u8(planes).u8(0).u8(compression).fill(9);
    ByteWriter form;
    form.text("ILBM").text("BMHD").be32(20).raw(bitmap.bytes).text("BODY");
    form.be32(static_cast<unsigned>(body.size())).raw(body);
    return ByteWriter().text("FORM").be32(static_cast<unsigned>(form.bytes.size())).raw(form.bytes).bytes;
}

struct File {
    const char* name;
    Codec load;
    Bytes bytes;  // of a picture of three rows
};
std::vector<File> files() {
    return {
        {"P6", LoadPPM, bytesOf("P6\n2 3\n255\nabcdefghijklmnopqr")},
        {"P5", LoadPPM, bytesOf("P5\n2 3\n255\nabcdef")},
        {"P2", LoadPPM, bytesOf("P2\n2 3\n255\n1 2 3 4 5 6")},
        {"8 planes", LoadIFF, ilbm(8, 0, Bytes(8 * 2 * 3, 1))},
        {"8 planes in packets", LoadIFF, ilbm(8, 1, {0xD1, 0xFF})},
        {"no planes", LoadIFF, ilbm(0, 0, Bytes(8))},
    };
}

unsigned char foreign[4096];

struct Change {
    const char* name;
    std::function<void(DibStream&)> apply;
    bool keepsImage;
};
std::vector<Change> changes() {
    return {
        {"empties it", [](DibStream& image) { image.Clear(); }, false},
        {"frees the pixels", [](DibStream& image) { image.BufferFree(); }, false},
        {"creates a smaller one", [](DibStream& image) { image.Create(1, 1, 8); }, true},
        {"creates one of the same size",
         [](DibStream& image) {
             const BITMAPINFOHEADER old = *image.Header;
             image.Create(old.biWidth, old.biHeight, old.biBitCount);
             std::fill_n(image.Buffer, image.Header->biSizeImage, static_cast<unsigned char>(0xEE));
         },
         true},
        {"brings pixels of its own", [](DibStream& image) { image.SetBuffer(foreign, 0); }, true},
        {"says that it is larger", [](DibStream& image) { image.Header->biHeight = 100; }, true},
    };
}

struct Watcher {
    DibStream* image;
    const Change* change;
    int row;
    int calls = 0;
};
bool watch(float, void* user) {
    auto& watcher = *static_cast<Watcher*>(user);
    if (watcher.calls++ == watcher.row) watcher.change->apply(*watcher.image);
    return true;
}

TEST(Callback, ImagesThatAreEmptiedOrReplacedEndTheLoad) {
    for (const File& file : files()) {
        ASSERT_TRUE(load(file.load, file.bytes).result) << file.name;
        for (const Change& change : changes()) {
            for (int row = 0; row < 3; ++row) {
                SCOPED_TRACE(std::string(file.name) + ", " + change.name + ", row " + std::to_string(row));
                std::fill_n(foreign, sizeof foreign, static_cast<unsigned char>(0xEE));
                DibStream image;
                image.ErrorCode = kUntouched;
                Watcher watcher{&image, &change, row};
                EXPECT_FALSE(
                    file.load(testing_support::openBytes(file.bytes).get(), &image, watch, &watcher));
                EXPECT_EQ(image.ErrorCode, 9);
                EXPECT_EQ(watcher.calls, row + 1);
                EXPECT_EQ(image.Buffer != nullptr, change.keepsImage);
                EXPECT_EQ(Bytes(foreign, foreign + sizeof foreign), Bytes(sizeof foreign, 0xEE));
                if (image.Buffer != nullptr && image.Header->biWidth > 1 && image.BufferOwner != 0 &&
                    image.Header->biHeight == 3 &&
                    change.name == std::string("creates one of the same size")) {
                    EXPECT_EQ(testing_support::pixelBytes(image), Bytes(image.Header->biSizeImage, 0xEE));
                }
            }
        }
    }
}

}  // namespace
}  // namespace codec_test
