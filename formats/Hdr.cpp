// Radiance pixels as bytes. Only 65536 pairs of mantissa and exponent exist, so the power function is
// evaluated once for each of them.
#include "formats/Hdr.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/Formats.h"
#include "formats/HeaderText.h"
#include "formats/NewImage.h"
#include "formats/Rgbe.h"

using formats::ByteReader;
using formats::fail;
using formats::kRgbeBytes;
using formats::RgbeError;

namespace {

// One float below the nearest to 1 / 2.2. Loaded bytes depend on this exact value.
constexpr float kGamma = std::bit_cast<float>(std::uint32_t{0x3EE8BA2E});

unsigned char toneOf(float value) {
    const float raised = std::pow(value, kGamma);
    if (!(raised > 0.0F)) return 0;
    if (raised >= 1.0F) return 255;
    // Loaded bytes depend on this rounding: a sum in single precision, truncated.
    return static_cast<unsigned char>(raised * 255.0F + 0.5F);  // NOLINT(bugprone-incorrect-roundings)
}

// tones[exponent][mantissa]
using Tones = std::array<std::array<unsigned char, 256>, 256>;

const Tones& tones() {
    static const Tones table = [] {
        Tones made;
        for (std::size_t exponent = 0; exponent < 256; ++exponent) {
            for (std::size_t mantissa = 0; mantissa < 256; ++mantissa) {
                const unsigned char pixel[] = {static_cast<unsigned char>(mantissa), 0, 0,
                                               static_cast<unsigned char>(exponent)};
                float red = 0;
                float green = 0;
                float blue = 0;
                rgbe2float(&red, &green, &blue, pixel);
                made[exponent][mantissa] = toneOf(red);
            }
        }
        return made;
    }();
    return table;
}

// What the functions of DibFile.h read beside what the classic loader does.
struct Dialect {
    bool knowsOrders;   // all eight orders of rows and columns
    bool knowsXyz;      // pixels in CIE XYZ
    bool knowsOldRuns;  // flat rows in which a pixel repeats the one before it
};
constexpr Dialect kClassic = {.knowsOrders = false, .knowsXyz = false, .knowsOldRuns = false};
constexpr Dialect kWide = {.knowsOrders = true, .knowsXyz = true, .knowsOldRuns = true};

// Rows and columns as they are stored.
struct Header {
    int width = 0;
    int height = 0;
    int orientation = 1;  // as in DibMetadata
    bool isXyz = false;
    // What pixels were multiplied by, and the power that they were raised to.
    double exposure = 1;
    double gamma = 1;
};

// Several exposures are multiplied; what is not a number counts as 1.
void readFactor(std::string_view text, double& factor) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    double value = 1;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc()) factor *= value;
}

// "-Y 480 +X 640": the rows with the side that the first of them is at, then the columns.
bool readOrder(const char* at, Header& header) {
    struct Axis {
        bool isMinus = false;
        char name = 0;
    };
    const auto readAxis = [&at](Axis& axis, int& count) {
        while (*at == ' ') ++at;
        if (*at != '-' && *at != '+') return false;
        axis = {*at == '-', at[1]};
        if (axis.name != 'X' && axis.name != 'Y') return false;
        at += 2;
        return formats::readNumber(at, count);
    };
    Axis rows;
    Axis columns;
    if (!readAxis(rows, header.height) || !readAxis(columns, header.width) || rows.name == columns.name)
        return false;
    constexpr int kByRows[2][2] = {{4, 3}, {1, 2}};     // [-Y][-X]
    constexpr int kByColumns[2][2] = {{8, 5}, {7, 6}};  // [-X][-Y]
    const auto& orientations = rows.name == 'Y' ? kByRows : kByColumns;
    header.orientation = orientations[rows.isMinus ? 1 : 0][columns.isMinus ? 1 : 0];
    return true;
}

RgbeError readWideHeader(ByteReader& file, Header& header) {
    formats::HeaderLines lines(file);
    bool isFormatKnown = false;
    do {
        if (!lines.next()) return RgbeError::kRead;
        std::string_view line = lines.text();
        line = line.substr(0, line.find_last_not_of(" \r\n") + 1);
        if (line.empty()) break;
        const bool isXyz = line == "FORMAT=32-bit_rle_xyze";
        if (isXyz || line == "FORMAT=32-bit_rle_rgbe") {
            isFormatKnown = true;
            header.isXyz = isXyz;
        }
        constexpr std::string_view kExposureLine = "EXPOSURE=";
        constexpr std::string_view kGammaLine = "GAMMA=";
        if (line.starts_with(kExposureLine)) readFactor(line.substr(kExposureLine.size()), header.exposure);
        if (line.starts_with(kGammaLine)) readFactor(line.substr(kGammaLine.size()), header.gamma);
    } while (true);
    if (!isFormatKnown) return RgbeError::kNoFormat;
    if (!lines.next()) return RgbeError::kRead;
    return readOrder(lines.text(), header) ? RgbeError::kNone : RgbeError::kNoSize;
}

