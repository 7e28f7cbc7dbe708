#include "formats/PnmHeader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

#include "dib/Bytes.h"
#include "dib/NumberText.h"
#include "dib/Numbers.h"
#include "formats/diagnosis/Diagnosis.h"

namespace formats {

namespace {

constexpr std::uint32_t kMostValue = 65535;

class HeaderReader {
public:
    HeaderReader(ByteReader& file, PnmHeader& header, DibFileResult& result)
        : file_(file), header_(header), result_(result) {}

    bool read() { return readKind() && (isPam_ ? readFields() : readNumbers()) && judge(); }

private:
    bool refuseShort() { return refuse(result_, DIB_ERROR_READ, "%s", kShortHeader); }
    bool refuseInvalid(const char* reason) { return refuse(result_, DIB_ERROR_INVALID, "%s", reason); }

    // A number that is missing at the end of the file was cut off.
    bool refuseText(const char* reason) {
        return file_.ahead(1).size == 0 ? refuseShort() : refuseInvalid(reason);
    }

    bool readKind() {
        const int letter = file_.byte();
        const int kind = file_.byte();
        if (kind < 0) return refuseShort();
        if (letter != 'P') return refuseInvalid("this is not a PNM file");
        const bool isNumber = kind >= '1' && kind <= '7';
        if (!isNumber && kind != 'F' && kind != 'f') return refuseInvalid("this is not a PNM file");
        isPam_ = kind == '7';
        isFloat_ = !isNumber;
        // Colours with alpha; without this the digit would be the width.
        const ByteReader::Bytes next = file_.ahead(1);
        if (isFloat_ && next.size > 0 && *next.data == '4')
            return refuse(result_, DIB_ERROR_UNSUPPORTED, "PFM files with alpha (PF4) are not read");
        header_.isText = kind >= '1' && kind <= '3';
        header_.isBitmap = header_.isZeroWhite = kind == '1' || kind == '4';
        header_.channels = kind == '3' || kind == '6' || kind == 'F' ? 3 : 1;
        return true;
    }

    bool readNumbers() {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        bool* comments = &header_.hasComments;
        if (!readPnmNumber(file_, width, comments) || !readPnmNumber(file_, height, comments))
            return refuseText("the size is not two numbers");
        header_.width = clamped(width);
        header_.height = clamped(height);
        if (isFloat_) return readScale();
        if (!header_.isBitmap && !readPnmNumber(file_, header_.largest, comments))
            return refuseText("the largest value is not a number");
        return true;
    }

    static int clamped(std::uint32_t number) {
        return dib::asInt(std::min<std::uint32_t>(number, INT32_MAX));
    }

    // A negative scale says that the lowest byte of each float comes first.
    bool readScale() {
        char text[40];
        if (!file_.line(text, sizeof text)) return refuseShort();
        const char* end = text + std::strlen(text);
        const char* start =
            std::find_if_not(static_cast<const char*>(text), end, [](char c) { return isPnmBlank(c); });
        double scale = 0;
        const bool isNumber = dib::readNumber(start, end, scale).ec == std::errc();
        if (!isNumber || !(std::abs(scale) > 0)) return refuseInvalid("the scale is not a number");
        header_.isLittleEndian = scale < 0;
        header_.scale = std::abs(scale);
        return true;
    }

    // Lines of a name and a value, in any order, up to ENDHDR.
    bool readFields() {
        constexpr int kMostLines = 4096;
        header_.largest = 255;
        int channels = 0;
        char line[256];
        for (int i = 0; i < kMostLines; ++i) {
            if (!file_.line(line, sizeof line)) return refuseShort();
            std::string_view text(line);
            const std::string_view name = takeWord(text);
            const std::string_view value = takeWord(text);
            if (name == "ENDHDR") return chooseChannels(channels);
            header_.hasComments = header_.hasComments || name.starts_with('#');
            if (name.empty() || name.front() == '#') continue;
            if (name == "TUPLTYPE") {
                type_ = value;
                continue;
            }
            int number = 0;
            const auto parsed = std::from_chars(value.data(), value.data() + value.size(), number);
            if (parsed.ec != std::errc() || number < 0)
                return refuse(result_, DIB_ERROR_INVALID, "%.20s is not a number", std::string(name).c_str());
            if (name == "WIDTH") header_.width = number;
            if (name == "HEIGHT") header_.height = number;
            if (name == "DEPTH") channels = number;
            if (name == "MAXVAL") header_.largest = dib::dwordOf(number);
        }
        return refuseInvalid("the header does not end");
    }

