#include "plugins/dds/Reader.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "dib/File.h"
#include "plugins/dds/Surface.h"
#include "vexlibs/Utf8.h"

namespace plugins::dds {

namespace {

static_assert(sizeof(Texel) == 4, "texels are copied into 32-bit rows");

// Whether the rest of the file is as long as the picture. Checked before memory is allocated: headers may be
// wrong.
bool isThere(std::FILE* file, std::uint64_t units, std::uint64_t unitBytes) {
    const long here = std::ftell(file);
    if (here < 0 || std::fseek(file, 0, SEEK_END) != 0) return false;
    const long end = std::ftell(file);
    if (end < here || std::fseek(file, here, SEEK_SET) != 0) return false;
    return units <= static_cast<std::uint64_t>(end - here) / unitBytes;
}

// Stores a block without the rows and columns beyond the picture's edge.
void putBlock(const Surface& surface, const Block& texels, std::size_t left, std::size_t top,
              Picture& picture) {
    const std::size_t columns = std::min<std::size_t>(4, surface.width - left);
    const std::size_t rows = std::min<std::size_t>(4, surface.height - top);
    for (std::size_t y = 0; y < rows; ++y) {
        unsigned char* row = picture.row(top + y);
        for (std::size_t x = 0; x < columns; ++x) {
            Texel texel = texels[y * 4 + x];
            if (surface.isOpaque) texel.alpha = 255;
            if (surface.isGrey) {
                row[left + x] = texel.red;
            } else {
                std::memcpy(row + (left + x) * 4, &texel, sizeof texel);
            }
        }
    }
}

void putTexels(const Surface& surface, const unsigned char* bytes, std::size_t y, Picture& picture) {
    unsigned char* out = picture.row(y);
    for (std::uint32_t x = 0; x < surface.width; ++x) {
        std::uint32_t texel = 0;
        for (std::size_t i = 0; i < surface.unitBytes; ++i) texel |= std::uint32_t{*bytes++} << (8 * i);
        if (surface.isGrey) {
            *out++ = surface.red.byte(texel, 0);
            continue;
        }
        *out++ = surface.blue.byte(texel, 0);
        *out++ = surface.green.byte(texel, 0);
        *out++ = surface.red.byte(texel, 0);
        *out++ = surface.isOpaque ? 255 : surface.alpha.byte(texel, 255);
    }
}

bool readRows(std::FILE* file, const Surface& surface, Picture& picture, DibProgressCallback progress,
              void* user) {
    const std::size_t rows = surface.unitRows();
    const std::size_t unitsPerRow = surface.unitsPerRow();
    std::vector<unsigned char> bytes(unitsPerRow * surface.unitBytes);
    Block texels;
    for (std::size_t row = 0; row < rows; ++row) {
        if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) return false;
        if (surface.decode == nullptr) {
            putTexels(surface, bytes.data(), row, picture);
        } else {
            for (std::size_t unit = 0; unit < unitsPerRow; ++unit) {
                surface.decode(bytes.data() + unit * surface.unitBytes, texels);
                putBlock(surface, texels, unit * 4, row * 4, picture);
            }
        }
        const float done = static_cast<float>(row + 1) / static_cast<float>(rows);
        if (progress != nullptr && !progress(done, user)) return false;
    }
    return true;
}

}  // namespace

bool read(std::FILE* file, Picture& picture, DibProgressCallback progress, void* user) {
    Surface surface;
    if (!readSurface(file, surface)) return false;
    if (!isThere(file, surface.unitsPerRow() * surface.unitRows(), surface.unitBytes)) return false;
    if (!picture.create(surface.width, surface.height, surface.isGrey ? Picture::kGrey : Picture::kColor)) {
        return false;
    }
    try {
        return readRows(file, surface, picture, progress, user);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool read(const wchar_t* path, Picture& picture, DibProgressCallback progress, void* user) {
    try {
        const dib::FilePtr file(std::fopen(vexlibs::utf8Of(path).c_str(), "rb"));
        return file != nullptr && read(file.get(), picture, progress, user);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace plugins::dds
