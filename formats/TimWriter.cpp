// Writing TIM files.
#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "dib/PixelReader.h"
#include "dib/Raster.h"
#include "dib/RowConverter.h"
#include "formats/CodecFrame.h"
#include "formats/Rows.h"
#include "formats/Tim.h"
#include "formats/TimLayout.h"

namespace formats {

namespace {

std::uint32_t flagsOf(int bitCount) {
    switch (bitCount) {
        case 4: return 0 | kTimHasLookup;
        case 8: return 1 | kTimHasLookup;
        case 16: return 2;
        default: return kTimTrueColor;
    }
}

std::size_t wordsOf(std::integral auto width, std::integral auto bitCount) {
    return (dib::packedBytes(width, bitCount) + 1) / 2;
}

// What a file has beside its pixels, as another file had it: its positions in video memory, its lookup tables
// and what follows.
class TimFrame {
public:
    // Without a block, with a damaged one and where the image needs another depth there is no frame.
    TimFrame(const DibBytes* bytes, const BITMAPINFOHEADER& image) : bytes_(bytes) {
        if (bytes == nullptr || bytes->size == 0) return;
        ByteReader file(bytes->data, bytes->size);
        const bool isRead = readTimLayout(file, kWideTim, 0, layout_, words_) == DIB_OK &&
                            layout_.pixelStart <= dib::asOffset(bytes->size);
        if (!isRead) return;
        const int bits = image.biBitCount;
        const bool isSame = bits == layout_.bitCount || (bits == 32 && layout_.bitCount >= 16);
        fits_ = isSame && (bits > 8 || layout_.hasLookup || hasGreys(image));
    }

    bool fits() const { return fits_; }
    const TimLayout& layout() const { return layout_; }
    // The words of a row; those of the other file when the width is the same.
    std::size_t words(int width) const {
        return layout_.width() == width ? layout_.pixels.width : wordsOf(width, layout_.bitCount);
    }

    // False when memory is short.
    bool writeHead(ByteWriter& file, const BITMAPINFOHEADER& image, std::size_t words, std::size_t height) {
        const std::size_t size = layout_.headBytes();
        const auto head = dib::allocateArray<unsigned char>(size);
        if (head == nullptr) return false;
        std::memcpy(head.get(), bytes_->data, size);
        TimBlock pixels = layout_.pixels;
        if (pixels.width != words || pixels.height != height) {
            pixels.setSize(words, height);
            std::memcpy(head.get() + size - TimBlock::kBytes, pixels.bytes().data(), TimBlock::kBytes);
        }
        if (image.biBitCount <= 8 && layout_.hasLookup) storeColors(head.get(), image);
        file.bytes(head.get(), size);
        return true;
    }
    void writeTail(ByteWriter& file) const {
        const std::size_t head = layout_.headBytes();
        file.bytes(bytes_->data + head, bytes_->size - head);
    }

private:
    static bool hasGreys(const BITMAPINFOHEADER& image) {
        const std::size_t count = dib::addressableEntries(image.biBitCount);
        const auto colors = dib::readColorTable(image);
        for (std::size_t i = 0; i < count; ++i) {
            const auto grey = dib::byteOf(i * 255 / (count - 1));
            if (colors[i].red != grey || colors[i].green != grey || colors[i].blue != grey) return false;
        }
        return true;
    }

    // The words of table `table`, as far as there are any.
    template <class Use>
    void forEachWord(unsigned char* head, std::size_t table, const Use& use) const {
        const std::size_t before = layout_.tableColors() * table;
        const std::size_t count = std::min(layout_.tableColors(), layout_.colors - before);
        const std::size_t first = dib::asSize(layout_.firstColor) + 2 * before;
        const std::size_t end = layout_.headBytes() - TimBlock::kBytes;
        for (std::size_t i = 0; i < count && first + 2 * i + 2 <= end; ++i) use(i, head + first + 2 * i);
    }

    // A palette that is none of the lookup tables replaces the first one. Colours that stay keep their words.
    void storeColors(unsigned char* head, const BITMAPINFOHEADER& image) const {
        const auto colors = dib::readColorTable(image);
        for (std::size_t table = 0; table < layout_.tables(); ++table) {
            bool isSame = true;
            forEachWord(head, table, [&](std::size_t i, const unsigned char* word) {
                isSame = isSame && holds(word, colors[i]);
            });
            if (isSame) return;
        }
        forEachWord(head, 0, [&](std::size_t i, unsigned char* word) {
            if (!holds(word, colors[i])) dib::writeLe16(word, timWord(colors[i]));
        });
    }
    static bool holds(const unsigned char* word, const DibBGRA& color) {
        const DibBGRA stored = timColor(dib::readLe16(word), kWideTim);
        return stored.red == color.red && stored.green == color.green && stored.blue == color.blue;
    }