RgbeError readHeader(ByteReader& file, const Dialect& dialect, Header& header) {
    if (dialect.knowsOrders && dialect.knowsXyz) return readWideHeader(file, header);
    rgbe_header_info info;
    return formats::readRgbeHeader(file, header.width, header.height, &info);
}

// Component k of pixel x is pixels[k * plane + x * step].
void storeRow(const unsigned char* pixels, std::size_t plane, std::size_t step, unsigned char* out,
              int width) {
    const Tones& table = tones();
    for (int x = 0; x < width; ++x, pixels += step, out += 3) {
        const auto& tone = table[pixels[3 * plane]];
        out[0] = tone[pixels[2 * plane]];
        out[1] = tone[pixels[plane]];
        out[2] = tone[pixels[0]];
    }
}

// The same of pixels in CIE XYZ, to red (0.64, 0.33), green (0.29, 0.6) and blue (0.15, 0.06) with a white of
// equal energy, which is what the format takes for red, green and blue.
void storeXyzRow(const unsigned char* pixels, std::size_t plane, std::size_t step, unsigned char* out,
                 int width) {
    constexpr float kMatrix[3][3] = {
        {0.0747F, -0.2519F, 1.1772F}, {-1.0221F, 1.9783F, 0.0438F}, {2.5653F, -1.1669F, -0.3985F}};
    for (int x = 0; x < width; ++x, pixels += step, out += 3) {
        const unsigned char pixel[] = {pixels[0], pixels[plane], pixels[2 * plane], pixels[3 * plane]};
        float xyz[3];
        rgbe2float(&xyz[0], &xyz[1], &xyz[2], pixel);
        for (std::size_t i = 0; i < 3; ++i)
            out[i] = toneOf(kMatrix[i][0] * xyz[0] + kMatrix[i][1] * xyz[1] + kMatrix[i][2] * xyz[2]);
    }
}

bool isRun(const unsigned char* pixel) {
    std::uint32_t word;
    std::memcpy(&word, pixel, sizeof word);
    return (word & 0xFFFFFF) == 0x010101;
}

DIB_ALWAYS_INLINE bool holdsRun(const unsigned char* pixels, std::size_t count) {
    std::uint32_t found = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t word;
        std::memcpy(&word, pixels + i * kRgbeBytes, sizeof word);
        found |= (word & 0xFFFFFF) == 0x010101 ? UINT32_MAX : 0;
    }
    return found != 0;
}

// How many pixels come before one that means a run. Runs are rare: most pixels are looked at in blocks.
std::size_t plainPixels(const unsigned char* pixels, std::size_t count) {
    constexpr std::size_t kBlock = 1024;
    std::size_t plain = 0;
    while (plain < count) {
        const std::size_t block = std::min(kBlock, count - plain);
        if (dib::runKernel<holdsRun>(pixels + plain * kRgbeBytes, block)) break;
        plain += block;
    }
    while (plain < count && !isRun(pixels + plain * kRgbeBytes)) ++plain;
    return plain;
}

// Old files repeat the pixel before by one of red, green and blue 1: as often as its exponent says, which a
// run that follows directly has multiplied by 256.
RgbeError readOldRuns(ByteReader& source, std::size_t width, std::size_t done, unsigned char* work) {
    unsigned shift = 0;
    while (done < width) {
        const ByteReader::Bytes bytes = source.ahead(kRgbeBytes);
        const std::size_t pixels = std::min(bytes.size / kRgbeBytes, width - done);
        if (pixels == 0) return RgbeError::kRead;
        // Nothing is before the first pixel of a row.
        const std::size_t first = done == 0 ? 1 : 0;
        const std::size_t plain = first + plainPixels(bytes.data + first * kRgbeBytes, pixels - first);
        std::memcpy(work + done * kRgbeBytes, bytes.data, plain * kRgbeBytes);
        source.consume(plain * kRgbeBytes);
        done += plain;
        if (plain > 0) shift = 0;
        if (plain == pixels) continue;
        constexpr unsigned kMostShift = 16;
        const std::size_t length = std::size_t{source.take(kRgbeBytes)[3]} << shift;
        if (length > width - done || shift > kMostShift) return RgbeError::kPackets;
        for (std::size_t end = done + length; done < end; ++done)
            std::memcpy(work + done * kRgbeBytes, work + (done - 1) * kRgbeBytes, kRgbeBytes);
        shift += 8;
    }
    return RgbeError::kNone;
}

