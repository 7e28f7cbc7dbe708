// Radiance files: the header and the image.
#include "formats/Hdr.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "dib/NumberText.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"
#include "formats/CodecFrame.h"
#include "formats/Formats.h"
#include "formats/HdrRows.h"
#include "formats/HeaderText.h"
#include "formats/NewImage.h"
#include "formats/Rgbe.h"

using formats::ByteReader;
using formats::fail;
using formats::kRgbeBytes;
using formats::RgbeError;

namespace {

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
    if (dib::readNumber(text.data(), text.data() + text.size(), value).ec == std::errc()) factor *= value;
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

// The shortest packing of a component is two bytes for 127 pixels.
std::uint64_t fewestRowBytes(std::uint64_t width) {
    return kRgbeBytes * (formats::widthHasPackets(width) ? 1 + (width + 126) / 127 * 2 : width);
}

// What is wrong with the file goes to `error`.
bool decode(ByteReader& file, const Dialect& dialect, Header& header, formats::NewImage& picture,
            RgbeError& error) {
    error = readHeader(file, dialect, header);
    if (error != RgbeError::kNone || header.width < 0 || header.height < 0)
        return fail(picture, DIB_ERROR_INVALID);
    const std::uint64_t fewestBytes =
        fewestRowBytes(dib::asUnsigned(header.width)) * dib::asUnsigned(header.height);
    if (!picture.create(file, header.width, header.height, 24, fewestBytes)) return false;
    formats::HdrRowReader row(file, header.width, header.isXyz, dialect.knowsOldRuns);
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
    // The first row shows it.
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
    // Exposure and gamma stay: other programs also show pixels as they are stored.
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
