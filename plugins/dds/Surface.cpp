#include "plugins/dds/Surface.h"

#include <bit>
#include <cctype>
#include <cstdio>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace plugins::dds {

namespace {

// Offsets into the magic number and the 124 bytes of header that follow it.
constexpr std::size_t kHeaderBytes = 128;
constexpr std::size_t kSize = 4;
constexpr std::size_t kHeight = 12;
constexpr std::size_t kWidth = 16;
constexpr std::size_t kDepth = 24;
constexpr std::size_t kLevels = 28;
constexpr std::size_t kFormatSize = 76;
constexpr std::size_t kFormatFlags = 80;
constexpr std::size_t kFourCc = 84;
constexpr std::size_t kBitCount = 88;
constexpr std::size_t kMasks = 92;  // red, green, blue, alpha
constexpr std::size_t kKind = 112;

constexpr std::uint32_t kIsFourCc = 0x4;
constexpr std::uint32_t kIsCube = 0x200;
constexpr std::uint32_t kFaces = 0xFC00;  // a bit for each face that the file has
constexpr std::uint32_t kIsVolume = 0x200000;

// The second header, after the FourCC "DX10".
constexpr std::size_t kSecondHeaderBytes = 20;
constexpr std::size_t kDimension = 4;
constexpr std::size_t kMisc = 8;
constexpr std::size_t kElements = 12;
constexpr std::size_t kAlphaMode = 16;
constexpr std::uint32_t kHasThreeDimensions = 4;
constexpr std::uint32_t kIsCubeToo = 4;
constexpr std::uint32_t kAlphaModeBits = 7;
constexpr std::uint32_t kAlphaIsPremultiplied = 2;
constexpr std::uint32_t kAlphaIsOpaque = 3;

constexpr std::uint64_t kPaletteBytes = 1024;

// Sums and products that stay at the highest number when they are above it.
std::uint64_t plus(std::uint64_t a, std::uint64_t b) { return a > UINT64_MAX - b ? UINT64_MAX : a + b; }
std::uint64_t times(std::uint64_t a, std::uint64_t b) {
    return b != 0 && a > UINT64_MAX / b ? UINT64_MAX : a * b;
}

void readArrangement(const unsigned char* header, Surface& surface) {
    const std::uint32_t kind = dib::readLe32(header + kKind);
    if ((kind & kIsVolume) != 0) surface.depth = std::max(dib::readLe32(header + kDepth), 1U);
    if ((kind & kIsCube) != 0) {
        const int faces = std::popcount(kind & kFaces);
        surface.elements = faces > 0 ? static_cast<std::uint64_t>(faces) : 6;
    }
    // The levels end with one texel.
    const auto most = static_cast<std::uint32_t>(
        std::bit_width(std::max({surface.width, surface.height, surface.depth, 1U})));
    surface.levels = dib::asInt(std::clamp(dib::readLe32(header + kLevels), 1U, most));
}

bool useSecondHeader(Job& job, const Dialect& dialect, Surface& surface) {
    unsigned char header[kSecondHeaderBytes];
    if (job.readAt(kHeaderBytes, header, sizeof header) != sizeof header)
        return job.refuse(DIB_ERROR_READ, "the file ends inside its header");
    surface.start += kSecondHeaderBytes;
    const std::uint32_t alphaMode = dib::readLe32(header + kAlphaMode) & kAlphaModeBits;
    surface.isOpaque = alphaMode == kAlphaIsOpaque;
    if (dib::readLe32(header + kDimension) != kHasThreeDimensions) surface.depth = 1;
    const std::uint64_t faces = (dib::readLe32(header + kMisc) & kIsCubeToo) != 0 ? 6 : 1;
    surface.elements = faces * std::max(dib::readLe32(header + kElements), 1U);
    const std::uint32_t number = dib::readLe32(header);
    if (!useNumber(number, dialect, surface.format)) {
        char reason[64];
        std::snprintf(reason, sizeof reason, "pixels of format number %lu are not read",
                      static_cast<unsigned long>(number));
        return job.refuse(DIB_ERROR_UNSUPPORTED, reason);
    }
    surface.format.isPremultiplied = alphaMode == kAlphaIsPremultiplied;
    return true;
}

bool refuseCode(Job& job, const unsigned char* code) {
    char reason[64];
    bool isText = true;
    for (int i = 0; i < 4; ++i) isText = isText && std::isalnum(code[i]) != 0;
    if (isText) {
        std::snprintf(reason, sizeof reason, "pixels of format \"%.4s\" are not read",
                      reinterpret_cast<const char*>(code));
    } else {
        std::snprintf(reason, sizeof reason, "pixels of format code %lu are not read",
                      static_cast<unsigned long>(dib::readLe32(code)));
    }
    return job.refuse(DIB_ERROR_UNSUPPORTED, reason);
}

bool useFirstHeader(Job& job, const Dialect& dialect, const unsigned char* header, Surface& surface) {
    const std::uint32_t flags = dib::readLe32(header + kFormatFlags);
    if ((flags & kIsFourCc) != 0) {
        const std::uint32_t code = dib::readLe32(header + kFourCc);
        if (code == fourCc("DX10")) return useSecondHeader(job, dialect, surface);
        return useFourCc(code, dialect, surface.format) || refuseCode(job, header + kFourCc);
    }
    const Masks masks = {dib::readLe32(header + kBitCount), dib::readLe32(header + kMasks),
                         dib::readLe32(header + kMasks + 4), dib::readLe32(header + kMasks + 8),
                         dib::readLe32(header + kMasks + 12)};
    if (useMasks(flags, masks, dialect, surface.format)) {
        if (surface.format.isIndexed) surface.start += kPaletteBytes;
        return true;
    }
    char reason[128];
    std::snprintf(reason, sizeof reason, "pixels of format %lu bits with flags %lu%s are not read",
                  static_cast<unsigned long>(masks.bits), static_cast<unsigned long>(flags),
                  (masks.red | masks.green | masks.blue | masks.alpha) == 0 ? " and no masks" : "");
    return job.refuse(DIB_ERROR_UNSUPPORTED, reason);
}

}  // namespace

