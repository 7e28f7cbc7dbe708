#include "formats/windows/WindowsDecoder.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/windows/Com.h"
#include "vexlibs/SystemPath.h"

namespace formats {

namespace {

constexpr unsigned kMostColors = 256;

// The kinds of pixels that keep their palette or greys; all others are converted to true colour.
struct Indexed {
    const GUID& format;
    unsigned bits;
    bool isGrey;
};
const Indexed kIndexed[] = {
    {GUID_WICPixelFormat1bppIndexed, 1, false}, {GUID_WICPixelFormat2bppIndexed, 2, false},
    {GUID_WICPixelFormat4bppIndexed, 4, false}, {GUID_WICPixelFormat8bppIndexed, 8, false},
    {GUID_WICPixelFormatBlackWhite, 1, true},   {GUID_WICPixelFormat2bppGray, 2, true},
    {GUID_WICPixelFormat4bppGray, 4, true},     {GUID_WICPixelFormat8bppGray, 8, true},
};

const Indexed* indexedOf(const GUID& format) {
    const auto* row = std::find_if(std::begin(kIndexed), std::end(kIndexed),
                                   [&](const Indexed& kind) { return IsEqualGUID(kind.format, format); });
    return row != std::end(kIndexed) ? row : nullptr;
}

// The component reads more kinds of files, for which the library has readers of its own, or none.
bool isWanted(IWICBitmapDecoder& decoder) {
    GUID kind = {};
    if (FAILED(decoder.GetContainerFormat(&kind))) return false;
    return IsEqualGUID(kind, GUID_ContainerFormatPng) || IsEqualGUID(kind, GUID_ContainerFormatJpeg) ||
           IsEqualGUID(kind, GUID_ContainerFormatTiff);
}

// Indices of less than a byte become bytes.
void expandIndices(const unsigned char* from, unsigned char* to, std::size_t pixels, unsigned bits) {
    const unsigned mask = (1U << bits) - 1;
    for (std::size_t x = 0; x < pixels; ++x) {
        const std::size_t bit = x * bits;
        to[x] = static_cast<unsigned char>(from[bit / 8] >> (8 - bits - bit % 8) & mask);
    }
}

class WindowsDecoder final : public BitmapDecoder {
public:
    bool open(const char* path) {
        factory_ = imagingFactory();
        if (!factory_) return false;
        ComPtr<IWICBitmapDecoder> decoder;
        const std::wstring text = vexlibs::systemPath(path);
        return SUCCEEDED(factory_->CreateDecoderFromFilename(
                   text.c_str(), nullptr, GENERIC_READ, WICDecodeMetadataCacheOnDemand, decoder.out())) &&
               isWanted(*decoder.get()) && SUCCEEDED(decoder->GetFrame(0, frame_.out()));
    }

    bool readLayout(BitmapLayout& layout) override {
        UINT width = 0;
        UINT height = 0;
        WICPixelFormatGUID format = {};
        if (FAILED(frame_->GetSize(&width, &height)) || FAILED(frame_->GetPixelFormat(&format))) return false;
        width_ = width;
        indexed_ = indexedOf(format);
        if (indexed_ != nullptr && !indexed_->isGrey && !takePalette()) indexed_ = nullptr;
        const unsigned bits = indexed_ != nullptr ? 8 : isOpaque(format) && !hasClearColors_ ? 24 : 32;
        layout = {.width = width,
                  .height = height,
                  .bitsPerComponent = 8,
                  .bitsPerPixel = bits,
                  .bytesPerRow = std::size_t{width} * bits / 8,
                  .isAsStored = true};
        rowBytes_ = layout.bytesPerRow;
        if (indexed_ == nullptr)
            return convertTo(bits == 24 ? GUID_WICPixelFormat24bppBGR : GUID_WICPixelFormat32bppBGRA);
        if (indexed_->isGrey) makeGreys();
        return true;
    }

    ColorTriples readColors() override { return {colors_, colorCount_, colorCount_ > 0}; }

    bool startPixels() override {
        if (indexed_ == nullptr || indexed_->bits == 8) return true;
        packedBytes_ = (width_ * indexed_->bits + 7) / 8;
        packed_ = dib::allocateArray<unsigned char>(packedBytes_);
        return packed_ != nullptr;
    }

