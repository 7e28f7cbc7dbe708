// The image resources of a PSD document. None changes the picture; a few are shown in the log.
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/psd/Document.h"

namespace formats::psd {

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

// The second byte repeats the first: readers of the log compare it with what earlier versions printed, and
// only values above 65535 differ.
int thumbnailNumber(const unsigned char* p) {
    const unsigned char bytes[4] = {p[0], p[0], p[2], p[3]};
    return dib::asInt(dib::readBe32(bytes));
}

void logThumbnail(const Document& document, const unsigned char* data, std::uint32_t size) {
    if (size >= 4) document.log(" Thumbnail.Format: %d\n", thumbnailNumber(data));
    if (size >= 8) document.log(" Thumbnail.Width: %d\n", thumbnailNumber(data + 4));
    if (size >= 12) document.log(" Thumbnail.Height: %d\n", thumbnailNumber(data + 8));
    if (size >= 16) document.log(" Thumbnail.WidthBytes: %d\n", thumbnailNumber(data + 12));
    if (size >= 20) document.log(" Thumbnail.Size: %d\n", thumbnailNumber(data + 16));
    if (size >= 24) document.log(" Thumbnail.CompressedSize: %d\n", thumbnailNumber(data + 20));
    if (size >= 26) document.log(" Thumbnail.BitsPixel: %d\n", dib::readBe16(data + 24));
    if (size >= 28) document.log(" Thumbnail.Planes: %d\n", dib::readBe16(data + 26));
}

void logResource(const Document& document, int id, const unsigned char* data, std::uint32_t size) {
    if (!document.hasLog()) return;
    document.log("ImageResourceID: %x\n", static_cast<unsigned int>(id));
    switch (id) {
        case kThumbnailOld:
        case kThumbnail: logThumbnail(document, data, size); break;
        case kQuickMask:
            if (size >= 2) document.log(" QuickMaskID: %d\n", dib::readBe16(data));
            if (size >= 3) document.log(" MaskIsEmpty: %d\n", data[2]);
            break;
        case kTargetLayer:
            if (size >= 2) document.log(" TargetLayer: %u\n", unsigned{dib::readBe16(data)});
            break;
        case kLayerGroups:
            // Every line shows the first group, as it always has.
            for (std::uint32_t i = 0; i < size / 2; ++i)
                document.log(" LayerGroupID[%d]: %u\n", dib::asInt(i), unsigned{dib::readBe16(data)});
            break;
        default: break;
    }
}

bool readResource(Document& document) {
    Reader& file = document.file;
    PSD_ImageResourceBlock resource;
    if (!file.read(resource.signature, 4)) return false;
    if (std::memcmp(resource.signature, "8BIM", 4) != 0) {
        document.setError(DIB_ERROR_INVALID);
        return false;
    }
    if (!file.readNumber(resource.id)) return false;
    char* name = nullptr;
    const bool named = readText(file, name, 2);
    resource.name.reset(name);
    if (!named || !file.readNumber(resource.size)) return false;
    // A size beyond the end of the file must not cost its memory.
    if (resource.size > file.remaining() || !resource.AllocData()) return false;
    if (!file.read(resource.data.get(), resource.size)) return false;
    std::uint8_t padding = 0;
    if (resource.size % 2 != 0 && !file.readNumber(padding)) return false;
    logResource(document, resource.id, resource.data.get(), resource.size);
    return true;
}

}  // namespace

bool readResources(Document& document) {
    std::uint32_t length = 0;
    if (!document.report() || !document.file.readNumber(length)) return false;
    const std::int64_t end = document.file.position() + length;
    while (document.file.position() < end) {
        if (!readResource(document)) return false;
    }
    return document.file.position() == end;
}

}  // namespace formats::psd