// Reads one row, flat or in packets, and stores it.
class RowReader {
public:
    RowReader(ByteReader& source, const Dialect& dialect, const Header& header)
        : source_(source),
          dialect_(dialect),
          store_(header.isXyz ? storeXyzRow : storeRow),
          width_(header.width),
          work_(dib::allocateArray<unsigned char>(static_cast<std::size_t>(width_) * kRgbeBytes)) {}
    bool ready() const { return work_ != nullptr; }

    RgbeError read(unsigned char* out) {
        if (storePlain(out)) return RgbeError::kNone;
        std::size_t pixels = 0;
        if (formats::widthHasPackets(width_)) {
            unsigned char start[kRgbeBytes];
            if (!source_.read(start, sizeof start)) return RgbeError::kRead;
            if (formats::startsPackets(start)) {
                const RgbeError error = formats::readRgbePackets(source_, start, width_, work_.get());
                if (error == RgbeError::kNone)
                    store_(work_.get(), static_cast<std::size_t>(width_), 1, out, width_);
                return error;
            }
            std::memcpy(work_.get(), start, sizeof start);
            pixels = 1;
        }
        const RgbeError error = readFlat(pixels);
        if (error == RgbeError::kNone) store_(work_.get(), 1, kRgbeBytes, out, width_);
        return error;
    }

private:
    // Stores a row without runs of either kind where the reader holds it: looking for runs costs no more than
    // the copy that this saves.
    bool storePlain(unsigned char* out) {
        const auto width = static_cast<std::size_t>(width_);
        const std::size_t bytes = width * kRgbeBytes;
        if (!dialect_.knowsOldRuns || bytes > ByteReader::kBufferBytes) return false;
        if (formats::widthHasPackets(width_)) {
            const ByteReader::Bytes start = source_.ahead(kRgbeBytes);
            if (start.size < kRgbeBytes || formats::startsPackets(start.data)) return false;
        }
        const ByteReader::Bytes row = source_.ahead(bytes);
        if (row.size < bytes) return false;
        // Nothing is before the first pixel of a row.
        if (1 + plainPixels(row.data + kRgbeBytes, width - 1) < width) return false;
        store_(row.data, 1, kRgbeBytes, out, width_);
        source_.consume(bytes);
        return true;
    }

    // Reads the pixels after the first ones.
    RgbeError readFlat(std::size_t first) {
        const auto width = static_cast<std::size_t>(width_);
        if (dialect_.knowsOldRuns) return readOldRuns(source_, width, first, work_.get());
        const bool isRead = source_.read(work_.get() + first * kRgbeBytes, (width - first) * kRgbeBytes);
        return isRead ? RgbeError::kNone : RgbeError::kRead;
    }

    ByteReader& source_;
    const Dialect& dialect_;
    decltype(&storeRow) store_;
    int width_;
    dib::MallocPtr<unsigned char> work_;
};

// The shortest packing of a component is two bytes for 127 pixels.
std::uint64_t fewestRowBytes(int width) {
    const auto pixels = static_cast<std::uint64_t>(width);
    return kRgbeBytes * (formats::widthHasPackets(width) ? 1 + (pixels + 126) / 127 * 2 : pixels);
}

// What is wrong with the file goes to `error`.
bool decode(ByteReader& file, const Dialect& dialect, Header& header, formats::NewImage& picture,
            RgbeError& error) {
    error = readHeader(file, dialect, header);
    if (error != RgbeError::kNone || header.width < 0 || header.height < 0)
        return fail(picture, DIB_ERROR_INVALID);
    const std::uint64_t fewestBytes =
        fewestRowBytes(header.width) * static_cast<std::uint64_t>(header.height);
    if (!picture.create(file, header.width, header.height, 24, fewestBytes)) return false;
    RowReader row(file, dialect, header);
    if (!row.ready()) return fail(picture, DIB_ERROR_MEMORY);

    for (int y = 0; y < header.height; ++y) {
        unsigned char* out = picture->ScanLine(y);
        error = row.read(out);
        if (error != RgbeError::kNone) return fail(picture, DIB_ERROR_INVALID);
        if (!picture.read(out)) return false;
    }
    return true;
}

}  // namespace

