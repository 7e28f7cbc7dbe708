#include "formats/psd/Outline.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace formats::psd {

namespace {

constexpr std::int64_t kHeaderBytes = 26;

constexpr std::uint32_t keyOf(std::string_view letters) {
    std::uint32_t key = 0;
    for (const char letter : letters) key = key << 8 | dib::byteOf(letter);
    return key;
}
constexpr std::uint32_t kSignature = keyOf("8BIM");
constexpr std::uint32_t kLargeSignature = keyOf("8B64");

constexpr const char* kModes[] = {"bitmap", "grey", "indexed",      "RGB",     "CMYK",
                                  "",       "",     "multichannel", "duotone", "Lab"};

bool isVariantOf(std::uint32_t mode, std::uint32_t depth) {
    if (mode == kBitmap) return depth == 1;
    if (mode == kIndexed || mode == kDuotone) return depth == 8;
    return depth == 8 || depth == 16 || (depth == 32 && mode != kLab && mode != kMultichannel);
}

Problem modeProblem(std::uint32_t mode, std::uint32_t depth) {
    if (mode >= std::size(kModes) || *kModes[mode] == '\0')
        return unread("colour mode " + std::to_string(mode) + " is not known");
    if (isVariantOf(mode, depth)) return {};
    return unread(std::string(kModes[mode]) + " documents of " + std::to_string(depth) +
                  " bits are not read");
}

// Reads the fields of a file one after the other. Those beyond its end are 0.
class Fields {
public:
    Fields(const RefusedFile& file, std::int64_t at, bool isLarge)
        : file_(file), at_(at), isLarge_(isLarge) {}

    std::int64_t at() const { return at_; }
    // Stops at the end of the file: lengths may lead anywhere.
    void seek(std::int64_t at) { at_ = std::min(at, file_.size()); }
    std::uint8_t u8() { return dib::byteOf(file_.byte(advance(1))); }
    std::uint16_t u16() { return dib::wordOf(file_.be16(advance(2))); }
    std::uint32_t u32() { return file_.be32(advance(4)); }
    std::int32_t s32() { return static_cast<std::int32_t>(u32()); }
    // A length that has 8 bytes in large documents.
    std::int64_t length() {
        if (!isLarge_) return u32();
        const std::uint64_t high = u32();
        const std::uint64_t low = u32();
        return dib::asOffset(std::min<std::uint64_t>(high << 32 | low, INT64_MAX / 4));
    }
    // The bytes that follow a length.
    Extent section() { return extent(length()); }
    Extent shortSection() { return extent(u32()); }
    Extent extent(std::int64_t bytes) { return {at_, std::min(at_ + bytes, file_.size())}; }
    Rectangle rectangle() {
        Rectangle rectangle;
        rectangle.top = s32();
        rectangle.left = s32();
        rectangle.bottom = s32();
        rectangle.right = s32();
        return rectangle;
    }
    std::string text(std::size_t bytes) { return file_.text(advance(dib::asOffset(bytes)), bytes); }

private:
    std::int64_t advance(std::int64_t bytes) {
        const std::int64_t at = at_;
        seek(at + bytes);
        return at;
    }