    const unsigned char* nextRow() override { return nullptr; }  // rows are as stored

    bool storeRow(unsigned char* row) override {
        const WICRect place = {0, nextRow_++, dib::asInt(width_), 1};
        IWICBitmapSource* source =
            converter_ ? static_cast<IWICBitmapSource*>(converter_.get()) : frame_.get();
        if (packed_ == nullptr) return copy(source, place, row, rowBytes_);
        if (!copy(source, place, packed_.get(), packedBytes_)) return false;
        expandIndices(packed_.get(), row, width_, indexed_->bits);
        return true;
    }

private:
    static bool copy(IWICBitmapSource* source, const WICRect& place, unsigned char* to, std::size_t bytes) {
        const auto room = static_cast<UINT>(bytes);
        return SUCCEEDED(source->CopyPixels(&place, room, room, to));
    }

    // Whether the pixels of a format never have alpha.
    bool isOpaque(const GUID& format) const {
        ComPtr<IWICComponentInfo> info;
        ComPtr<IWICPixelFormatInfo2> pixels;
        BOOL hasAlpha = TRUE;
        const bool isKnown = SUCCEEDED(factory_->CreateComponentInfo(format, info.out())) &&
                             SUCCEEDED(info->QueryInterface(IID_IWICPixelFormatInfo2,
                                                            reinterpret_cast<void**>(pixels.out()))) &&
                             SUCCEEDED(pixels->SupportsTransparency(&hasAlpha));
        return isKnown && hasAlpha == FALSE;
    }

    bool convertTo(const GUID& format) {
        return SUCCEEDED(factory_->CreateFormatConverter(converter_.out())) &&
               SUCCEEDED(converter_->Initialize(frame_.get(), format, WICBitmapDitherTypeNone, nullptr, 0,
                                                WICBitmapPaletteTypeCustom));
    }

    void addColor(unsigned red, unsigned green, unsigned blue) {
        unsigned char* triple = colors_ + 3 * colorCount_++;
        triple[0] = static_cast<unsigned char>(red);
        triple[1] = static_cast<unsigned char>(green);
        triple[2] = static_cast<unsigned char>(blue);
    }

    void makeGreys() {
        const unsigned last = (1U << indexed_->bits) - 1;
        for (unsigned level = 0; level <= last; ++level) {
            const unsigned value = level * 255 / last;
            addColor(value, value, value);
        }
    }

    // False when there is none, or a colour of it is transparent, which indices cannot say.
    bool takePalette() {
        ComPtr<IWICPalette> palette;
        BOOL hasAlpha = FALSE;
        WICColor colors[kMostColors];
        UINT count = 0;
        if (FAILED(factory_->CreatePalette(palette.out())) || FAILED(frame_->CopyPalette(palette.get())) ||
            FAILED(palette->HasAlpha(&hasAlpha)) || FAILED(palette->GetColors(kMostColors, colors, &count)))
            return false;
        hasClearColors_ = hasAlpha != FALSE;
        if (hasClearColors_) return false;
        for (UINT i = 0; i < std::min<UINT>(count, kMostColors); ++i)
            addColor(colors[i] >> 16 & 0xFF, colors[i] >> 8 & 0xFF, colors[i] & 0xFF);
        return colorCount_ > 0;
    }

    const ComThread thread_;  // before all references
    ComPtr<IWICImagingFactory> factory_;
    ComPtr<IWICBitmapFrameDecode> frame_;
    ComPtr<IWICFormatConverter> converter_;
    const Indexed* indexed_ = nullptr;
    bool hasClearColors_ = false;  // of the palette
    std::size_t width_ = 0;
    std::size_t rowBytes_ = 0;
    int nextRow_ = 0;
    unsigned char colors_[3 * kMostColors] = {};
    std::size_t colorCount_ = 0;
    dib::MallocPtr<unsigned char> packed_;  // a row of indices of less than a byte
    std::size_t packedBytes_ = 0;
};

}  // namespace

std::unique_ptr<BitmapDecoder> openByImagingComponent(const char* path) {
    try {
        auto decoder = std::make_unique<WindowsDecoder>();
        if (decoder->open(path)) return decoder;
    } catch (const std::bad_alloc&) {
        // As a file that cannot be opened.
    }
    return nullptr;
}

}  // namespace formats
