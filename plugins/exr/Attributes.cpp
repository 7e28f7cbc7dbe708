#include "plugins/exr/Attributes.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace plugins::exr {

namespace {

constexpr std::size_t kMostText = 255;

// Reads bytes one after the other.
class Cursor {
public:
    explicit Cursor(Job& job) : job_(job), end_(dib::asOffset(job.fileBytes())) {}

    std::int64_t position() const { return position_; }
    void skip(std::int64_t bytes) { position_ += bytes; }
    // The next byte; negative at the end of the file.
    int byte() {
        if (position_ < bufferStart_ || position_ >= bufferStart_ + buffered_) {
            bufferStart_ = position_;
            buffered_ = dib::asOffset(job_.readAt(dib::asUnsigned(position_), buffer_, sizeof buffer_));
        }
        isCut_ = isCut_ || buffered_ == 0;
        return buffered_ > 0 ? buffer_[position_++ - bufferStart_] : -1;
    }
    // Whether that many bytes follow.
    bool holds(std::int64_t bytes) {
        const bool isHeld = bytes <= end_ - position_;
        isCut_ = isCut_ || !isHeld;
        return isHeld;
    }
    // Whether a read went beyond the end of the file.
    bool isCut() const { return isCut_; }

private:
    Job& job_;
    std::int64_t end_;
    std::int64_t position_ = 0;
    std::int64_t bufferStart_ = 0;
    std::int64_t buffered_ = 0;
    bool isCut_ = false;
    unsigned char buffer_[512];
};

// False when the file ends before the text does, or when it is longer than names may be.
bool readText(Cursor& file, std::string& text) {
    text.clear();
    int c = file.byte();
    for (; c > 0 && text.size() <= kMostText; c = file.byte()) text.push_back(dib::charOf(c));
    return c == 0;
}

bool readLength(Cursor& file, std::int64_t& length) {
    unsigned char n[4];
    for (unsigned char& each : n) {
        const int c = file.byte();
        if (c < 0) return false;
        each = dib::byteOf(c);
    }
    length = dib::readLe32(n);
    return true;
}

// Whether a list of channels ends at the announced position.
bool isChannelListWhole(Cursor& file, std::int64_t end) {
    constexpr std::int64_t kEntryBytes = 16;  // after the name
    std::string name;
    while (readText(file, name)) {
        if (name.empty()) return file.position() == end;
        if (file.position() > end) return false;
        file.skip(kEntryBytes);
    }
    return false;
}

bool areTextsWhole(Cursor& file, std::int64_t end) {
    std::int64_t length = 0;
    while (file.position() < end) {
        if (!readLength(file, length) || length > end - file.position()) return false;
        file.skip(length);
    }
    return file.position() == end;
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
bool isValueWhole(Cursor& file, const std::string& type, std::int64_t bytes) {
    if (type == "chlist") return isChannelListWhole(file, file.position() + bytes);
    if (type == "stringvector") return areTextsWhole(file, file.position() + bytes);
    if (type == "floatvector") return bytes % 4 == 0;
    for (const TypeBytes& known : kTypes) {
        if (type == known.type) return bytes == known.bytes;
    }
    return true;
}

// A header's attributes: a name, a type, the length of the value, and the value. An empty name ends them.
bool skipHeader(Cursor& file, bool& isEmpty) {
    isEmpty = true;
    std::string text;
    for (; readText(file, text); isEmpty = false) {
        if (text.empty()) return true;
        std::int64_t bytes = 0;
        if (!readText(file, text) || text.empty() || !readLength(file, bytes)) return false;
        const std::int64_t start = file.position();
        if (!file.holds(bytes) || !isValueWhole(file, text, bytes)) return false;
        file.skip(start + bytes - file.position());
    }
    return false;
}

// Whether all headers are whole.
bool skipHeaders(Cursor& file) {
    constexpr unsigned kHasParts = 0x10;  // in the sixth byte; no attribute ends their headers
    unsigned char start[8];
    for (unsigned char& byte : start) {
        const int c = file.byte();
        if (c < 0) return false;
        byte = dib::byteOf(c);
    }
    bool isEmpty = false;
    do {
        if (!skipHeader(file, isEmpty)) return false;
    } while ((start[5] & kHasParts) != 0 && !isEmpty);
    return true;
}

}  // namespace

bool areAttributesWhole(Job& job, bool& isCut) {
    Cursor file(job);
    const bool isWhole = skipHeaders(file);
    isCut = file.isCut();
    return isWhole;
}

}  // namespace plugins::exr
