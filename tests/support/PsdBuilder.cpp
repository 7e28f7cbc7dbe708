#include "tests/support/PsdBuilder.h"

#include <algorithm>
#include <bit>

#include "tests/support/ByteFile.h"
#include "tests/support/TestImages.h"

namespace testing_support {

std::size_t psdRowBytes(int depth, int width) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(depth) + 7) / 8;
}

PsdBytes psdPlane(int depth, int width, int height, std::uint64_t seed) {
    Random random(seed);
    ByteWriter plane;
    const std::size_t total = psdRowBytes(depth, width) * static_cast<std::size_t>(height);
    while (plane.bytes.size() < total) {
        if (depth == 32) {
            const std::uint32_t bits = std::bit_cast<std::uint32_t>(random.real(-0.5F, 1.5F));
            plane.be32(random.below(16) == 0 ? 0x7FC00000U : bits);
        } else {
            // Runs of random length, so that both kinds of packets occur.
            const std::size_t run =
                random.below(3) == 0 ? static_cast<std::size_t>(random.between(1, 200)) : 1;
            plane.fill(std::min(run, total - plane.bytes.size()), random.next() & 255);
        }
    }
    return plane.bytes;
}

PsdBytes packBits(const unsigned char* row, std::size_t bytes) {
    ByteWriter packed;
    std::size_t at = 0;
    for (int packet = 0; at < bytes; ++packet) {
        if (packet % 7 == 0) packed.u8(0x80);
        std::size_t run = 1;
        while (at + run < bytes && run < 128 && row[at + run] == row[at]) ++run;
        if (run >= 2) {
            packed.u8(static_cast<unsigned>(257 - run) & 255).u8(row[at]);
            at += run;
            continue;
        }
        std::size_t end = at + 1;
        while (end < bytes && end - at < 128 && row[end] != row[end - 1]) ++end;
        packed.u8(static_cast<unsigned>(end - at - 1)).raw({row + at, row + end});
        at = end;
    }
    return packed.bytes;
}

PsdBytes storedZlib(const PsdBytes& bytes) {
    constexpr std::size_t kMostStored = 0xFFFF;
    ByteWriter stream;
    stream.u8(0x78).u8(0x01);
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (const unsigned char byte : bytes) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    std::size_t at = 0;
    do {
        const std::size_t part = std::min(kMostStored, bytes.size() - at);
        const auto length = static_cast<unsigned>(part);
        stream.u8(at + part == bytes.size() ? 1 : 0);
        stream.u8(length & 255).u8(length >> 8).u8(~length & 255).u8(~length >> 8 & 255);
        stream.raw({bytes.data() + at, bytes.data() + at + part});
        at += part;
    } while (at < bytes.size());
    return stream.be32(b << 16 | a).bytes;
}

PsdBytes predictedRow(int depth, const unsigned char* row, std::size_t bytes) {
    PsdBytes out(row, row + bytes);
    if (depth == 16) {
        for (std::size_t i = bytes; i >= 4; i -= 2) {
            const unsigned here = static_cast<unsigned>(row[i - 2] << 8 | row[i - 1]);
            const unsigned left = static_cast<unsigned>(row[i - 4] << 8 | row[i - 3]);
            out[i - 2] = static_cast<unsigned char>((here - left) >> 8 & 255);
            out[i - 1] = static_cast<unsigned char>((here - left) & 255);
        }
        return out;
    }
    if (depth == 32) {
        for (std::size_t i = 0; i < bytes; ++i) out[i % 4 * (bytes / 4) + i / 4] = row[i];
    }
    for (std::size_t i = bytes; i >= 2; --i) out[i - 1] = static_cast<unsigned char>(out[i - 1] - out[i - 2]);
    return out;
}

PsdBytes psdImageData(PsdCompression compression, int depth, int width, int height,
                      const std::vector<PsdBytes>& planes, bool isLarge) {
    const std::size_t rowBytes = psdRowBytes(depth, width);
    ByteWriter table;
    ByteWriter rows;
    table.be16(static_cast<std::uint32_t>(compression));
    for (const PsdBytes& plane : planes) {
        if (compression == PsdCompression::kRaw) rows.raw(plane);
        for (int y = 0; y < height && compression != PsdCompression::kRaw; ++y) {
            const unsigned char* row = plane.data() + static_cast<std::size_t>(y) * rowBytes;
            if (compression == PsdCompression::kPackBits) {
                const PsdBytes packed = packBits(row, rowBytes);
                const auto length = static_cast<std::uint32_t>(packed.size());
                isLarge ? table.be32(length) : table.be16(length);
                rows.raw(packed);
            } else if (compression == PsdCompression::kZipPredicted) {
                rows.raw(predictedRow(depth, row, rowBytes));
            } else {
                rows.raw({row, row + rowBytes});
            }
        }
    }
    const bool isZip = compression >= PsdCompression::kZip;
    return table.raw(isZip ? storedZlib(rows.bytes) : rows.bytes).bytes;
}

