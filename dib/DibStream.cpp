#include <DibStream.h>

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <new>
#include <utility>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "headers and 16-bit pixels are little-endian in memory");
static_assert(FLT_EVAL_METHOD == 0,
              "results need every step rounded to its type: 32-bit x86 needs -mfpmath=sse");

using dib::kHeaderBytes;
using dib::kOwned;

// Life and counting.

DibStream::DibStream() = default;

DibStream::~DibStream() { Clear(); }

std::uint64_t DibStream::AddRef() { return ++RefCount; }

std::uint64_t DibStream::Release() {
    const std::uint64_t left = --RefCount;
    if (left == 0) delete this;
    return left;
}

// Ownership.

void DibStream::HeaderFree() {
    if (HeaderOwner != 0) std::free(Header);
    Header = nullptr;
    HeaderOwner = 0;
}

void DibStream::BufferFree() {
    if (BufferOwner != 0) std::free(Buffer);
    Buffer = nullptr;
    BufferOwner = 0;
}

void DibStream::Clear() {
    HeaderFree();
    BufferFree();
}

bool DibStream::SetDib(void* header, unsigned int headerOwner, void* buffer, unsigned int bufferOwner) {
    if (header == nullptr || buffer == nullptr) return false;
    Clear();
    Header = static_cast<BITMAPINFOHEADER*>(header);
    HeaderOwner = headerOwner;
    Buffer = static_cast<unsigned char*>(buffer);
    BufferOwner = bufferOwner;
    return true;
}

bool DibStream::SetBuffer(void* buffer, unsigned int owner) {
    BufferFree();
    Buffer = static_cast<unsigned char*>(buffer);
    BufferOwner = owner;
    return true;
}

// Copies.

namespace {

// Copies 40 bytes and the length of the announced table, whatever biSize is. The rest of the copy is zero,
// with room for every entry that the depth can address at the place where biSize puts the table. `header` is
// the start of the block `from`, which may lie at any address.
BITMAPINFOHEADER* copyHeaderBlock(const BITMAPINFOHEADER& header, const void* from) {
    if (!dib::announcesPossibleTable(header)) return nullptr;
    const std::size_t announced = dib::announcedEntries(header);
    const std::size_t entries = std::max(announced, dib::addressableEntries(header.biBitCount));
    auto block = dib::allocateZeroed<unsigned char>(dib::tableOffset(header) + entries * dib::kEntryBytes);
    if (block == nullptr) return nullptr;
    std::memcpy(block.get(), from, kHeaderBytes + announced * dib::kEntryBytes);
    return reinterpret_cast<BITMAPINFOHEADER*>(block.release());
}

// A copy of `announcedBytes` pixel bytes in a block that also holds every row of the header.
unsigned char* copyPixelBlock(const BITMAPINFOHEADER& header, const void* pixels,
                              std::size_t announcedBytes) {
    const dib::ImageSize size = dib::admitSize(header);
    if (!size.admitted || announcedBytes > INT32_MAX) return nullptr;
    const std::size_t blockBytes = std::max({announcedBytes, size.imageBytes, std::size_t{1}});
    auto block = dib::allocateImageBlock(blockBytes);
    if (block == nullptr) return nullptr;
    std::memcpy(block.get(), pixels, announcedBytes);
    std::memset(block.get() + announcedBytes, 0, blockBytes - announcedBytes);
    return block.release();
}

}  // namespace

bool DibStream::Copy(void* header, void* bits) {
    Clear();
    if (header == nullptr || bits == nullptr) return false;
    // The header inside a BMP file in memory lies at an odd address.
    BITMAPINFOHEADER source;
    std::memcpy(&source, header, kHeaderBytes);

    // Each word stays beside a null block when its allocation fails; a null block is never freed.
    HeaderOwner = kOwned;
    Header = copyHeaderBlock(source, header);
    if (Header == nullptr) return false;
    const std::size_t bytes =
        source.biSizeImage != 0 ? source.biSizeImage : dib::admitSize(source).imageBytes;
    BufferOwner = kOwned;
    Buffer = copyPixelBlock(source, bits, bytes);
    if (Buffer == nullptr) {
        HeaderFree();
        return false;
    }
    return true;
}

DibStream* DibStream::Clone() {
    auto* clone = new (std::nothrow) DibStream;
    const auto fail = [&]() -> DibStream* {
        delete clone;
        dib::failForMemory(*this);
        return nullptr;
    };
    if (clone == nullptr) return fail();
    if (Header != nullptr) {
        clone->Header = copyHeaderBlock(*Header, Header);
        if (clone->Header == nullptr) return fail();
        clone->HeaderOwner = kOwned;
    }
    // Pixels without a header have no size, so there is nothing to copy of them.
    if (Buffer != nullptr && Header != nullptr) {
        clone->Buffer = copyPixelBlock(*Header, Buffer, static_cast<std::uint32_t>(GetImageSize()));
        if (clone->Buffer == nullptr) return fail();
        clone->BufferOwner = kOwned;
    }
    return clone;
}

