// A Radiance file is lines of text up to an empty one, a line with the size, and rows of pixels, top row
// first, either flat or one component after the other in run-length packets.
#include "formats/Rgbe.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdint>

#include "dib/Bytes.h"
#include "dib/File.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/HeaderText.h"

using formats::ByteReader;
using formats::kRgbeBytes;
using formats::RgbeError;

namespace formats {

namespace {

// At the end of a file errno still has the value of an earlier call.
void printSystemError(const char* what, std::FILE* file) {
    const int earlier = errno;
    if (std::ferror(file) == 0) errno = 0;
    std::perror(what);
    errno = earlier;
}

}  // namespace

bool reportRgbe(RgbeError error, std::FILE* file) {
    const auto badFormat = [](const char* reason) {
        std::fprintf(stderr, "RGBE bad file format: %s\n", reason);
    };
    switch (error) {
        case RgbeError::kNone: return true;
        case RgbeError::kRead: printSystemError("RGBE read error", file); break;
        case RgbeError::kWrite: printSystemError("RGBE write error", file); break;
        case RgbeError::kNoFormat: badFormat("no FORMAT specifier found"); break;
        case RgbeError::kNoSize: badFormat("missing image size specifier"); break;
        case RgbeError::kWidth: badFormat("wrong scanline width"); break;
        case RgbeError::kPackets: badFormat("bad scanline data"); break;
        case RgbeError::kMemory:
            std::fprintf(stderr, "RGBE error: %s\n", "unable to allocate buffer space");
            break;
    }
    return false;
}

}  // namespace formats

namespace {

int result(RgbeError error, std::FILE* file) { return formats::reportRgbe(error, file) ? 0 : -1; }

// The public routines read no byte that they do not need. Packets are many and short, so their bytes are
// taken from the buffer of the stream.
constexpr auto kExact = ByteReader::Buffering::kExact;
struct PacketSource {
    std::FILE* file;
    int byte() { return dib::nextByte(file); }
    bool read(unsigned char* out, std::size_t bytes) { return dib::readBytes(file, out, bytes); }
};

constexpr const char* kFormatLine = "FORMAT=32-bit_rle_rgbe\n";

// Header.

void readProgramType(const char* text, rgbe_header_info& info) {
    constexpr std::size_t kMost = sizeof info.programtype - 1;
    std::size_t length = 0;
    while (length < kMost && text[length] != '\0' && std::isspace(dib::byteOf(text[length])) == 0) {
        info.programtype[length] = text[length];
        ++length;
    }
    info.programtype[length] = '\0';
    info.valid |= RGBE_VALID_PROGRAMTYPE;
}

void readVariable(const char* line, rgbe_header_info& info) {
    if (std::sscanf(line, "GAMMA=%g", &info.gamma) == 1) {
        info.valid |= RGBE_VALID_GAMMA;
    } else if (std::sscanf(line, "EXPOSURE=%g", &info.exposure) == 1) {
        info.valid |= RGBE_VALID_EXPOSURE;
    }
}

bool skipText(const char*& at, const char* text) {
    const std::size_t length = std::strlen(text);
    if (std::strncmp(at, text, length) != 0) return false;
    at += length;
    return true;
}

// A line such as "-Y 480 +X 640"; white space is optional.
bool readSize(const char* at, int& width, int& height) {
    if (!skipText(at, "-Y") || !formats::readNumber(at, height)) return false;
    while (std::isspace(dib::byteOf(*at)) != 0) ++at;
    return skipText(at, "+X") && formats::readNumber(at, width);
}

}  // namespace

namespace formats {

RgbeError readRgbeHeader(ByteReader& source, int& width, int& height, rgbe_header_info* info) {
    HeaderLines lines(source);
    if (info != nullptr) *info = {0, {}, 1.0F, 1.0F};
    if (!lines.next()) return RgbeError::kRead;
    if (info != nullptr && std::strncmp(lines.text(), "#?", 2) == 0) {
        readProgramType(lines.text() + 2, *info);
        if (!lines.next()) return RgbeError::kRead;
    }
    bool formatFound = false;
    while (lines.text()[0] != '\0' && lines.text()[0] != '\n') {
        if (std::strcmp(lines.text(), kFormatLine) == 0) {
            formatFound = true;
        } else if (info != nullptr) {
            readVariable(lines.text(), *info);
        }
        if (!lines.next()) return RgbeError::kRead;
    }
    if (!formatFound) return RgbeError::kNoFormat;
    if (!lines.next()) return RgbeError::kRead;
    return readSize(lines.text(), width, height) ? RgbeError::kNone : RgbeError::kNoSize;
}

}  // namespace formats