std::uint64_t Surface::pageBytes(int level) const { return times(rowBytes(level), unitRows(level)); }

// A volume has all slices of a level before the next one; other files have all levels of an element before
// the next element.
std::uint64_t Surface::positionOf(std::uint64_t page, int level) const {
    std::uint64_t position = start;
    const bool isVolume = depth > 1;
    for (int before = 0; before < level; ++before)
        position = plus(position, times(pageBytes(before), isVolume ? pagesAt(before) : 1));
    if (isVolume) return plus(position, times(pageBytes(level), page));
    std::uint64_t elementBytes = 0;
    for (int each = 0; each < levels; ++each) elementBytes = plus(elementBytes, pageBytes(each));
    return plus(position, times(elementBytes, page));
}

bool readSurface(Job& job, const Dialect& dialect, Surface& surface) {
    unsigned char header[kHeaderBytes];
    const std::size_t got = job.readAt(0, header, sizeof header);
    if (got < 4 || dib::readLe32(header) != fourCc("DDS "))
        return job.refuse(DIB_ERROR_UNSUPPORTED, "not a DDS file");
    if (got != sizeof header) return job.refuse(DIB_ERROR_READ, "the file ends inside its header");
    const bool hasKnownSize = dib::readLe32(header + kFormatSize) == 32;
    if (dib::readLe32(header + kSize) != 124 || !(hasKnownSize || dialect.readsMore))
        return job.refuse(DIB_ERROR_INVALID, "the header is damaged");
    if (!hasKnownSize) job.note(DIB_NOTE_WARNING, "the header gives its pixel format a wrong size");
    surface.start = kHeaderBytes;
    surface.width = dib::readLe32(header + kWidth);
    surface.height = dib::readLe32(header + kHeight);
    readArrangement(header, surface);
    return useFirstHeader(job, dialect, header, surface);
}

}  // namespace plugins::dds
