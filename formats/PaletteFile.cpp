// Palettes in files of their own. GIMP and JASC write lines of text, Adobe 256 triples of bytes.
#include <DibPalette.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "formats/ByteWriter.h"
#include "formats/Formats.h"
#include "formats/HeaderText.h"
#include "formats/door/Frame.h"
#include "formats/door/Source.h"
#include "formats/door/WholeFile.h"

namespace formats {

namespace {

constexpr std::size_t kMostColors = 256;
constexpr std::string_view kGimp = "GIMP Palette";
constexpr std::string_view kJasc = "JASC-PAL";

using Colors = std::vector<DibBGRA>;

// "r g b", with anything after it. False for another line.
bool readColor(const char* line, DibBGRA& color) {
    int rgb[3];
    for (int& value : rgb) {
        if (!readNumber(line, value) || value < 0 || value > 255) return false;
    }
    const auto byte = [&](int i) { return dib::byteOf(rgb[i]); };
    color = {.blue = byte(2), .green = byte(1), .red = byte(0), .alpha = 0};
    return true;
}

bool isBlank(std::string_view line) { return line.find_first_not_of(" \t\r\n") == std::string_view::npos; }

bool refuseLine(DibFileResult& result, int line) {
    return refuse(result, DIB_ERROR_INVALID, "line %d is not a colour of three numbers from 0 to 255", line);
}

void noteMore(DibFileResult& result) {
    note(result, DIB_NOTE_LOSS, "the file has more than 256 colours: the first 256 are kept");
}

// After "GIMP Palette": "Name:" and "Columns:", comments, and the colours with their names.
bool readGimp(ByteReader& file, Colors& colors, DibFileResult& result) {
    char line[1024];
    bool isTitle = true;
    for (int number = 1; file.line(line, sizeof line); ++number) {
        const std::string_view text = line;
        const bool isColor = !isTitle && !isBlank(text) && text.front() != '#' &&
                             !text.starts_with("Name:") && !text.starts_with("Columns:");
        isTitle = false;
        if (!isColor) continue;
        DibBGRA color;
        if (!readColor(line, color)) return refuseLine(result, number);
        if (colors.size() == kMostColors) {
            noteMore(result);
            break;
        }
        colors.push_back(color);
    }
    return !colors.empty() || refuse(result, DIB_ERROR_READ, "the file has no colours");
}

// After "JASC-PAL": a version, the number of colours, and one a line.
bool readJasc(ByteReader& file, Colors& colors, DibFileResult& result) {
    char line[256];
    const bool hasVersion = file.line(line, sizeof line) && file.line(line, sizeof line);
    int count = 0;
    const char* at = line;
    if (!hasVersion || !file.line(line, sizeof line))
        return refuse(result, DIB_ERROR_READ, "the file ends inside its header");
    if (!readNumber(at, count) || count < 1)
        return refuse(result, DIB_ERROR_INVALID, "line 3 does not give the number of colours");
    for (int i = 0; i < count; ++i) {
        if (colors.size() == kMostColors) {
            noteMore(result);
            break;
        }
        if (!file.line(line, sizeof line))
            return refuse(result, DIB_ERROR_READ, "the file ends after %d of %d colours", i, count);
        DibBGRA color;
        if (!readColor(line, color)) return refuseLine(result, i + 4);
        colors.push_back(color);
    }
    return true;
}

constexpr std::size_t kActBytes = 3 * kMostColors;
constexpr std::size_t kActTail = 4;  // the number of colours, and the transparent one, if they are not 256

bool readAct(ByteReader& file, Colors& colors, DibFileResult& result) {
    unsigned char bytes[kActBytes + kActTail] = {};
    const bool hasTail = file.copy(bytes, sizeof bytes) == sizeof bytes;
    std::size_t count = kMostColors;
    if (hasTail) {
        const std::size_t stored = dib::readBe16(bytes + kActBytes);
        if (stored > kMostColors)
            return refuse(result, DIB_ERROR_INVALID, "the file announces %zu colours", stored);
        if (stored != 0) count = stored;
        const unsigned transparent = dib::readBe16(bytes + kActBytes + 2);
        if (transparent < count)
            note(result, DIB_NOTE_LOSS, "colour %u is transparent in the file, which is not kept",
                 transparent);
    }
    for (std::size_t i = 0; i < count; ++i)
        colors.push_back(
            {.blue = bytes[3 * i + 2], .green = bytes[3 * i + 1], .red = bytes[3 * i], .alpha = 0});
    return true;
}

bool readColors(ByteReader& file, Colors& colors, DibFileResult& result) {
    const ByteReader::Bytes first = file.ahead(kActBytes + kActTail + 1);
    const std::string_view text = dib::textAt(first.data, first.size);
    if (text.starts_with(kGimp)) return readGimp(file, colors, result);
    if (text.starts_with(kJasc)) return readJasc(file, colors, result);
    // Such files have no signature.
    if (text.size() == kActBytes || text.size() == kActBytes + kActTail) return readAct(file, colors, result);
    return refuse(result, DIB_ERROR_UNSUPPORTED, "this is no palette of GIMP, JASC or Adobe");
}

bool makeImage(const Colors& colors, DibStream& image, DibFileResult& result) {
    DibStream made;
    if (!made.Create(dib::asInt(colors.size()), 1, 8)) return refuseForMemory(result);
    dib::clearRowFill(made.Buffer, dib::admitSize(*made.Header));
    DibBGRA* const table = dib::colorTable(made.Header);
    std::fill_n(table, kMostColors, DibBGRA{});
    std::copy(colors.begin(), colors.end(), table);
    made.Header->biClrUsed = dib::dwordOf(colors.size());
    for (std::size_t i = 0; i < colors.size(); ++i) made.Buffer[i] = dib::byteOf(i);
    dib::moveBlocks(made, image);
    return true;
}

// `open` opens the source.
template <class Open>
bool load(DibStream* image, DibFileResult* result, const Open& open) {
    DibFileResult own;
    DibFileResult& out = result != nullptr ? *result : own;
    const bool isDone = runCall(out, [&] {
        constexpr std::uint64_t kMostBytes = 1 << 20;  // of a pipe
        if (image == nullptr) return refuse(out, DIB_ERROR_INVALID, "there is no image");
        Source source(out, kMostBytes);
        Colors colors;
        return end(
            out, open(source) && readColors(source.reader(), colors, out) && makeImage(colors, *image, out));
    });
    if (image != nullptr) image->ErrorCode = out.code;
    return isDone;
}

void addLine(std::string& file, const char* form, const DibBGRA& color) {
    char line[64];
    std::snprintf(line, sizeof line, form, unsigned{color.red}, unsigned{color.green}, unsigned{color.blue});
    file += line;
}

std::string gimpFile(const Colors& colors) {
    std::string file = std::string(kGimp) + "\nName: Palette\nColumns: 16\n#\n";
    for (const DibBGRA& color : colors) addLine(file, "%3u %3u %3u\tUntitled\n", color);
    return file;
}

std::string jascFile(const Colors& colors) {
    std::string file = std::string(kJasc) + "\r\n0100\r\n" + std::to_string(colors.size()) + "\r\n";
    for (const DibBGRA& color : colors) addLine(file, "%u %u %u\r\n", color);
    return file;
}

std::string actFile(const Colors& colors) {
    std::string file;
    for (const DibBGRA& color : colors) {
        for (const std::uint8_t byte : {color.red, color.green, color.blue}) file += dib::charOf(byte);
    }
    file.resize(kActBytes);
    if (colors.size() == kMostColors) return file;
    // No colour is transparent.
    file += {dib::charOf(colors.size() >> 8), dib::charOf(colors.size()), '\xFF', '\xFF'};
    return file;
}

struct Kind {
    std::string_view name;
    std::string (*encode)(const Colors& colors);
};
constexpr Kind kKinds[] = {{"gpl", gimpFile}, {"pal", jascFile}, {"act", actFile}};

// The file as text. False with a reason.
bool encode(const DibStream* image, std::string_view format, std::string& file, DibFileResult& result) {
    if (image == nullptr || image->Header == nullptr)
        return refuse(result, DIB_ERROR_INVALID, "there is no image");
    const BITMAPINFOHEADER& header = *image->Header;
    const std::size_t entries = dib::usableEntries(header);
    if (entries == 0) return refuse(result, DIB_ERROR_MISMATCH, "the image has no palette");
    const auto table = dib::readColorTable(header);
    for (const Kind& kind : kKinds) {
        if (!isNamed(kind.name, format)) continue;
        file = kind.encode({table.begin(), table.begin() + dib::asOffset(entries)});
        return true;
    }
    return refuse(result, DIB_ERROR_UNSUPPORTED, "no palette format has the name \"%.40s\": gpl, pal and act",
                  std::string(format).c_str());
}

bool store(const char* path, const std::string& bytes, DibFileResult& result) {
    const auto write = [&](ByteWriter& file) {
        file.bytes(bytes.data(), bytes.size());
        return file.isWhole() || refuseForSystem(result, DIB_ERROR_WRITE, kUnwritten, errno);
    };
    return writeWhole(path, result, write, [] { return true; });
}

}  // namespace

}  // namespace formats

