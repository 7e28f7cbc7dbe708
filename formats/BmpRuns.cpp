#include "formats/BmpRuns.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "dib/BmpCodes.h"
#include "dib/Bytes.h"

namespace formats {

namespace {

namespace bmp = dib::bmp;

constexpr std::size_t kFewestLiterals = 3;  // smaller numbers are escapes
constexpr std::size_t kMostPixels = 255;

// Stores `count` pixels from column x on, those of one run or of literals, of which `done` pixels are already
// stored in the row before.
struct Pixels4 {
    static constexpr std::size_t kRunBytes = 1;
    static constexpr std::size_t literalBytes(std::size_t count) { return (count + 1) / 2; }
    static constexpr std::size_t literalsIn(std::size_t bytes) { return bytes * 2; }
    static void put(unsigned char* row, std::size_t x, unsigned nibble) {
        const unsigned shift = x % 2 == 0 ? 4 : 0;
        row[x / 2] = dib::byteOf((row[x / 2] & 0xF0U >> shift) | nibble << shift);
    }
    static unsigned nibbleOf(const unsigned char* code, std::size_t i) {
        return i % 2 == 0 ? code[i / 2] >> 4U : code[i / 2] & 15U;
    }
    static void run(unsigned char* row, std::size_t x, std::size_t done, std::size_t count,
                    const unsigned char* code) {
        for (std::size_t i = 0; i < count; ++i) put(row, x + i, nibbleOf(code, (done + i) % 2));
    }
    static void copy(unsigned char* row, std::size_t x, std::size_t done, std::size_t count,
                     const unsigned char* code) {
        for (std::size_t i = 0; i < count; ++i) put(row, x + i, nibbleOf(code, done + i));
    }
};

// The compiler knows that runs are short. It would replace a call of memset by string instructions, which
// take twice to three times as long.
void* (*const volatile kFillRun)(void*, int, std::size_t) = std::memset;

template <std::size_t kPixelBytes>
struct WholeBytes {
    static constexpr std::size_t kRunBytes = kPixelBytes;
    static constexpr std::size_t literalBytes(std::size_t count) { return count * kPixelBytes; }
    static constexpr std::size_t literalsIn(std::size_t bytes) { return bytes / kPixelBytes; }
    static void run(unsigned char* row, std::size_t x, std::size_t, std::size_t count,
                    const unsigned char* code) {
        if constexpr (kPixelBytes == 1) {
            kFillRun(row + x, code[0], count);
        } else {
            for (std::size_t i = 0; i < count; ++i)
                std::memcpy(row + (x + i) * kPixelBytes, code, kPixelBytes);
        }
    }
    static void copy(unsigned char* row, std::size_t x, std::size_t done, std::size_t count,
                     const unsigned char* code) {
        std::memmove(row + x * kPixelBytes, code + done * kPixelBytes, count * kPixelBytes);
    }
};

// Decodes runs at a position of the picture. Pixels past the end of a row continue in the next one, because
// some encoders write no ends of lines; escapes still count from the row that the runs began in.
template <class Pixels>
class RunDecoder {
public:
    RunDecoder(ByteReader& file, const BmpRows& image, Progress& progress)
        : file_(file), image_(image), progress_(progress) {}

    // Whether pixels lie outside the picture, or continue in the next row without an end of line.
    bool breaksRules() const { return breaksRules_; }

    bool decode() {
        while (y_ < image_.rows) {
            if (!readRuns()) return false;
            // After the runs comes a 0 with an escape, or the file ends.
            const ByteReader::Bytes code = file_.ahead(2);
            if (code.size < 2 || code.data[0] > 0) return isComplete();
            const unsigned escape = code.data[1];
            file_.consume(2);
            if (escape == bmp::kEndOfBitmap) return progress_.rows(image_.rows, image_.rows);
            if (escape == bmp::kEndOfLine) {
                if (!moveTo(0, y_ + 1)) return false;
            } else if (escape == bmp::kDelta) {
                const unsigned char* step = file_.take(2);
                if (step == nullptr) return isComplete();
                if (!moveTo(x_ + step[0], y_ + step[1])) return false;
                breaksRules_ = breaksRules_ || x_ > image_.width || y_ > image_.rows;
            } else if (!readLiterals(escape)) {
                return false;
            }
        }
        // Pixels may follow the last row.
        const ByteReader::Bytes code = file_.ahead(2);
        breaksRules_ = breaksRules_ || (code.size >= 2 && (code.data[0] > 0 || code.data[1] >= bmp::kDelta));
        return true;
    }

private:
    bool isComplete() const { return y_ * image_.width + x_ >= image_.rows * image_.width; }