    const DibBytes* bytes_;
    TimLayout layout_;
    TimColors words_{};
    bool fits_ = false;
};

// The depth that holds the pixels of an image.
int fileBits(const BITMAPINFOHEADER& image, const TimFrame& frame) {
    if (frame.fits()) return frame.layout().bitCount;
    return image.biBitCount == 1 ? 4 : image.biBitCount == 32 ? 24 : image.biBitCount;
}

// Pixels of an image as those of a file of `fileBits`.
class RowSource {
public:
    RowSource(const DibStream& image, const dib::Raster& raster, int fileBits)
        : raster_(raster),
          convert_(dib::converterOf(raster.bitCount, dib::Packed::kBgr)),
          colors_(*image.Header),
          fileBits_(fileBits) {}

    void copy(int y, unsigned char* to) const {
        const unsigned char* row = raster_.row(y);
        if (raster_.bitCount == 1) return widen(row, to);
        if (raster_.bitCount != 32) {
            std::memcpy(to, row, dib::packedBytes(raster_.width, raster_.bitCount));
            if (raster_.bitCount == 4 && raster_.width % 2 != 0) to[raster_.width / 2] &= 0xF0;
            return;
        }
        if (fileBits_ == 16) return narrow(row, to);
        dib::forEachStrip(raster_.width, [&](std::size_t x, std::size_t count) {
            convert_(row + 4 * x, to + 3 * x, count, colors_);
        });
    }

private:
    // Bits become indices of four bits.
    void widen(const unsigned char* row, unsigned char* to) const {
        for (int x = 0; x < raster_.width; ++x) {
            const unsigned bit = row[x / 8] >> (7 - x % 8) & 1;
            to[x / 2] = dib::byteOf(x % 2 == 0 ? bit << 4 : to[x / 2] | bit);
        }
    }
    // Colours with alpha become words, in the order of images.
    void narrow(const unsigned char* row, unsigned char* to) const {
        for (std::size_t x = 0; x < raster_.columns(); ++x) {
            DibBGRA color;
            std::memcpy(&color, row + 4 * x, sizeof color);
            std::swap(color.red, color.blue);
            dib::writeLe16(to + 2 * x, timWordWithAlpha(color));
        }
    }