PsdBytes psdBlock(const std::string& key, const PsdBytes& data, bool isLong) {
    ByteWriter block;
    block.text("8BIM").text(key);
    if (isLong) block.be32(0);
    block.be32(static_cast<std::uint32_t>(data.size())).raw(data);
    return block.fill((4 - data.size() % 4) % 4).bytes;
}

PsdBytes psdUnicodeName(const std::u16string& name) {
    ByteWriter data;
    data.be32(static_cast<std::uint32_t>(name.size()));
    for (const char16_t unit : name) data.be16(unit);
    return psdBlock("luni", data.bytes);
}

namespace {

// A Pascal string padded to a multiple of `unit`.
void writeName(ByteWriter& file, const std::string& name, std::size_t unit) {
    file.u8(static_cast<unsigned>(name.size())).text(name);
    file.fill((unit - (name.size() + 1) % unit) % unit);
}

void writeRectangle(ByteWriter& file, const PsdRectangle& rectangle) {
    for (const int edge : {rectangle.top, rectangle.left, rectangle.bottom, rectangle.right}) {
        file.be32(static_cast<std::uint32_t>(edge));
    }
}

class Writer {
public:
    Writer(const PsdDocument& document, std::vector<PsdLengthField>* fields)
        : document_(document), fields_(fields) {}

    PsdBytes write() {
        const auto u32 = [](int value) { return static_cast<std::uint32_t>(value); };
        file_.text("8BPS").be16(document_.isLarge ? 2 : 1).fill(6);
        measure(2, u32(document_.channels));
        measure(4, u32(document_.height));
        measure(4, u32(document_.width));
        file_.be16(u32(document_.depth)).be16(u32(document_.mode));
        const std::size_t colorMode = begin();
        file_.raw(document_.colorMode);
        end(colorMode);
        const std::size_t resources = begin();
        writeResources();
        end(resources);
        const std::size_t layers = beginLong();
        writeLayerSection();
        end(layers);
        file_.raw(document_.imageData
                      ? *document_.imageData
                      : psdImageData(document_.compression, document_.depth, document_.width,
                                     document_.height, document_.allPlanes(), document_.isLarge));
        return file_.bytes;
    }

private:
    void measure(std::size_t bytes, std::uint32_t value) {
        if (fields_ != nullptr) fields_->push_back({file_.bytes.size(), bytes});
        bytes == 1 ? file_.u8(value) : bytes == 2 ? file_.be16(value) : file_.be32(value);
    }
    // A 4-byte length that is filled in when what it measures is written.
    std::size_t begin() {
        measure(4, 0);
        return file_.bytes.size();
    }
    // The same with 8 bytes in large documents, of which the second half is filled in.
    std::size_t beginLong() {
        if (document_.isLarge) file_.be32(0);
        return begin();
    }
    void end(std::size_t start) {
        ByteWriter length;
        length.be32(static_cast<std::uint32_t>(file_.bytes.size() - start));
        std::copy(length.bytes.begin(), length.bytes.end(),
                  file_.bytes.begin() + static_cast<std::ptrdiff_t>(start - 4));
    }
    void name(const std::string& text, std::size_t unit) {
        if (fields_ != nullptr) fields_->push_back({file_.bytes.size(), 1});
        writeName(file_, text, unit);
    }

    void writeResources() {
        if (document_.resourceSection) file_.raw(*document_.resourceSection);
        for (const PsdResource& resource : document_.resources) {
            file_.text("8BIM").be16(static_cast<std::uint32_t>(resource.id));
            name(resource.name, 2);
            measure(4, static_cast<std::uint32_t>(resource.data.size()));
            file_.raw(resource.data).fill(resource.data.size() % 2);
        }
    }

    void writeLayerSection() {
        if (document_.layerSection) file_.raw(*document_.layerSection);
        if (document_.layers.empty()) return;
        if (!document_.layerBlock.empty()) {
            beginLong();    // an empty list
            file_.be32(0);  // no global mask
            file_.text("8BIM").text(document_.layerBlock);
        }
        const std::size_t list = beginLong();
        writeLayers();
        end(list);
        if (document_.layerBlock.empty()) file_.be32(0);  // no global mask
    }

    void writeLayers() {
        const int count = static_cast<int>(document_.layers.size());
        measure(2, static_cast<std::uint32_t>(document_.negativeCount ? -count : count) & 0xFFFF);
        for (const PsdLayer& layer : document_.layers) writeRecord(layer);
        for (const PsdLayer& layer : document_.layers) {
            for (const PsdChannel& channel : layer.channels) file_.raw(channelData(layer, channel));
        }
    }

