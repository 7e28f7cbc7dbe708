#include "plugins/dds/Reader.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "dib/Bytes.h"
#include "dib/File.h"
#include "dib/Numbers.h"
#include "plugins/dds/Surface.h"
#include "vexlibs/Utf8.h"

namespace plugins::dds {

namespace {

static_assert(sizeof(Texel) == 4, "texels are copied into 32-bit rows");

// Rounds to the nearest; colours above their alpha become 255.
unsigned char divided(unsigned char color, unsigned char alpha) {
    return alpha == 0 ? 0 : dib::byteOf(std::min((color * 255 + alpha / 2) / alpha, 255));
}

// A page at a level, which becomes the picture.
class Page {
public:
    Page(Job& job, const Surface& surface, const Dialect& dialect)
        : job_(job),
          surface_(surface),
          format_(surface.format),
          level_(job.level),
          width_(surface.widthAt(level_)),
          height_(surface.heightAt(level_)),
          position_(surface.positionOf(static_cast<std::uint64_t>(job.page), level_)),
          divides_(dialect.dividesByAlpha && format_.isPremultiplied) {}

    // Rows of units that the file has. Known before memory is allocated: headers may be wrong.
    std::uint64_t rowsThere() {
        const std::uint64_t end = job_.fileBytes();
        return end < position_ ? 0 : std::min((end - position_) / surface_.rowBytes(level_), rows());
    }
    std::uint64_t rows() const { return surface_.unitRows(level_); }

    int bitCount() const {
        const bool isByte = format_.isGrey || (format_.isIndexed && !hasClearEntries_);
        return isByte ? Picture::kGrey : Picture::kColor;
    }
    // The library stores the reason for sizes that it does not accept.
    bool isPossible() const {
        return surface_.width > 0 && surface_.height > 0 && Picture::isPossible(width_, height_, bitCount());
    }
    bool create(Picture& picture) {
        if (!picture.create(width_, height_, bitCount())) return false;
        if (format_.isIndexed && bitCount() == Picture::kGrey) picture.usePalette(palette_, 256);
        return true;
    }

    // Entries with alpha need pixels with alpha; otherwise alpha is 0, as in all palettes.
    bool readPalette() {
        unsigned char bytes[256 * 4];
        if (job_.readAt(surface_.start - sizeof bytes, bytes, sizeof bytes) != sizeof bytes)
            return job_.refuse(DIB_ERROR_READ, "the file ends before its pixels do");
        for (std::size_t i = 0; i < 256; ++i) {
            const unsigned char* entry = bytes + 4 * i;
            palette_[i] = {entry[2], entry[1], entry[0], entry[3]};
            hasClearEntries_ = hasClearEntries_ || entry[3] != 255;
        }
        for (DibBGRA& entry : palette_) entry.alpha = hasClearEntries_ ? entry.alpha : 0;
        return true;
    }

    bool read(std::uint64_t rowsThere, Picture& picture) {
        std::vector<unsigned char> bytes(dib::asSize(surface_.rowBytes(level_)));
        for (std::uint64_t row = 0; row < rowsThere; ++row) {
            if (job_.readAt(position_ + row * bytes.size(), bytes.data(), bytes.size()) != bytes.size())
                return false;
            if (format_.isIndexed) {
                putIndices(bytes.data(), dib::asSize(row), picture);
            } else if (format_.decode == nullptr) {
                putTexels(bytes.data(), dib::asSize(row), picture);
            } else {
                putUnits(bytes.data(), dib::asSize(row * format_.rows), picture);
            }
            const std::uint64_t end = std::min<std::uint64_t>((row + 1) * format_.rows, height_);
            const bool isPlain = format_.isGrey || format_.isIndexed || !(surface_.isOpaque || divides_);
            for (std::uint64_t y = row * format_.rows; y < end && !isPlain; ++y)
                finishRow(picture.row(dib::asSize(y)));
            picture.rowsRead = dib::asSize(end);
            if (!job_.report(dib::asSize(row + 1), dib::asSize(rows()))) return false;
        }
        return rowsThere == rows();
    }

private:
    // What comes after decoding, for the few formats that need it.
    void finishRow(unsigned char* row) const {
        for (std::uint32_t x = 0; x < width_; ++x, row += 4) {
            if (surface_.isOpaque) row[3] = 255;
            for (int i = 0; i < 3 && divides_; ++i) row[i] = divided(row[i], row[3]);
        }
    }

    // Stores units without the rows and columns beyond the picture's edge.
    void putUnits(const unsigned char* bytes, std::size_t top, Picture& picture) const {
        Block texels;
        const std::size_t rows = std::min<std::size_t>(format_.rows, height_ - top);
        for (std::size_t left = 0; left < width_; left += format_.columns, bytes += format_.unitBytes) {
            format_.decode(bytes, texels);
            const std::size_t columns = std::min<std::size_t>(format_.columns, width_ - left);
            for (std::size_t y = 0; y < rows; ++y) {
                unsigned char* row = picture.row(top + y);
                for (std::size_t x = 0; x < columns; ++x) {
                    const Texel& texel = texels[y * format_.columns + x];
                    if (format_.isGrey) {
                        row[left + x] = texel.red;
                    } else {
                        std::memcpy(row + (left + x) * 4, &texel, sizeof texel);
                    }
                }
            }
        }
    }