    dib::Raster raster_;
    dib::RowConverter convert_;
    dib::IndexColors colors_;
    int fileBits_;
};

void writeNumber(ByteWriter& file, std::uint32_t number) {
    unsigned char bytes[4];
    dib::writeLe32(bytes, number);
    file.bytes(bytes, sizeof bytes);
}

// One row of all colours that the depth can address; missing ones are 0.
void writeLookup(ByteWriter& file, const BITMAPINFOHEADER& header, std::size_t count) {
    const auto colors = dib::readColorTable(header);
    std::array<unsigned char, kMostTimColors * 2> words;
    for (std::size_t i = 0; i < count; ++i) dib::writeLe16(&words[2 * i], timWord(colors[i]));
    TimBlock block;
    block.setSize(count, 1);
    file.bytes(block.bytes().data(), TimBlock::kBytes);
    file.bytes(words.data(), 2 * count);
}

// Everything between the identifier and the pixels.
void writeHead(ByteWriter& file, const BITMAPINFOHEADER& header, int bitCount, std::size_t words,
               std::size_t height) {
    writeNumber(file, flagsOf(bitCount));
    if (bitCount <= 8) writeLookup(file, header, dib::addressableEntries(bitCount));
    TimBlock block;
    block.setSize(words, height);
    file.bytes(block.bytes().data(), TimBlock::kBytes);
}

// A word holds 4, 2 or 1 pixels, or two thirds of one.
bool encode(ByteWriter& file, const DibStream& image, const TimDialect& dialect, TimFrame& frame,
            Progress* progress, DibErrorCode& code) {
    if (!frame.fits()) writeNumber(file, kTimIdentifier);
    dib::Raster raster;
    dib::viewRows(image, raster);
    const int bitCount = fileBits(*image.Header, frame);
    const std::size_t words =
        (frame.fits() ? frame.words(raster.width) : wordsOf(raster.width, bitCount)) & kMostTimWords;
    const std::size_t height = raster.rows();
    RowWriter rows(file, words * 2, height);
    code = DIB_ERROR_MEMORY;
    if (!rows.ready()) return false;
    if (frame.fits()) {
        if (!frame.writeHead(file, *image.Header, words, height)) return false;
    } else {
        writeHead(file, *image.Header, bitCount, words, height);
    }
    code = DIB_OK;
    const RowSource source(image, raster, bitCount);
    for (int y = 0; y < raster.height; ++y) {
        unsigned char* row = rows.next();
        if (dialect.keepsFill) {
            std::memcpy(row, raster.row(y), words * 2);
        } else {
            std::memset(row, 0, words * 2);
            source.copy(y, row);
        }
        // Only pixels that come from such a file have a bit of their own there.
        exchangeTimOrder(row, words * 2, bitCount, dialect.keepsSpecialBit && frame.fits());
        if (progress != nullptr && !progress->rows(y + 1, height)) return false;
    }
    return true;
}

const DibBytes* frameOf(const DibSaveOptions& options) {
    return options.metadata != nullptr ? &options.metadata->timFrame : nullptr;
}

bool isSame(const DibBGRA& one, const DibBGRA& other) {
    return one.red == other.red && one.green == other.green && one.blue == other.blue &&
           one.alpha == other.alpha;
}

// Whether a palette has colours that words do not hold.
bool losesPalette(const BITMAPINFOHEADER& header) {
    const auto colors = dib::readColorTable(header);
    return std::any_of(colors.begin(), colors.end(), [](DibBGRA color) {
        color.alpha = 0;
        return !isSame(timColor(timWord(color), kWideTim), color);
    });
}

// Whether pixels of 32 bits have colours that words do not hold.
bool losesColors(const DibStream& image) {
    const std::size_t bytes = dib::admitSize(*image.Header).imageBytes;
    for (std::size_t i = 0; i < bytes; i += sizeof(DibBGRA)) {
        DibBGRA color;
        std::memcpy(&color, image.Buffer + i, sizeof color);
        if (!isSame(timColorWithAlpha(timWordWithAlpha(color)), color)) return true;
    }
    return false;
}

void noteColors(LossRequest& request, const TimFrame& frame) {
    const BITMAPINFOHEADER& header = *request.image.Header;
    const int fileBits = formats::fileBits(header, frame);
    const bool hasLookup = !frame.fits() || frame.layout().hasLookup;
    if (header.biBitCount != 32 || fileBits != 16) noteDepth(request, fileBits);
    if (header.biBitCount <= 8 && hasLookup && losesPalette(header))
        note(request.result, DIB_NOTE_LOSS, "colours of the palette keep 5 of 8 bits");
    if (header.biBitCount == 32 && fileBits == 16 && losesColors(request.image))
        note(request.result, DIB_NOTE_LOSS, "colours keep 5 of 8 bits, and alpha 3 values");
}

}  // namespace

bool saveTimWhole(ByteWriter& file, DibStream* image, DibProgressCallback, void*) {
    const int held = dib::hasRows(*image) ? image->Header->biBitCount : 0;
    ImagePtr converted;
    if (held != 4 && held != 8 && held != 16) {
        converted.reset(image->Clone());
        if (converted == nullptr || !converted->ChangeBpp(16, 0)) {
            writeNumber(file, kTimIdentifier);
            return fail(image, DIB_ERROR_MEMORY);
        }
    }
    const DibStream& source = converted != nullptr ? *converted : *image;
    TimFrame frame(nullptr, *source.Header);
    DibErrorCode code = DIB_OK;
    return encode(file, source, kClassicTim, frame, nullptr, code) || fail(image, code);
}

bool findTimLosses(LossRequest& request) {
    const BITMAPINFOHEADER& header = *request.image.Header;
    const TimFrame frame(frameOf(request.options), header);
    const std::size_t columns = dib::columnsOf(header);
    const std::size_t rows = dib::rowsOf(header);
    const auto bitCount = dib::asSize(fileBits(header, frame));
    const std::size_t words = wordsOf(columns, bitCount);
    if (words > kMostTimWords || rows > kMostTimWords) {
        return refuse(request.result, DIB_ERROR_MISMATCH, "TIM files hold at most %zux%zu pixels of %zu bits",
                      kMostTimWords * 16 / bitCount, kMostTimWords, bitCount);
    }
    noteColors(request, frame);
    const std::size_t stored = words * 16 / bitCount;
    if (stored != columns)
        note(request.result, DIB_NOTE_LOSS, "rows end with a word: the width of %zu becomes %zu", columns,
             stored);
    noteMetadata(request, {.timFrame = frame.fits()});
    return true;
}

bool writeTim(WriteRequest& request) {
    TimFrame frame(frameOf(request.options), *request.image.Header);
    DibErrorCode code = DIB_OK;
    if (encode(request.file, request.image, kWideTim, frame, &request.progress, code)) {
        if (frame.fits()) frame.writeTail(request.file);
        return true;
    }
    request.result.code = code;
    return false;
}

}  // namespace formats

void SaveTIM(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    formats::ByteWriter out(file);
    formats::saveTimWhole(out, image, callback, user);
}

// Always returns false, even for a complete file: callers must not use the result.
bool SaveTIM(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    formats::saveFile(path, formats::saveTimWhole, image, callback, user);
    return false;
}
bool SaveTIM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    formats::saveFile(path, formats::saveTimWhole, image, callback, user);
    return false;
}