bool DibLoadPalette(const char* path, DibStream* image, DibFileResult* result) {
    return formats::load(image, result, [=](formats::Source& source) { return source.open(path); });
}

bool DibLoadPaletteMemory(const void* bytes, std::size_t size, DibStream* image, DibFileResult* result) {
    return formats::load(image, result, [=](formats::Source& source) { return source.open(bytes, size); });
}

bool DibSavePalette(const char* path, const DibStream* image, const char* format, DibFileResult* result) {
    DibFileResult own;
    DibFileResult& out = result != nullptr ? *result : own;
    return formats::runCall(out, [&] {
        if (path == nullptr || *path == '\0')
            return formats::refuse(out, DIB_ERROR_OPEN, "the path is empty");
        std::string file;
        return formats::encode(image, format != nullptr ? format : formats::extensionOf(path), file, out) &&
               formats::store(path, file, out);
    });
}

bool DibSavePaletteMemory(DibBytes* bytes, const DibStream* image, const char* format,
                          DibFileResult* result) {
    DibFileResult own;
    DibFileResult& out = result != nullptr ? *result : own;
    return formats::runCall(out, [&] {
        if (bytes == nullptr)
            return formats::refuse(out, DIB_ERROR_INVALID, "there is no block for the file");
        std::string file;
        if (!formats::encode(image, format != nullptr ? format : "", file, out)) return false;
        DibBytes made;
        formats::ByteWriter writer(made);
        writer.bytes(file.data(), file.size());
        if (!writer.isWhole()) throw std::bad_alloc();
        *bytes = std::move(made);
        return true;
    });
}