namespace {

// No pixel of a negative number.
std::size_t countOf(int number) { return dib::asSize(std::max(number, 0)); }

// Flat pixels, a block at a time.

constexpr std::size_t kBlockPixels = 1024;

RgbeError writeFlat(std::FILE* file, const float* data, std::size_t count) {
    std::array<unsigned char, kBlockPixels * kRgbeBytes> block;
    while (count > 0) {
        const std::size_t pixels = std::min(count, kBlockPixels);
        for (std::size_t i = 0; i < pixels; ++i, data += 3) {
            float2rgbe(&block[i * kRgbeBytes], data[0], data[1], data[2]);
        }
        if (!dib::writeBytes(file, block.data(), pixels * kRgbeBytes)) return RgbeError::kWrite;
        count -= pixels;
    }
    return RgbeError::kNone;
}

RgbeError readFlat(ByteReader& source, float* data, std::size_t count) {
    while (count > 0) {
        const std::size_t wanted = std::min(count, kBlockPixels);
        const ByteReader::Bytes block = source.ahead(wanted * kRgbeBytes);
        const std::size_t pixels = std::min(wanted, block.size / kRgbeBytes);
        for (std::size_t i = 0; i < pixels; ++i, data += 3)
            rgbe2float(data, data + 1, data + 2, block.data + i * kRgbeBytes);
        if (pixels < wanted) return RgbeError::kRead;
        source.consume(pixels * kRgbeBytes);
        count -= pixels;
    }
    return RgbeError::kNone;
}

// Packets.

RgbeError readRows(std::FILE* file, float* data, std::size_t width, std::size_t rows) {
    if (width == 0) return RgbeError::kNone;
    ByteReader flat(file, kExact);
    PacketSource packets{file};
    if (!formats::widthHasPackets(width)) return readFlat(flat, data, width * rows);
    dib::MallocPtr<unsigned char> planes;
    for (; rows > 0; --rows) {
        unsigned char start[kRgbeBytes];
        if (!packets.read(start, sizeof start)) return RgbeError::kRead;
        if (!formats::startsPackets(start)) {
            rgbe2float(data, data + 1, data + 2, start);
            return readFlat(flat, data + 3, width * rows - 1);
        }
        if (planes == nullptr) planes = dib::allocateArray<unsigned char>(width * kRgbeBytes);
        if (planes == nullptr) return RgbeError::kMemory;
        const RgbeError error = formats::readRgbePackets(packets, start, width, planes.get());
        if (error != RgbeError::kNone) return error;
        for (std::size_t x = 0; x < width; ++x, data += 3) {
            const unsigned char pixel[] = {planes[x], planes[width + x], planes[2 * width + x],
                                           planes[3 * width + x]};
            rgbe2float(data, data + 1, data + 2, pixel);
        }
    }
    return RgbeError::kNone;
}

constexpr std::size_t kShortestRun = 4;
constexpr std::size_t kLongestRun = 127;
constexpr std::size_t kMostLiterals = 128;

std::size_t runLength(const unsigned char* bytes, std::size_t at, std::size_t count) {
    const std::size_t end = std::min(count, at + kLongestRun);
    std::size_t next = at + 1;
    while (next < end && bytes[next] == bytes[at]) ++next;
    return next - at;
}

bool writeRun(std::FILE* file, std::size_t length, unsigned char value) {
    const unsigned char packet[] = {dib::byteOf(128 + length), value};
    return dib::writeBytes(file, packet, sizeof packet);
}

bool writeLiterals(std::FILE* file, const unsigned char* bytes, std::size_t count) {
    while (count > 0) {
        const std::size_t length = std::min(count, kMostLiterals);
        const auto header = dib::byteOf(length);
        if (!dib::writeBytes(file, &header, 1) || !dib::writeBytes(file, bytes, length)) return false;
        bytes += length;
        count -= length;
    }
    return true;
}

// Writes one component of a row. Bytes before a run, or before the end of the row, become literals; two or
// three equal bytes become a short run.
bool writeComponent(std::FILE* file, const unsigned char* bytes, std::size_t count) {
    for (std::size_t at = 0; at < count;) {
        std::size_t run = at;  // where the next run starts, and its length
        std::size_t length = runLength(bytes, run, count);
        std::size_t before = 0;  // equal bytes that end where it starts
        while (run < count && length < kShortestRun) {
            run += length;
            before = length;
            length = run < count ? runLength(bytes, run, count) : 0;
        }
        const bool shortRun = before > 1 && before == run - at;
        if (shortRun ? !writeRun(file, before, bytes[at]) : !writeLiterals(file, bytes + at, run - at))
            return false;
        if (run < count && !writeRun(file, length, bytes[run])) return false;
        at = run + length;
    }
    return true;
}

RgbeError writeRows(std::FILE* file, const float* data, std::size_t width, std::size_t rows) {
    if (width == 0) return RgbeError::kNone;
    dib::MallocPtr<unsigned char> planes;
    if (formats::widthHasPackets(width)) planes = dib::allocateArray<unsigned char>(width * kRgbeBytes);
    if (planes == nullptr) return writeFlat(file, data, width * rows);
    for (; rows > 0; --rows) {
        const unsigned char start[] = {2, 2, dib::byteOf(width >> 8), dib::byteOf(width)};
        if (!dib::writeBytes(file, start, sizeof start)) return RgbeError::kWrite;
        for (std::size_t x = 0; x < width; ++x, data += 3) {
            unsigned char pixel[kRgbeBytes];
            float2rgbe(pixel, data[0], data[1], data[2]);
            for (std::size_t plane = 0; plane < kRgbeBytes; ++plane) planes[plane * width + x] = pixel[plane];
        }
        for (std::size_t plane = 0; plane < kRgbeBytes; ++plane) {
            if (!writeComponent(file, planes.get() + plane * width, width)) return RgbeError::kWrite;
        }
    }
    return RgbeError::kNone;
}

RgbeError writeHeader(std::FILE* file, int width, int height, const rgbe_header_info* info) {
    const int valid = info != nullptr ? info->valid : 0;
    const char* programType = (valid & RGBE_VALID_PROGRAMTYPE) != 0 ? info->programtype : "RGBE";
    bool written = std::fprintf(file, "#?%.*s\n", int{sizeof info->programtype}, programType) >= 0;
    if ((valid & RGBE_VALID_GAMMA) != 0) {
        written = written && std::fprintf(file, "GAMMA=%g\n", double{info->gamma}) >= 0;
    }
    if ((valid & RGBE_VALID_EXPOSURE) != 0) {
        written = written && std::fprintf(file, "EXPOSURE=%g\n", double{info->exposure}) >= 0;
    }
    written = written && std::fprintf(file, "%s\n-Y %d +X %d\n", kFormatLine, height, width) >= 0;
    return written ? RgbeError::kNone : RgbeError::kWrite;
}

}  // namespace

