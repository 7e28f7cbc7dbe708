#include "plugins/exr/Attributes.h"

#include <cstddef>
#include <string>

#include "dib/Bytes.h"

namespace plugins::exr {

namespace {

constexpr std::size_t kMostText = 255;

// False when the file ends before the text does, or when it is longer than names may be.
bool readText(std::FILE* file, std::string& text) {
    text.clear();
    int c = std::fgetc(file);
    for (; c != 0 && c != EOF && text.size() <= kMostText; c = std::fgetc(file)) {
        text.push_back(static_cast<char>(c));
    }
    return c == 0;
}

bool readLength(std::FILE* file, std::int64_t& length) {
    unsigned char n[4];
    if (std::fread(n, 1, sizeof n, file) != sizeof n) return false;
    length = dib::readLe32(n);
    return true;
}

// Whether a list of channels ends at the announced position.
bool isChannelListWhole(std::FILE* file, std::int64_t end) {
    constexpr long kEntryBytes = 16;  // after the name
    std::string name;
    while (readText(file, name)) {
        if (name.empty()) return std::ftell(file) == end;
        if (std::ftell(file) > end || std::fseek(file, kEntryBytes, SEEK_CUR) != 0) return false;
    }
    return false;
}

bool areTextsWhole(std::FILE* file, std::int64_t end) {
    std::int64_t length = 0;
    while (std::ftell(file) < end) {
        if (!readLength(file, length) || length > end - std::ftell(file)) return false;
        if (std::fseek(file, static_cast<long>(length), SEEK_CUR) != 0) return false;
    }
    return std::ftell(file) == end;
}

struct TypeBytes {
    const char* type;
    std::int64_t bytes;
};
constexpr TypeBytes kTypes[] = {{"box2f", 16},
                                {"box2i", 16},
                                {"chromaticities", 32},
                                {"compression", 1},
                                {"deepImageState", 1},
                                {"double", 8},
                                {"envmap", 1},
                                {"float", 4},
                                {"int", 4},
                                {"keycode", 28},
                                {"m33d", 72},
                                {"m33f", 36},
                                {"m44d", 128},
                                {"m44f", 64},
                                {"rational", 8},
                                {"v2d", 16},
                                {"v2f", 8},
                                {"v2i", 8},
                                {"v3d", 24},
                                {"v3f", 12},
                                {"v3i", 12},
                                {"lineOrder", 1},
                                {"tiledesc", 9},
                                {"timecode", 8}};

// Whether the announced length of a value is the length of its type. OpenEXR's classes ignore the announced
// length and would continue reading inside a value.
bool isValueWhole(std::FILE* file, const std::string& type, std::int64_t bytes) {
    if (type == "chlist") return isChannelListWhole(file, std::ftell(file) + bytes);
    if (type == "stringvector") return areTextsWhole(file, std::ftell(file) + bytes);
    if (type == "floatvector") return bytes % 4 == 0;
    for (const TypeBytes& known : kTypes) {
        if (type == known.type) return bytes == known.bytes;
    }
    return true;
}

// A header's attributes: a name, a type, the length of the value, and the value. An empty name ends them.
bool skipHeader(std::FILE* file, std::int64_t fileBytes, bool& isEmpty) {
    isEmpty = true;
    std::string text;
    for (; readText(file, text); isEmpty = false) {
        if (text.empty()) return true;
        std::int64_t bytes = 0;
        if (!readText(file, text) || text.empty() || !readLength(file, bytes)) return false;
        const long start = std::ftell(file);
        if (bytes > fileBytes - start || !isValueWhole(file, text, bytes)) return false;
        if (std::fseek(file, start + static_cast<long>(bytes), SEEK_SET) != 0) return false;
    }
    return false;
}

}  // namespace

std::int64_t lengthOf(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) return -1;
    return std::ftell(file);
}

bool areAttributesWhole(std::FILE* file) {
    constexpr unsigned kHasParts = 0x10;  // in the sixth byte; no attribute ends their headers
    const std::int64_t fileBytes = lengthOf(file);
    unsigned char start[8];
    if (std::fseek(file, 0, SEEK_SET) != 0 || std::fread(start, 1, sizeof start, file) != sizeof start)
        return false;
    bool isEmpty = false;
    do {
        if (!skipHeader(file, fileBytes, isEmpty)) return false;
    } while ((start[5] & kHasParts) != 0 && !isEmpty);
    return true;
}

}  // namespace plugins::exr