    bool moveTo(std::size_t x, std::size_t y) {
        const bool isNewRow = y != y_;
        x_ = x;
        y_ = y;
        return !isNewRow || progress_.rows(std::min(y, image_.rows), image_.rows);
    }

    template <auto put>
    bool write(std::size_t count, const unsigned char* code) {
        if (x_ + count <= image_.width) {
            put(image_.pixels + y_ * image_.pitch, x_, 0, count, code);
            x_ += count;
            return true;
        }
        breaksRules_ = true;
        for (std::size_t done = 0; done < count;) {
            const std::size_t row = y_ + x_ / image_.width;
            const std::size_t column = x_ % image_.width;
            const std::size_t part = std::min(count - done, image_.width - column);
            if (row < image_.rows) put(image_.pixels + row * image_.pitch, column, done, part, code);
            done += part;
            x_ += part;
            if (done < count && !progress_.rows(std::min(row + 1, image_.rows), image_.rows)) return false;
        }
        return true;
    }

    // Reads counts and their pixels.
    bool readRuns() {
        constexpr std::size_t kBytes = 1 + Pixels::kRunBytes;
        for (;;) {
            const ByteReader::Bytes codes = file_.ahead(kBytes);
            std::size_t at = 0;
            for (; codes.size - at >= kBytes && codes.data[at] > 0; at += kBytes) {
                if (!write<Pixels::run>(codes.data[at], codes.data + at + 1)) return false;
            }
            file_.consume(at);
            if (at == 0) return true;
        }
    }

    bool readLiterals(std::size_t count) {
        const std::size_t bytes = Pixels::literalBytes(count);
        const ByteReader::Bytes ahead = file_.ahead(bytes);
        const bool isWhole = ahead.size >= bytes;
        // A file that ends here shows the pixels that it has.
        if (!write<Pixels::copy>(isWhole ? count : Pixels::literalsIn(ahead.size), ahead.data)) return false;
        if (!isWhole) return isComplete();
        file_.consume(bytes);
        if (bytes % 2 != 0) file_.byte();
        return true;
    }

    ByteReader& file_;
    const BmpRows& image_;
    Progress& progress_;
    std::size_t x_ = 0;
    std::size_t y_ = 0;
    bool breaksRules_ = false;
};

template <class Pixels>
bool decodeRuns(ReadRequest& request, const BmpRows& image) {
    RunDecoder<Pixels> decoder(request.file, image, request.progress);
    const bool isWhole = decoder.decode();
    if (decoder.breaksRules())
        note(request.result, DIB_NOTE_WARNING, "run-length data pass the end of a row or of the picture");
    return isWhole;
}

}  // namespace

bool decodeBmpRuns(ReadRequest& request, int bitCount, const BmpRows& image) {
    switch (bitCount) {
        case 4: return decodeRuns<Pixels4>(request, image);
        case 8: return decodeRuns<WholeBytes<1>>(request, image);
        default: return decodeRuns<WholeBytes<3>>(request, image);
    }
}

std::size_t encodeBmpRow(const unsigned char* row, std::size_t width, unsigned char* out) {
    unsigned char* const start = out;
    std::size_t x = 0;
    const auto runAt = [&](std::size_t at) {
        std::size_t count = 1;
        while (at + count < width && count < kMostPixels && row[at + count] == row[at]) ++count;
        return count;
    };
    while (x < width) {
        const std::size_t run = runAt(x);
        // Literals end at the next run that is longer than the escape after it.
        std::size_t end = x + run;
        while (run < kFewestLiterals && end < width && end - x < kMostPixels) {
            const std::size_t next = runAt(end);
            if (next > kFewestLiterals) break;
            end += next;
        }
        const std::size_t literals = std::min(end - x, kMostPixels);
        if (run >= kFewestLiterals || literals < kFewestLiterals) {
            *out++ = dib::byteOf(run);
            *out++ = row[x];
            x += run;
            continue;
        }
        *out++ = 0;
        *out++ = dib::byteOf(literals);
        std::memcpy(out, row + x, literals);
        out += literals;
        x += literals;
        if (literals % 2 != 0) *out++ = 0;
    }
    *out++ = 0;
    *out++ = bmp::kEndOfLine;
    return dib::bytesBetween(start, out);
}

}  // namespace formats