// New images.

bool DibStream::SetBitmapInfo(BITMAPINFOHEADER& info, int width, int height, int bitCount) {
    info.biSize = kHeaderBytes;
    info.biWidth = width;
    info.biHeight = height;
    info.biPlanes = 1;
    info.biBitCount = dib::wordOf(bitCount);
    if (!dib::isDepth(bitCount)) return false;
    info.biCompression = 0;
    info.biClrUsed = static_cast<std::uint32_t>(dib::addressableEntries(bitCount));
    const std::uint32_t rows = static_cast<std::uint32_t>(dib::rowCount(height));
    info.biSizeImage = dib::pitch32(bitCount, width) * rows;
    info.biXPelsPerMeter = 0;
    info.biYPelsPerMeter = 0;
    info.biClrImportant = 0;
    return true;
}

BITMAPINFOHEADER* DibStream::CreateHeader(int width, int height, int bitCount) {
    BITMAPINFOHEADER info;
    if (!SetBitmapInfo(info, width, height, bitCount)) return nullptr;
    auto block = dib::allocateArray<unsigned char>(kHeaderBytes + info.biClrUsed * dib::kEntryBytes);
    if (block == nullptr) {
        dib::failForMemory(*this);
        return nullptr;
    }
    auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.release());
    *header = info;
    // A 4-bit table stays uninitialised: callers that make such an image write their own table.
    if (bitCount == 8 || bitCount == 1) dib::writeGreyEntries(*header, info.biClrUsed);
    return header;
}

unsigned char* DibStream::CreateBuffer(BITMAPINFOHEADER* header) {
    if (header == nullptr) return nullptr;
    const dib::ImageSize size = dib::admitSize(*header);
    if (!size.admitted || size.imageBytes == 0) return nullptr;
    // Larger blocks come zeroed from the system, which is cheaper than touching every row.
    constexpr std::size_t kMostBytesCleared = std::size_t{64} << 20;
    const bool hasFill = std::int64_t{header->biWidth} * header->biBitCount % 32 != 0;
    if (hasFill && size.imageBytes > kMostBytesCleared)
        return dib::allocateZeroedImageBlock(size.imageBytes).release();
    auto block = dib::allocateImageBlock(size.imageBytes);
    if (hasFill && block != nullptr) dib::clearRowFill(block.get(), size);
    return block.release();
}

bool DibStream::Create(int width, int height, int bitCount) {
    Clear();
    Header = CreateHeader(width, height, bitCount);
    Buffer = CreateBuffer(Header);
    if (Header != nullptr && Buffer != nullptr) {
        HeaderOwner = kOwned;
        BufferOwner = kOwned;
        return true;
    }
    std::free(Header);
    Header = nullptr;
    return dib::failForMemory(*this);
}

void DibStream::SetMonoPalette() {
    if (Header == nullptr) return;
    const std::size_t entries = dib::addressableEntries(Header->biBitCount);
    if (!dib::isDepth(Header->biBitCount) || entries == 0) return;
    if (dib::ensureColorTable(*this, entries)) {
        dib::writeGreyEntries(*Header, entries);
    } else {
        dib::writeGreyEntries(*Header, std::min(entries, dib::announcedEntries(*Header)));
    }
}

// Addressing.

std::uint32_t DibStream::GetPitch() const {
    return Header != nullptr ? dib::pitch32(Header->biBitCount, Header->biWidth) : 0;
}

unsigned char* DibStream::ScanLine(int y) {
    if (Buffer == nullptr) return nullptr;
    const bool bottomUp = Header != nullptr && Header->biHeight >= 0;
    // Row offsets wrap in 32 bits like every other size of the image; unsigned arithmetic keeps that defined.
    const std::uint32_t row = static_cast<std::uint32_t>(y);
    const std::uint32_t bufferRow = bottomUp ? static_cast<std::uint32_t>(Header->biHeight) - 1U - row : row;
    return Buffer + static_cast<std::int32_t>(bufferRow * GetPitch());
}

unsigned char* DibStream::Pixel(int x, int y) {
    if (Header == nullptr || Buffer == nullptr || !dib::isDepth(Header->biBitCount)) return nullptr;
    return ScanLine(y) + (std::ptrdiff_t{x} * Header->biBitCount >> 3);
}

// Error texts.

const char* DibStream::GetErrorString(int code) {
    static constexpr const char* kTexts[] = {
        "",           "some error",    "allocate memory", "open file",      "read file",
        "write file", "invalid image", "unsupport type",  "not match type", "load interrput",
    };
    return code >= 0 && std::cmp_less(code, std::size(kTexts)) ? kTexts[code] : "(undefined)";
}