    const RefusedFile& file_;
    std::int64_t at_;
    bool isLarge_;
};

// Pixels per inch with 16 bits after the point, and units to show them in.
void readResolution(Fields fields, Outline& outline) {
    outline.xResolution = fields.u32() / 65536.0;
    fields.u32();
    outline.yResolution = fields.u32() / 65536.0;
}

void readResources(const RefusedFile& file, Extent section, Outline& outline) {
    enum Id : std::uint16_t {
        kResolution = 1005,
        kIptc = 1028,
        kProfile = 1039,
        kVersion = 1057,
        kExif = 1058,
        kXmp = 1060
    };
    Fields fields(file, section.start, false);
    while (fields.at() < section.end) {
        fields.u32();  // not all writers use the same signature
        const std::uint16_t id = fields.u16();
        const int nameBytes = fields.u8();
        fields.seek(fields.at() + nameBytes + (nameBytes % 2 == 0 ? 1 : 0));
        const Extent data = fields.shortSection();
        switch (id) {
            case kResolution: readResolution(fields, outline); break;
            case kIptc: outline.hasIptc = true; break;
            case kProfile: outline.profile = data; break;
            case kVersion: outline.hasMergedPicture = file.byte(data.start + 4) != 0; break;
            case kExif: outline.exif = data; break;
            case kXmp: outline.xmp = data; break;
            default: break;
        }
        fields.seek(data.end + (data.end - data.start) % 2);
    }
}

constexpr std::int64_t kMostFill = 3;

// A block of additional information: a signature, four letters, and data.
struct Block {
    std::uint32_t key = 0;
    Extent data;
};

// Reads blocks up to `end`, one after the other. Writers pad blocks to different multiples.
bool nextBlock(const RefusedFile& file, Fields& fields, std::int64_t end, bool isLarge, Block& block) {
    constexpr std::int64_t kBlockHeader = 12;
    constexpr std::uint32_t kLongKeys[] = {keyOf("LMsk"), keyOf("Lr16"), keyOf("Lr32"), keyOf("Layr"),
                                           keyOf("Mt16"), keyOf("Mt32"), keyOf("Mtrn"), keyOf("Alph"),
                                           keyOf("FMsk"), keyOf("lnk2"), keyOf("FEid"), keyOf("FXid"),
                                           keyOf("PxSD"), keyOf("lnkE"), keyOf("pths"), keyOf("cinf")};
    const auto isSignature = [](std::uint32_t word) { return word == kSignature || word == kLargeSignature; };
    for (std::int64_t fill = 0; fill <= kMostFill && fields.at() + kBlockHeader <= end; ++fill) {
        if (!isSignature(file.be32(fields.at()))) {
            fields.seek(fields.at() + 1);
            continue;
        }
        const std::uint32_t signature = fields.u32();
        block.key = fields.u32();
        const bool isLong =
            isLarge && (signature == kLargeSignature || std::find(std::begin(kLongKeys), std::end(kLongKeys),
                                                                  block.key) != std::end(kLongKeys));
        block.data = isLong ? fields.section() : fields.shortSection();
        block.data.end = std::min(block.data.end, end);
        fields.seek(block.data.end);
        return true;
    }
    return false;
}

// The list of layers, which documents of 16 and 32 bits keep in a block after an empty list. Another block,
// which is empty, says that the merged picture has transparency.
void readLayerSection(const RefusedFile& file, Extent section, Outline& outline) {
    Fields fields(file, section.start, outline.isLarge);
    if (section.end - section.start < (outline.isLarge ? 8 : 4)) return;
    outline.layers = fields.section();
    bool saysTransparent = false;
    if (outline.layers.end - outline.layers.start < 2) {
        fields.seek(outline.layers.end);
        const Extent globalMask = fields.shortSection();
        fields.seek(globalMask.end);
        for (Block block; nextBlock(file, fields, section.end, outline.isLarge, block);) {
            if (block.key == keyOf("Lr16") || block.key == keyOf("Lr32") || block.key == keyOf("Layr"))
                outline.layers = block.data;
            if (block.key == keyOf("Mt16") || block.key == keyOf("Mt32") || block.key == keyOf("Mtrn"))
                saysTransparent = true;
        }
    }
    const bool isList = outline.layers.end - outline.layers.start >= 2;
    const int count = isList ? static_cast<std::int16_t>(file.be16(outline.layers.start)) : 0;
    outline.layerCount = std::abs(count);
    // A negative number says that the first channel after the colours is the transparency of the picture.
    outline.isMatted = saysTransparent || count < 0;
    outline.hasTransparency = outline.isMatted || count == 0;
}

void readMasks(Fields fields, Extent data, LayerRecord& layer) {
    constexpr std::int64_t kBothMasks = 36;
    const std::int64_t bytes = data.end - data.start;
    if (bytes == 0) return;
    MaskRecord& first = layer.masks[0];
    first.exists = true;
    first.rectangle = fields.rectangle();
    first.outside = fields.u8();
    first.flags = fields.u8();
    if (bytes < kBothMasks) return;
    MaskRecord& second = layer.masks[1];
    second.exists = true;
    second.flags = fields.u8();
    second.outside = fields.u8();
    second.rectangle = fields.rectangle();
}

void appendUtf8(std::string& text, std::uint32_t code) {
    const auto tail = [&](int shift) { text += dib::charOf(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) {
        text += dib::charOf(code);
    } else if (code < 0x800) {
        text += dib::charOf(0xC0 | code >> 6);
        tail(0);
    } else if (code < 0x10000) {
        text += dib::charOf(0xE0 | code >> 12);
        tail(6);
        tail(0);
    } else {
        text += dib::charOf(0xF0 | code >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

constexpr std::uint32_t kUnknownLetter = 0xFFFD;

// A count and so many UTF-16 units; the last ones may be 0.
std::string unicodeName(Fields fields, Extent data) {
    const std::int64_t units = std::min<std::int64_t>(fields.u32(), (data.end - fields.at()) / 2);
    std::string name;
    for (std::int64_t i = 0; i < units; ++i) {
        std::uint32_t code = fields.u16();
        if (code == 0) break;
        if (code >= 0xD800 && code < 0xE000) {
            Fields ahead = fields;
            const std::uint32_t low = i + 1 < units && code < 0xDC00 ? ahead.u16() : 0;
            const bool isPair = low >= 0xDC00 && low < 0xE000;
            code = isPair ? 0x10000 + ((code & 0x3FF) << 10 | (low & 0x3FF)) : kUnknownLetter;
            if (isPair) {
                fields.u16();
                ++i;
            }
        }
        appendUtf8(name, code);
    }
    return name;
}

// Names in old documents have an unknown encoding, in which only ASCII is certain.
std::string plainName(const std::string& bytes) {
    std::string name;
    for (const char byte : bytes) {
        const auto code = dib::byteOf(byte);
        appendUtf8(name, code < 0x80 ? code : kUnknownLetter);
    }
    return name;
}

void readBlocks(const RefusedFile& file, Fields& fields, std::int64_t end, bool isLarge, LayerRecord& layer) {
    for (Block block; nextBlock(file, fields, end, isLarge, block);) {
        const Fields inside(file, block.data.start, isLarge);
        if (block.key == keyOf("luni")) layer.name = unicodeName(inside, block.data);
        if (block.key == keyOf("lsct")) layer.divider = Fields(inside).u32();
    }
}

// Whether a writer may have put these bytes there to reach a multiple: a few are 0.
bool isFill(const RefusedFile& file, Extent rest) {
    if (rest.end - rest.start > kMostFill) return true;
    for (std::int64_t at = rest.start; at < rest.end; ++at) {
        if (file.byte(at) != 0) return false;
    }
    return true;
}

void readRecord(const RefusedFile& file, Fields& fields, bool isLarge, LayerRecord& layer) {
    layer.rectangle = fields.rectangle();
    const int channels = fields.u16();
    for (int i = 0; i < channels && fields.at() < file.size(); ++i) {
        ChannelRecord& channel = layer.channels.emplace_back();
        channel.id = static_cast<std::int16_t>(fields.u16());
        channel.data.end = fields.length();  // start is added when all records are known
    }
    fields.u32();
    layer.blendKey = fields.u32();
    layer.opacity = fields.u8();
    layer.clipping = fields.u8();
    layer.flags = fields.u8();
    fields.u8();
    const Extent extra = fields.shortSection();
    const Extent masks = fields.shortSection();
    readMasks(fields, masks, layer);
    fields.seek(masks.end);
    fields.seek(fields.shortSection().end);  // blending ranges
    const std::size_t nameBytes = fields.u8();
    layer.name = plainName(fields.text(nameBytes));
    fields.seek(fields.at() + dib::asOffset((4 - (nameBytes + 1) % 4) % 4));
    readBlocks(file, fields, extra.end, isLarge, layer);
    // Some writers count the fill of a name that they do not write: what follows begins before the end.
    if (isFill(file, {fields.at(), extra.end})) fields.seek(extra.end);
}

}  // namespace

const ChannelRecord* LayerRecord::channel(int id) const {
    const auto found =
        std::find_if(channels.begin(), channels.end(), [&](const ChannelRecord& c) { return c.id == id; });
    return found != channels.end() ? &*found : nullptr;
}

int Outline::colors() const {
    switch (mode) {
        case kRgb:
        case kLab: return 3;
        case kCmyk: return 4;
        case kMultichannel: return channels >= 3 ? 3 : 1;
        default: return 1;
    }
}

const char* Outline::modeName() const { return kModes[mode]; }

int Outline::bitCount() const { return hasTransparency ? 32 : colors() == 1 ? 8 : 24; }

Problem headerProblem(const RefusedFile& file) {
    if (file.text(0, 4) != "8BPS") return damaged("not a PSD document");
    if (file.size() < kHeaderBytes) return cutShort(kShortHeader);
    const std::uint32_t version = file.be16(4);
    if (version != 1 && version != 2) return unread("version " + std::to_string(version) + " is not known");
    if (Problem problem = modeProblem(file.be16(24), file.be16(22)); !problem.empty()) return problem;
    return file.be16(12) == 0 ? damaged("the document has no channels") : Problem();
}

Outline outlineOf(const RefusedFile& file) {
    Outline outline;
    outline.isLarge = file.be16(4) == 2;
    outline.channels = dib::asInt(file.be16(12));
    outline.height = file.be32(14);
    outline.width = file.be32(18);
    outline.depth = dib::asInt(file.be16(22));
    outline.mode = dib::asInt(file.be16(24));
    Fields fields(file, kHeaderBytes, outline.isLarge);
    outline.palette = fields.shortSection();
    fields.seek(outline.palette.end);
    const Extent resources = fields.shortSection();
    readResources(file, resources, outline);
    fields.seek(resources.end);
    outline.hasTransparency = true;
    const Extent layers = fields.section();
    readLayerSection(file, layers, outline);
    outline.picture = layers.end;
    const bool hasMore = outline.channels > outline.colors();
    if (!hasMore || outline.mode == kIndexed || outline.mode == kMultichannel)
        outline.hasTransparency = outline.isMatted = false;
    return outline;
}

std::vector<LayerRecord> layersOf(const RefusedFile& file, const Outline& outline) {
    std::vector<LayerRecord> layers;
    Fields fields(file, outline.layers.start + 2, outline.isLarge);
    // Records are created as they are read: a count beyond the end of the file costs no memory.
    for (int i = 0; i < outline.layerCount && fields.at() < outline.layers.end; ++i)
        readRecord(file, fields, outline.isLarge, layers.emplace_back());
    for (LayerRecord& layer : layers) {
        for (ChannelRecord& channel : layer.channels) {
            channel.data = fields.extent(channel.data.end);
            fields.seek(channel.data.end);
        }
    }
    return layers;
}

}  // namespace formats::psd