int RGBE_WriteHeader(FILE* file, int width, int height, const rgbe_header_info* info) {
    return result(writeHeader(file, width, height, info), file);
}
int RGBE_ReadHeader(FILE* file, int* width, int* height, rgbe_header_info* info) {
    ByteReader source(file, kExact);
    return result(formats::readRgbeHeader(source, *width, *height, info), file);
}
int RGBE_WritePixels(FILE* file, const float* data, int count) {
    return result(writeFlat(file, data, countOf(count)), file);
}
int RGBE_ReadPixels(FILE* file, float* data, int count) {
    ByteReader source(file, kExact);
    return result(readFlat(source, data, countOf(count)), file);
}
int RGBE_WritePixels_RLE(FILE* file, const float* data, int width, int rows) {
    return result(writeRows(file, data, countOf(width), countOf(rows)), file);
}
int RGBE_ReadPixels_RLE(FILE* file, float* data, int width, int rows) {
    return result(readRows(file, data, countOf(width), countOf(rows)), file);
}

void float2rgbe(unsigned char* rgbe, float red, float green, float blue) {
    const float largest = std::fmax(std::fmax(red, green), blue);
    std::memset(rgbe, 0, kRgbeBytes);
    if (!(largest >= 1e-32)) return;
    int exponent = 0;
    std::frexp(largest, &exponent);
    constexpr int kLargestExponent = 127;
    if (!std::isfinite(largest) || exponent > kLargestExponent) exponent = kLargestExponent;
    const double scale = std::ldexp(1.0, 8 - exponent);
    const auto mantissa = [scale](float part) {
        const double scaled = part * scale;
        return static_cast<unsigned char>(scaled > 0.0 ? std::min(scaled, 255.0) : 0.0);
    };
    rgbe[0] = mantissa(red);
    rgbe[1] = mantissa(green);
    rgbe[2] = mantissa(blue);
    rgbe[3] = dib::byteOf(exponent + 128);
}

void rgbe2float(float* red, float* green, float* blue, const unsigned char* rgbe) {
    // Exponent 0 is black. Mantissas are 256ths, which turns the bias of 128 into 136.
    const float scale = rgbe[3] != 0 ? static_cast<float>(std::ldexp(1.0, rgbe[3] - 136)) : 0.0F;
    *red = static_cast<float>(rgbe[0]) * scale;
    *green = static_cast<float>(rgbe[1]) * scale;
    *blue = static_cast<float>(rgbe[2]) * scale;
}
