// The two shapes of fuzz targets for codecs: reading a file of any bytes, and writing an image and reading it
// back.
#ifndef FUZZ_CODEC_FUZZ_H
#define FUZZ_CODEC_FUZZ_H

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "dib/ColorTable.h"
#include "fuzz/FuzzSupport.h"

namespace fuzz {

using Codec = bool (*)(std::FILE*, DibStream*, DibProgressCallback, void*);

using PathCodec = bool (*)(const char*, DibStream*, DibProgressCallback, void*);
using WidePathCodec = bool (*)(const wchar_t*, DibStream*, DibProgressCallback, void*);

// What a reader did with any bytes.
template <class Load, class File>
void checkRead(Load load, File file) {
    DibStream image;
    const bool loaded = load(file, &image, nullptr, nullptr);
    require(!loaded || image.Header != nullptr, "a loaded image exists");
    // A short file may announce gigabytes, whose pages nobody has touched so far.
    constexpr std::uint32_t kMostBytes = 1U << 20;
    if (image.Header == nullptr || image.Header->biSizeImage <= kMostBytes) checkImage(image);
}

// The input is the file.
inline int readFile(Codec load, const std::uint8_t* data, std::size_t size) {
    withFile(data, size, [load](std::FILE* file) { checkRead(load, file); });
    return 0;
}
inline int readPath(PathCodec load, const std::uint8_t* data, std::size_t size) {
    withPath(data, size, [load](const char* path) { checkRead(load, path); });
    return 0;
}
// The same by all three ways to name a file.
inline int readEveryWay(Codec load, PathCodec loadPath, WidePathCodec loadWide, const std::uint8_t* data,
                        std::size_t size) {
    readFile(load, data, size);
    withPath(data, size, [=](const char* path) {
        checkRead(loadPath, path);
        checkRead(loadWide, std::wstring(path, path + std::strlen(path)).c_str());
    });
    return 0;
}

// Saves a copy of an image by both kinds of paths.
inline void savePaths(PathCodec savePath, WidePathCodec saveWide, DibStream& image) {
    DibStream* copy = image.Clone();
    require(copy != nullptr, "a small image can be copied");
    withPath(nullptr, 0, [=](const char* path) {
        savePath(path, copy, nullptr, nullptr);
        saveWide(std::wstring(path, path + std::strlen(path)).c_str(), copy, nullptr, nullptr);
    });
    require(copy->ErrorCode == DIB_OK, "an image can be saved by its path");
    copy->Release();
}

// A callback leads another way through the classic writers: every second width has one.
inline DibProgressCallback reportOf(const DibStream& image) {
    constexpr DibProgressCallback kGoOn = [](float, void*) { return true; };
    return image.Header->biWidth % 2 == 0 ? kGoOn : nullptr;
}

// The input makes an image, which is saved and, where `load` is given, loaded again; `judge` compares the
// two.
inline int roundTrip(const std::function<bool(std::FILE*, DibStream&)>& save, Codec load,
                     const std::function<void(DibStream& saved, DibStream& loaded)>& judge,
                     const std::uint8_t* data, std::size_t size, PathCodec savePath, WidePathCodec saveWide) {
    Input input(data, size);
    DibStream saved;
    randomImage(input, saved, 40);
    std::FILE* file = std::tmpfile();
    require(file != nullptr, "a temporary file can be opened");
    require(save(file, saved), "an image can be saved");
    savePaths(savePath, saveWide, saved);
    std::rewind(file);
    DibStream loaded;
    require(load(file, &loaded, nullptr, nullptr), "what was saved can be loaded");
    std::fclose(file);
    checkImage(loaded);
    judge(saved, loaded);
    return 0;
}

// Both images show the same, at 24 bits: for formats that keep every bit of at least that many.
inline void requireSameColors(DibStream& saved, DibStream& loaded) {
    require(saved.ChangeBpp(24, 0) && loaded.ChangeBpp(24, 0), "a small image can be converted");
    const int width = saved.Header->biWidth;
    const int height = std::abs(saved.Header->biHeight);
    require(loaded.Header->biWidth == width && std::abs(loaded.Header->biHeight) == height,
            "the size is kept");
    const std::size_t rowBytes = static_cast<std::size_t>(width) * 3;
    for (int y = 0; y < height; ++y) {
        require(std::memcmp(saved.ScanLine(y), loaded.ScanLine(y), rowBytes) == 0, "every pixel is kept");
    }
}

// Both images have the same depth, pixels and palette, of which an image may announce fewer colours than its
// depth can address.
inline void requireSameIndices(const DibStream& saved, const DibStream& loaded) {
    const BITMAPINFOHEADER& header = *saved.Header;
    require(loaded.Header->biBitCount == header.biBitCount, "the depth is kept");
    const int height = std::abs(header.biHeight);
    require(loaded.Header->biWidth == header.biWidth && std::abs(loaded.Header->biHeight) == height,
            "the size is kept");
    // Behind the last pixel a row may hold anything.
    const std::size_t bits = static_cast<std::size_t>(header.biWidth) * header.biBitCount;
    const auto lastBits = static_cast<unsigned char>(0xFF00U >> bits % 8);
    for (int y = 0; y < height; ++y) {
        const unsigned char* before = const_cast<DibStream&>(saved).ScanLine(y);
        const unsigned char* after = const_cast<DibStream&>(loaded).ScanLine(y);
        require(std::memcmp(before, after, bits / 8) == 0, "every pixel is kept");
        require(bits % 8 == 0 || ((before[bits / 8] ^ after[bits / 8]) & lastBits) == 0,
                "every pixel is kept");
    }
    for (std::size_t i = 0; i < dib::announcedEntries(header); ++i) {
        const DibBGRA& before = dib::colorTable(saved.Header)[i];
        const DibBGRA& after = dib::colorTable(loaded.Header)[i];
        require(before.red == after.red && before.green == after.green && before.blue == after.blue,
                "every colour of the palette is kept");
    }
}

}  // namespace fuzz

#endif
