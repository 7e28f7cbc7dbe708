// Reading TIM files.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/CodecFrame.h"
#include "formats/NewImage.h"
#include "formats/Tim.h"
#include "formats/TimLayout.h"
#include "formats/diagnosis/RefusedFile.h"

namespace formats {

namespace {

// Headers without a possible size are refused for the reason that the diagnosis of the format finds.
bool isPossible(const TimLayout& layout) {
    return sizeProblem(layout.width(), layout.height(), layout.bitCount).empty();
}

class TimReader {
public:
    // Alpha replaces the words of 16 bits and lookup tables that say what is transparent.
    TimReader(ByteReader& file, const TimDialect& dialect, int table, bool showsAlpha, NewImage& picture)
        : file_(file), dialect_(dialect), table_(table), showsAlpha_(showsAlpha), picture_(picture) {}

    // The classic loader passes no result.
    bool read(DibFileResult* result) {
        const DibErrorCode code = readTimLayout(file_, dialect_, table_, layout_, words_);
        if (code != DIB_OK) return fail(picture_, code);
        if (result != nullptr && !isPossible(layout_)) return fail(picture_, DIB_ERROR_INVALID);
        showsAlpha_ = showsAlpha_ && layout_.mayHaveAlpha();
        if (result != nullptr && !keepFrame(result->metadata.timFrame))
            return fail(picture_, DIB_ERROR_MEMORY);
        const int bitCount = showsAlpha_ ? 32 : layout_.bitCount;
        const std::uint64_t fewestBytes = std::uint64_t{layout_.rowBytes()} * layout_.pixels.height;
        if (!picture_.create(file_, layout_.width(), layout_.height(), bitCount, fewestBytes)) return false;
        if (!layout_.hasLookup) {
            picture_->SetMonoPalette();
        } else if (bitCount <= 8) {
            DibBGRA* table = dib::colorTable(picture_->Header);
            for (std::size_t i = 0; i < layout_.tableColors(); ++i) table[i] = timColor(words_[i], dialect_);
        }
        return showsAlpha_ ? readColors() : readPixels();
    }

private:
    // Keeps what is before and after the pixels.
    bool keepFrame(DibBytes& frame) {
        const std::int64_t size = file_.size();
        const std::int64_t start = layout_.pixelStart;
        const std::int64_t end = start + dib::asOffset(layout_.rowBytes() * layout_.pixels.height);
        if (size < start) return true;
        const auto head = dib::asSize(start);
        const auto tail = dib::asSize(std::max<std::int64_t>(size - end, 0));
        frame.data = dib::allocateArray<unsigned char>(head + tail).release();
        if (frame.data == nullptr) return false;
        frame.size = head + tail;
        file_.seek(0);
        file_.read(frame.data, head);
        file_.seek(end);
        file_.read(frame.data + head, tail);
        return file_.seek(start);
    }

    bool readPixels() {
        const int bitCount = layout_.bitCount;
        const std::size_t rowBytes = layout_.rowBytes();
        // Rows of 24 bits may have up to two bytes after their last pixel.
        const std::size_t pixelBytes = bitCount == 24 ? rowBytes / 3 * 3 : rowBytes;
        for (int y = 0; y < layout_.height(); ++y) {
            unsigned char* row = picture_->ScanLine(y);
            const std::size_t read = file_.copy(row, pixelBytes);
            if (read == pixelBytes) {
                exchangeTimOrder(row, pixelBytes, bitCount, dialect_.keepsSpecialBit);
                if (!picture_.read(row)) return false;
                file_.skip(rowBytes - pixelBytes);
                continue;
            }
            if (read > 0) {
                // Of half a pixel the classic loader exchanges red and blue, too.
                const std::size_t pixel =
                    dialect_.acceptsShort ? 1 : std::max<std::size_t>(dib::asSize(bitCount) / 8, 1);
                picture_.readPart(row, read - read % pixel);
                exchangeTimOrder(row, pixelBytes, bitCount, dialect_.keepsSpecialBit);
            }
            return dialect_.acceptsShort || fail(picture_, DIB_ERROR_READ);
        }
        return true;
    }

    bool readColors() {
        const std::size_t rowBytes = layout_.rowBytes();
        const auto stored = dib::allocateArray<unsigned char>(rowBytes);
        if (stored == nullptr) return fail(picture_, DIB_ERROR_MEMORY);
        for (int y = 0; y < layout_.height(); ++y) {
            if (!file_.read(stored.get(), rowBytes)) return fail(picture_, DIB_ERROR_READ);
            unsigned char* row = picture_->ScanLine(y);
            for (int x = 0; x < layout_.width(); ++x) {
                const DibBGRA color = timColorWithAlpha(wordAt(stored.get(), dib::asSize(x)));
                std::memcpy(row + std::size_t{4} * dib::asSize(x), &color, sizeof color);
            }
            if (!picture_.read(row)) return false;
        }
        return true;
    }

    unsigned wordAt(const unsigned char* row, std::size_t x) const {
        switch (layout_.bitCount) {
            case 4: return words_[row[x / 2] >> (x % 2 == 0 ? 0 : 4) & 15];
            case 8: return words_[row[x]];
            default: return dib::readLe16(row + 2 * x);
        }
    }

    ByteReader& file_;
    const TimDialect& dialect_;
    int table_;
    bool showsAlpha_;
    NewImage& picture_;
    TimLayout layout_;
    TimColors words_{};
};

bool wantsAlpha(const DibLoadOptions& options) { return options.alpha == DIB_ALPHA_STORED; }

}  // namespace

bool probeTim(ProbeRequest& request) {
    TimLayout layout;
    TimColors words;
    if (readTimLayout(request.file, kWideTim, 0, layout, words) != DIB_OK) return false;
    request.info.width = layout.width();
    request.info.height = layout.height();
    request.info.storedBits = layout.bitCount;
    request.info.hasAlpha = wantsAlpha(request.options) && layout.mayHaveAlpha();
    request.info.bitCount = request.info.hasAlpha ? 32 : layout.bitCount;
    request.info.paletteSize = dib::asInt(dib::addressableEntries(request.info.bitCount));
    request.info.pages = dib::asInt(layout.tables());
    request.info.videoX = dib::asInt(layout.pixels.x);
    request.info.videoY = dib::asInt(layout.pixels.y);
    if (layout.hasLookup) {
        request.info.paletteX = dib::asInt(layout.lookup.x);
        request.info.paletteY = dib::asInt(layout.lookup.y);
    }
    nameCompression(request.info, "none");
    return isPossible(layout);
}

bool readTim(ReadRequest& request) {
    NewImage picture(request.image, &request.progress);
    TimReader reader(request.file, kWideTim, request.options.page, wantsAlpha(request.options), picture);
    return request.end(reader.read(&request.result));
}

}  // namespace formats

bool LoadTIM(std::FILE* file, DibStream* image, DibProgressCallback, void*) {
    formats::ByteReader reader(file);
    formats::NewImage picture(image);
    return formats::TimReader(reader, formats::kClassicTim, 0, false, picture).read(nullptr);
}

bool LoadTIM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTIM, image, callback, user);
}
bool LoadTIM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, LoadTIM, image, callback, user);
}
