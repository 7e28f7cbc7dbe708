// The image resources of a PSD document. None changes the picture; a few are shown in the log.
#include <DibPSDLoader.h>

#include <cstring>

#include "dib/Bytes.h"
#include "dib/Memory.h"
#include "formats/PsdReader.h"

namespace {

struct PSD_ImageResourceBlock {
    unsigned char signature[4] = {};
    std::uint16_t id = 0;
    dib::MallocPtr<char> name;
    std::uint32_t size = 0;
    dib::MallocPtr<unsigned char> data;

    // Frees the previous data; never empty, so that no size gives a null block.
    bool AllocData() {
        data = dib::allocateArray<unsigned char>(std::size_t{size} + 1);
        return data != nullptr;
    }
};

enum ResourceId : std::uint16_t {
    kQuickMask = 1022,
    kTargetLayer = 1024,
    kLayerGroups = 1026,
    kThumbnailOld = 1033,
    kThumbnail = 1036,
};

// The second byte is that of the first: readers of the log compare it with what earlier versions printed,
// and the values only differ above 65535.
int thumbnailNumber(const unsigned char* p) {
    const unsigned char bytes[4] = {p[0], p[0], p[2], p[3]};
    return static_cast<int>(dib::readBe32(bytes));
}

}  // namespace

bool DibPSDLoader::LoadImageResource() {
    if (reader_ == nullptr || !DoCallback()) return false;
    std::uint32_t length = 0;
    if (!reader_->read32(length)) return false;
    const std::int64_t end = reader_->position() + length;

    while (reader_->position() < end) {
        PSD_ImageResourceBlock resource;
        if (!reader_->read(resource.signature, 4)) return false;
        if (std::memcmp(resource.signature, "8BIM", 4) != 0) {
            SetTargetError(DIB_ERROR_INVALID);
            return false;
        }
        if (!reader_->read16(resource.id)) return false;
        char* name = nullptr;
        const bool named = ReadPString(name, 2);
        resource.name.reset(name);
        if (!named || !reader_->read32(resource.size)) return false;
        // A size beyond the end of the file must not cost its memory.
        if (resource.size > reader_->remaining() || !resource.AllocData()) return false;
        if (!reader_->read(resource.data.get(), resource.size)) return false;
        std::uint8_t padding = 0;
        if (resource.size % 2 != 0 && !reader_->read8(padding)) return false;
        LogResource(resource.id, resource.data.get(), resource.size);
    }
    return reader_->position() == end;
}

void DibPSDLoader::LogResource(int id, const unsigned char* data, std::uint32_t size) const {
    if (log_ == nullptr) return;
    Log("ImageResourceID: %x\n", static_cast<unsigned int>(id));
    switch (id) {
        case kThumbnailOld:
        case kThumbnail:
            if (size >= 4) Log(" Thumbnail.Format: %d\n", thumbnailNumber(data));
            if (size >= 8) Log(" Thumbnail.Width: %d\n", thumbnailNumber(data + 4));
            if (size >= 12) Log(" Thumbnail.Height: %d\n", thumbnailNumber(data + 8));
            if (size >= 16) Log(" Thumbnail.WidthBytes: %d\n", thumbnailNumber(data + 12));
            if (size >= 20) Log(" Thumbnail.Size: %d\n", thumbnailNumber(data + 16));
            if (size >= 24) Log(" Thumbnail.CompressedSize: %d\n", thumbnailNumber(data + 20));
            if (size >= 26) Log(" Thumbnail.BitsPixel: %d\n", dib::readBe16(data + 24));
            if (size >= 28) Log(" Thumbnail.Planes: %d\n", dib::readBe16(data + 26));
            break;
        case kQuickMask:
            if (size >= 2) Log(" QuickMaskID: %d\n", dib::readBe16(data));
            if (size >= 3) Log(" MaskIsEmpty: %d\n", data[2]);
            break;
        case kTargetLayer:
            if (size >= 2) Log(" TargetLayer: %u\n", static_cast<unsigned int>(dib::readBe16(data)));
            break;
        case kLayerGroups:
            // Every line shows the first group, as it always has.
            for (std::uint32_t i = 0; i < size / 2; ++i) {
                Log(" LayerGroupID[%d]: %u\n", static_cast<int>(i),
                    static_cast<unsigned int>(dib::readBe16(data)));
            }
            break;
        default: break;
    }
}