namespace formats {
unsigned char hdrByte(unsigned char mantissa, unsigned char exponent) { return tones()[exponent][mantissa]; }
}  // namespace formats

bool LoadHDR(std::FILE* file, DibStream* image, DibProgressCallback, void*) {
    ByteReader reader(file);
    formats::NewImage picture(image);
    Header header;
    RgbeError error = RgbeError::kNone;
    const bool isRead = decode(reader, kClassic, header, picture, error);
    formats::reportRgbe(error, file);
    return isRead;
}

bool LoadHDR(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadHDR, image, callback, user, formats::OpenFailure::kLeavesCode);
}
bool LoadHDR(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadHDR, image, callback, user, formats::OpenFailure::kLeavesCode);
}

namespace formats {

namespace {

bool recognizes(FirstBytes bytes) { return startsWith(bytes, "#?RADIANCE") || startsWith(bytes, "#?RGBE"); }

// Why a header is refused; false when it is.
bool judgeHeader(ByteReader& file, const Header& header, RgbeError error, DibFileResult& result) {
    const bool isAtEnd = file.ahead(1).size == 0;
    if (error != RgbeError::kNone) {
        file.seek(0);
        const ByteReader::Bytes start = file.ahead(2);
        if (!startsWith({start.data, start.size}, "#?"))
            return refuse(result, DIB_ERROR_INVALID, "not a Radiance file");
    }
    if (error == RgbeError::kRead || (error == RgbeError::kNoSize && isAtEnd))
        return refuse(result, DIB_ERROR_READ, "%s", kShortHeader);
    if (error == RgbeError::kNoFormat)
        return refuse(result, DIB_ERROR_UNSUPPORTED,
                      "the header has no line FORMAT=32-bit_rle_rgbe or FORMAT=32-bit_rle_xyze");
    if (error == RgbeError::kNoSize)
        return refuse(result, DIB_ERROR_INVALID, "the line of the size is missing or damaged");
    const Problem problem = sizeProblem(header.width, header.height, 24);
    return problem.empty() || refuse(result, problem);
}

bool probe(ProbeRequest& request) {
    Header header;
    const RgbeError error = readHeader(request.file, kWide, header);
    if (!judgeHeader(request.file, header, error, request.result)) return false;
    request.info.width = header.width;
    request.info.height = header.height;
    request.info.bitCount = 24;
    request.info.storedBits = 32;
    request.result.metadata.orientation = header.orientation;
    // The first row tells.
    const ByteReader::Bytes start = request.file.ahead(kRgbeBytes);
    const bool isPacked =
        widthHasPackets(header.width) && start.size >= kRgbeBytes && startsPackets(start.data);
    nameCompression(request.info, isPacked ? "rle" : "none");
    return true;
}

bool read(ReadRequest& request) {
    Header header;
    RgbeError error = RgbeError::kNone;
    NewImage picture(request.image, &request.progress);
    const bool isRead = request.end(decode(request.file, kWide, header, picture, error));
    request.result.metadata.orientation = header.orientation;
    // Other programs show pixels as they are stored, too.
    if (header.exposure != 1)
        note(request.result, DIB_NOTE_ASSUMPTION, "the exposure of %g was not undone", header.exposure);
    if (header.gamma != 1)
        note(request.result, DIB_NOTE_ASSUMPTION, "the gamma of %g was not undone", header.gamma);
    const bool hasPicture = request.image->Header != nullptr;
    if (!isRead && !hasPicture && !judgeHeader(request.file, header, error, request.result)) return false;
    if (hasPicture && error == RgbeError::kRead) refuse(request.result, DIB_ERROR_READ, "%s", kShortPixels);
    if (error == RgbeError::kWidth)
        refuse(request.result, DIB_ERROR_INVALID, "a row of run lengths is of another width");
    if (error == RgbeError::kPackets)
        refuse(request.result, DIB_ERROR_INVALID, "the run lengths are damaged");
    return isRead;
}

constexpr const char* kExtensions[] = {"hdr", nullptr};
constexpr const char* kMimeTypes[] = {"image/vnd.radiance", nullptr};

}  // namespace

constinit const FileFormat kHdrFormat = {
    .info = {.name = "hdr",
             .title = "Radiance HDR",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({24})},
    .recognizes = recognizes,
    .load = LoadHDR,
    .probe = probe,
    .read = read,
};

}  // namespace formats
