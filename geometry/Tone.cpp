// Row order and tone.
#include <DibStream.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "geometry/Canvas.h"

bool DibStream::UpDown(bool topDown) {
    if (Buffer == nullptr) return false;
    if (Header == nullptr) return topDown;
    if (topDown ? Header->biHeight < 0 : Header->biHeight > 0) return true;
    const dib::ImageSize size = dib::admitSize(*Header);
    if (!size.admitted) return false;
    const auto saved = dib::allocateArray<unsigned char>(std::max(size.rowBytes, std::size_t{1}));
    if (saved == nullptr) {
        ErrorCode = DIB_ERROR_GENERAL;
        return false;
    }
    for (std::size_t i = 0; i < size.rows / 2; ++i) {
        unsigned char* low = Buffer + i * size.rowBytes;
        unsigned char* high = Buffer + (size.rows - 1 - i) * size.rowBytes;
        std::memcpy(saved.get(), low, size.rowBytes);
        std::memcpy(low, high, size.rowBytes);
        std::memcpy(high, saved.get(), size.rowBytes);
    }
    Header->biHeight = -Header->biHeight;
    return true;
}

namespace {

// The bytes that the header announces, as far as they are rows of the image.
std::size_t passBytes(const DibStream& image) {
    const std::int32_t announced = image.GetImageSize();
    if (announced < 1) return 0;
    return std::min(static_cast<std::size_t>(announced), dib::admitSize(*image.Header).imageBytes);
}

DIB_ALWAYS_INLINE void invertBytes(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(~bytes[i]);
}

using ToneTable = std::array<unsigned char, 256>;

// Below 1 the value is scaled and rounded; above 1 its distance to white shrinks, truncated.
ToneTable brightenTable(float factor) {
    ToneTable table{};
    for (int v = 0; v < 256; ++v) {
        if (factor < 1.0F) {
            const float scaled = static_cast<float>(v) * factor;
            const double raised = static_cast<double>(scaled) + 0.5;
            table[static_cast<std::size_t>(v)] = static_cast<unsigned char>(raised);
        } else {
            const float step = static_cast<float>(255 - v) * (1.0F - 1.0F / factor);
            table[static_cast<std::size_t>(v)] = static_cast<unsigned char>(static_cast<int>(step) + v);
        }
    }
    return table;
}

// Blue, green and red of 4-byte records.
void mapRecords(unsigned char* records, std::size_t count, const ToneTable& table) {
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char* record = records + 4 * i;
        for (int channel = 0; channel < 3; ++channel) record[channel] = table[record[channel]];
    }
}

}  // namespace

bool DibStream::InvertTone() {
    if (Buffer == nullptr) return false;
    dib::runKernel<invertBytes>(Buffer, passBytes(*this));
    return true;
}

bool DibStream::Brighten(float factor) {
    if (Buffer == nullptr || !(factor >= 0.0F)) return false;
    if (factor == 1.0F) return true;
    if (Header == nullptr) return false;
    const ToneTable table = brightenTable(factor);
    switch (Header->biBitCount) {
        case 1:
        case 4:
        case 8:
            mapRecords(reinterpret_cast<unsigned char*>(dib::colorTable(Header)),
                       dib::announcedEntries(*Header), table);
            return true;
        case 24: {
            // The fill bytes of the rows change too.
            const std::size_t bytes = passBytes(*this);
            for (std::size_t i = 0; i < bytes; ++i) Buffer[i] = table[Buffer[i]];
            return true;
        }
        case 32: mapRecords(Buffer, dib::admitSize(*Header).imageBytes / 4, table); return true;
        default: return false;
    }
}