    static std::string_view takeWord(std::string_view& text) {
        const auto isBlank = [](char c) { return isPnmBlank(c); };
        const auto* start = std::find_if_not(text.begin(), text.end(), isBlank);
        const auto* end = std::find_if(start, text.end(), isBlank);
        const std::string_view word =
            text.substr(dib::asSize(start - text.begin()), dib::asSize(end - start));
        text.remove_prefix(dib::asSize(end - text.begin()));
        return word;
    }

    bool isType(std::string_view type) const { return type_ == type; }

    bool chooseChannels(int channels) {
        const int usual = isType("CMYK_ALPHA")                    ? 5
                          : isType("RGB_ALPHA") || isType("CMYK") ? 4
                          : isType("RGB")                         ? 3
                          : type_.ends_with("_ALPHA")             ? 2
                                                                  : 1;
        header_.channels = channels != 0 ? channels : usual;
        header_.isCmyk =
            (header_.channels == 4 && isType("CMYK")) || (header_.channels == 5 && isType("CMYK_ALPHA"));
        header_.isBitmap = header_.channels == 1 && header_.largest == 1;
        if (header_.isCmyk || (header_.channels >= 1 && header_.channels <= 4)) return true;
        return refuse(result_, DIB_ERROR_UNSUPPORTED, "%d channels are not read", channels);
    }

    bool judge() {
        using Samples = PnmHeader::Samples;
        if (header_.largest == 0 || header_.largest > kMostValue)
            return refuse(result_, DIB_ERROR_INVALID, "a largest value of %u is impossible", header_.largest);
        header_.samples = isFloat_                      ? Samples::kFloats
                          : header_.largest > 255       ? Samples::kWords
                          : header_.isBitmap && !isPam_ ? Samples::kBits
                                                        : Samples::kBytes;
        const Problem problem = sizeProblem(header_.width, header_.height, header_.imageBits());
        return problem.empty() || refuse(result_, problem);
    }

    ByteReader& file_;
    PnmHeader& header_;
    DibFileResult& result_;
    bool isPam_ = false;
    bool isFloat_ = false;
    std::string type_;
};

}  // namespace

int nextPnmByte(ByteReader& file, bool* hasComments) {
    int byte = file.byte();
    if (byte == '#') {
        if (hasComments != nullptr) *hasComments = true;
        while (byte >= 0 && byte != '\n' && byte != '\r') byte = file.byte();
    }
    return byte;
}

bool readPnmNumber(ByteReader& file, std::uint32_t& number, bool* hasComments) {
    int byte = nextPnmByte(file, hasComments);
    while (isPnmBlank(byte)) byte = nextPnmByte(file, hasComments);
    if (byte < '0' || byte > '9') {
        if (byte >= 0) file.seek(file.position() - 1);
        return false;
    }
    std::uint64_t value = 0;
    for (; byte >= '0' && byte <= '9'; byte = nextPnmByte(file, hasComments))
        value = std::min<std::uint64_t>(value * 10 + static_cast<unsigned>(byte - '0'), UINT32_MAX);
    number = dib::dwordOf(value);
    return true;
}

bool PnmHeader::hasAlpha() const { return isCmyk ? channels == 5 : channels % 2 == 0; }

int PnmHeader::imageBits() const {
    if (isBitmap) return 1;
    if (channels == 1) return 8;
    return hasAlpha() ? 32 : 24;
}

int PnmHeader::storedBits() const {
    switch (samples) {
        case Samples::kBits: return 1;
        case Samples::kBytes: return 8 * channels;
        case Samples::kWords: return 16 * channels;
        default: return 32 * channels;
    }
}

std::uint64_t PnmHeader::rowBytes() const {
    const std::uint64_t pixels = dib::asUnsigned(width);
    // A sample of text takes at least a digit and, except in bitmaps, a blank.
    if (isText) return isBitmap ? pixels : 2 * pixels * dib::asUnsigned(channels) - 1;
    return (pixels * dib::asUnsigned(storedBits()) + 7) / 8;
}

bool readPnmHeader(ByteReader& file, PnmHeader& header, DibFileResult& result) {
    return HeaderReader(file, header, result).read();
}

}  // namespace formats
