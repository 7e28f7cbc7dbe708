// TIFF files made field by field.
#ifndef TESTS_FORMATS_TIFF_BUILDER_H
#define TESTS_FORMATS_TIFF_BUILDER_H

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

#include "tests/support/ByteFile.h"

namespace codec_test {

// Fields by their numbers; all are written as 32-bit numbers, but for those of 16 bits in the format itself.
struct TiffBuilder {
    using Values = std::vector<std::uint32_t>;
    std::map<unsigned, Values> fields;
    std::vector<std::vector<unsigned char>> pieces;  // strips or tiles
    bool bigEndian = false;

    // One strip of samples, the first byte of a row on the left.
    TiffBuilder(std::uint32_t width, std::uint32_t height, unsigned bits, unsigned samples,
                unsigned photometric, std::vector<unsigned char> strip = {}) {
        fields = {{256, {width}}, {257, {height}},      {258, Values(samples, bits)},
                  {259, {1}},     {262, {photometric}}, {277, {samples}},
                  {278, {height}}};
        pieces.push_back(std::move(strip));
    }
    TiffBuilder& set(unsigned number, Values values) {
        fields[number] = std::move(values);
        return *this;
    }
    TiffBuilder& floats(unsigned samples) { return set(339, Values(samples, 3)); }
    TiffBuilder& tiles(std::uint32_t width, std::uint32_t height) {
        fields.erase(278);
        return set(322, {width}).set(323, {height});
    }

    std::vector<unsigned char> bytes() const {
        using testing_support::ByteWriter;
        const bool tiled = fields.count(322) != 0;
        ByteWriter file;
        file.text(bigEndian ? "MM" : "II");
        put16(file, 42);
        std::map<unsigned, Values> all = fields;
        Values offsets;
        Values sizes;
        std::uint32_t at = 8;
        for (const auto& piece : pieces) {
            offsets.push_back(at);
            sizes.push_back(static_cast<std::uint32_t>(piece.size()));
            at += static_cast<std::uint32_t>(piece.size());
        }
        all.insert({tiled ? 324 : 273, offsets});
        all.insert({tiled ? 325 : 279, sizes});
        put32(file, at);
        for (const auto& piece : pieces) file.raw(piece);
        put16(file, static_cast<std::uint32_t>(all.size()));
        auto behind = at + 2 + 12 * static_cast<std::uint32_t>(all.size()) + 4;
        ByteWriter rest;
        for (const auto& [number, values] : all) {
            // These are 16-bit numbers whatever they hold; libraries refuse others.
            const bool isShort = number == 258 || number == 320 || (number > 258 && number <= 266) ||
                                 number == 274 || number == 277 || number == 284 ||
                                 (number >= 330 && number < 530);
            ByteWriter packed;
            for (const std::uint32_t value : values) isShort ? put16(packed, value) : put32(packed, value);
            put16(file, number);
            put16(file, isShort ? 3 : 4);
            put32(file, static_cast<std::uint32_t>(values.size()));
            if (packed.bytes.size() <= 4) {
                packed.fill(4 - packed.bytes.size());
                file.raw(packed.bytes);
            } else {
                put32(file, behind + static_cast<std::uint32_t>(rest.bytes.size()));
                rest.raw(packed.bytes);
            }
        }
        put32(file, 0);
        file.raw(rest.bytes);
        return file.bytes;
    }

private:
    void put16(testing_support::ByteWriter& to, std::uint32_t value) const {
        bigEndian ? to.be16(value) : to.le16(value);
    }
    void put32(testing_support::ByteWriter& to, std::uint32_t value) const {
        bigEndian ? to.be32(value) : to.le32(value);
    }
};

}  // namespace codec_test

#endif