    PsdBytes channelData(const PsdLayer& layer, const PsdChannel& channel) const {
        const std::optional<PsdRectangle>& mask =
            channel.id == -3 && layer.secondMask ? layer.secondMask : layer.mask;
        const PsdRectangle rectangle = channel.id <= -2 ? mask.value_or(PsdRectangle{}) : layer.rectangle;
        return psdImageData(document_.compression, document_.depth, rectangle.width(), rectangle.height(),
                            {channel.plane}, document_.isLarge);
    }

    void writeRecord(const PsdLayer& layer) {
        writeRectangle(file_, layer.rectangle);
        measure(2, static_cast<std::uint32_t>(layer.channels.size()));
        for (const PsdChannel& channel : layer.channels) {
            file_.be16(static_cast<std::uint32_t>(channel.id) & 0xFFFF);
            if (document_.isLarge) file_.be32(0);
            measure(4, static_cast<std::uint32_t>(channelData(layer, channel).size()));
        }
        file_.text(layer.signature).text(layer.key);
        file_.u8(static_cast<unsigned>(layer.opacity)).u8(static_cast<unsigned>(layer.clipping));
        file_.u8(static_cast<unsigned>(layer.flags)).u8(0);
        const std::size_t extra = begin();
        const std::size_t mask = begin();
        if (layer.mask) {
            writeRectangle(file_, *layer.mask);
            file_.u8(255).u8(2);
            if (layer.secondMask) {
                file_.u8(0).u8(7);
                writeRectangle(file_, *layer.secondMask);
            } else {
                file_.fill(static_cast<std::size_t>(layer.maskLength - 18), 0xEE);
            }
        }
        end(mask);
        const std::size_t ranges = begin();
        for (std::uint32_t i = 0; layer.blendRanges && i <= layer.channels.size(); ++i) {
            file_.be16(i * 4).be16(i * 4 + 1).be16(i * 4 + 2).be16(i * 4 + 3);
        }
        end(ranges);
        name(layer.name, 4);
        file_.raw(layer.additional);
        end(extra);
    }

    const PsdDocument& document_;
    std::vector<PsdLengthField>* fields_;
    ByteWriter file_;
};

}  // namespace

std::vector<PsdBytes> PsdDocument::allPlanes() const {
    if (!planes.empty()) return planes;
    std::vector<PsdBytes> made;
    for (int channel = 0; channel < channels; ++channel) {
        made.push_back(psdPlane(depth, width, height, seed * 100 + static_cast<std::uint64_t>(channel)));
    }
    return made;
}

PsdBytes PsdDocument::bytes(std::vector<PsdLengthField>* fields) const {
    return Writer(*this, fields).write();
}

PsdLayer& PsdDocument::addLayer(const PsdRectangle& rectangle, const std::vector<int>& channelIds,
                                const std::optional<PsdRectangle>& mask) {
    PsdLayer& layer = layers.emplace_back();
    layer.rectangle = rectangle;
    layer.mask = mask;
    for (const int id : channelIds) {
        const PsdRectangle size = id <= -2 ? mask.value_or(PsdRectangle{}) : rectangle;
        const std::uint64_t planeSeed = seed * 1000 + layers.size() * 20 + layer.channels.size();
        layer.channels.push_back({id, psdPlane(depth, size.width(), size.height(), planeSeed)});
    }
    return layer;
}

std::vector<PsdDocument> psdVariants() {
    constexpr struct {
        int mode;
        int depth;
    } kKinds[] = {{0, 1},  {1, 8},  {1, 16}, {1, 32}, {2, 8}, {3, 8},
                  {3, 16}, {3, 32}, {4, 8},  {4, 16}, {4, 32}};
    std::vector<PsdDocument> variants;
    for (const auto& kind : kKinds) {
        for (int channels = 1; channels <= 5; ++channels) {
            for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
                PsdDocument document;
                document.mode = kind.mode;
                document.depth = kind.depth;
                document.channels = channels;
                document.compression = compression;
                document.seed = variants.size() + 1;
                document.width = 3 + static_cast<int>(variants.size() % 17);
                document.height = 1 + static_cast<int>(variants.size() % 5);
                if (kind.mode == 2 || channels == 2) document.colorMode = psdPlane(8, 768, 1, document.seed);
                const std::size_t turn = variants.size() % 4;
                if (turn >= 1) document.resources.push_back({1036, "", PsdBytes(29, 7)});
                if (turn >= 2) {
                    document.addLayer({0, 1, 3, 4}, {-1, 0, 1, 2}).blendRanges = true;
                    document.addLayer({-2, -3, 1, 2}, {0, -2}, PsdRectangle{1, 1, 3, 6}).name = "Mask";
                }
                if (turn == 3) {
                    document.negativeCount = true;
                    document.addLayer({2, 2, 2, 2}, {-1, 0}).flags = 2;
                    document.resources.push_back({1024, "odd", PsdBytes(2, 1)});
                }
                variants.push_back(document);
            }
        }
    }
    return variants;
}

}  // namespace testing_support