    void putTexels(const unsigned char* bytes, std::size_t y, Picture& picture) const {
        unsigned char* out = picture.row(y);
        for (std::uint32_t x = 0; x < width_; ++x) {
            std::uint32_t texel = 0;
            for (std::size_t i = 0; i < format_.unitBytes; ++i) texel |= std::uint32_t{*bytes++} << (8 * i);
            if (format_.isGrey) {
                *out++ = format_.red.byte(texel, 0);
                continue;
            }
            *out++ = format_.blue.byte(texel, 0);
            *out++ = format_.green.byte(texel, 0);
            *out++ = format_.red.byte(texel, 0);
            *out++ = format_.alpha.byte(texel, 255);
        }
    }

    void putIndices(const unsigned char* bytes, std::size_t y, Picture& picture) const {
        unsigned char* out = picture.row(y);
        if (!hasClearEntries_) std::memcpy(out, bytes, width_);
        for (std::uint32_t x = 0; hasClearEntries_ && x < width_; ++x)
            std::memcpy(out + std::size_t{x} * 4, &palette_[bytes[x]], 4);
    }

    Job& job_;
    const Surface& surface_;
    const Format& format_;
    int level_;
    std::uint32_t width_;
    std::uint32_t height_;
    std::uint64_t position_;
    bool divides_;
    bool hasClearEntries_ = false;
    DibBGRA palette_[256] = {};
};

bool hasPage(const Surface& surface, const Job& job) {
    return job.level >= 0 && job.level < surface.levels && job.page >= 0 &&
           static_cast<std::uint64_t>(job.page) < surface.pagesAt(job.level);
}

void noteLosses(Job& job, const Surface& surface) {
    if (surface.format.sampleBits > 8) {
        char text[64];
        std::snprintf(text, sizeof text, "%d bits a sample became 8", surface.format.sampleBits);
        job.note(DIB_NOTE_LOSS, text);
    }
    if (surface.format.isPremultiplied)
        job.note(DIB_NOTE_ASSUMPTION, "colours were divided by the alpha that they were multiplied by");
}

bool read(Job& job, const Dialect& dialect, Picture& picture) {
    Surface surface;
    if (!readSurface(job, dialect, surface)) return false;
    if (!hasPage(surface, job)) return job.refuse(DIB_ERROR_MISMATCH, "the file has no such page or level");
    Page page(job, surface, dialect);
    if (surface.format.isIndexed && !page.readPalette()) return false;
    if (!page.isPossible()) return false;
    const std::uint64_t rowsThere = page.rowsThere();
    const bool isWhole = rowsThere == page.rows();
    if (!isWhole) job.refuse(DIB_ERROR_READ, "the file ends before its pixels do");
    if (!isWhole && (!dialect.keepsRows || rowsThere == 0)) return false;
    try {
        if (!page.create(picture)) return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
        noteLosses(job, surface);
        return page.read(rowsThere, picture);
    } catch (const std::bad_alloc&) {
        return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
    }
}

bool recognizes(const unsigned char* bytes, std::size_t count) {
    return count >= 4 && std::memcmp(bytes, "DDS ", 4) == 0;
}

bool probe(const DibPluginCall* call, DibPluginInfo* info) {
    CallJob job(*call);
    Surface surface;
    if (!readSurface(job, kWide, surface)) return false;
    const Format& format = surface.format;
    const int level = std::clamp(job.level, 0, surface.levels - 1);
    if (surface.width == 0 || surface.height == 0 || surface.widthAt(level) > INT32_MAX ||
        surface.heightAt(level) > INT32_MAX) {
        return false;
    }
    info->width = dib::asInt(surface.widthAt(level));
    info->height = dib::asInt(surface.heightAt(level));
    info->pages = dib::asInt(std::min<std::uint64_t>(surface.pagesAt(level), INT32_MAX));
    info->levels = surface.levels;
    Page page(job, surface, kWide);
    if (format.isIndexed && !page.readPalette()) return false;
    info->bitCount = page.bitCount();
    info->paletteSize = page.bitCount() == Picture::kGrey ? 256 : 0;
    info->storedBits = format.bitsPerPixel();
    info->hasAlpha = format.hasAlpha && !surface.isOpaque && page.bitCount() == Picture::kColor;
    std::strncpy(info->compression, format.packing, sizeof info->compression - 1);
    return true;
}

bool readWide(Job& job, Picture& picture, DibPluginPicture& /*out*/) { return read(job, kWide, picture); }

constexpr const char* kExtensions[] = {"dds", nullptr};
constexpr const char* kTypes[] = {"image/x-dds", nullptr};

std::FILE* openByPath(const wchar_t* path) {
#if defined(_WIN32)
    return _wfopen(path, L"rb");
#else
    return std::fopen(vexlibs::utf8Of(path).c_str(), "rb");
#endif
}

}  // namespace

bool read(std::FILE* file, Picture& picture, DibProgressCallback progress, void* user) {
    FileJob job(file, progress, user);
    return read(job, kClassic, picture);
}

bool read(const wchar_t* path, Picture& picture, DibProgressCallback progress, void* user) {
    try {
        const dib::FilePtr file(openByPath(path));
        return file != nullptr && read(file.get(), picture, progress, user);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

const DibPluginDescription& description() {
    static constexpr DibPluginDescription kDescription = {
        .size = sizeof(DibPluginDescription),
        .version = DIB_PLUGIN_VERSION,
        .name = "dds",
        .title = "DirectDraw surface",
        .extensions = kExtensions,
        .mimeTypes = kTypes,
        .library = "its own decoder",
        .readDepths = DibStream::DIB_ACCEPT_8 | DibStream::DIB_ACCEPT_32,
        .hasLayers = false,
        .hasPages = true,
        .recognizes = recognizes,
        .probe = probe,
        .load = loadBy<readWide>,
    };
    return kDescription;
}

}  // namespace plugins::dds
