#include <algorithm>
#include <climits>
#include <cmath>
#include <stdexcept>

#include "dib/ColorTable.h"
#include "operations/Descriptions.h"
#include "operations/Operations.h"

namespace operations {

namespace {

int toPixels(std::string_view name, const Measure& measure, int full) {
    const double pixels = measure.isPercent ? std::round(measure.number * full / 100) : measure.number;
    if (pixels >= INT_MIN && pixels <= INT_MAX) return static_cast<int>(pixels);
    throw Refusal{DIB_ERROR_MISMATCH, std::string(name) + ": " + plainNumber(measure.number) + "% of " +
                                          std::to_string(full) + " pixels is more than a picture can have"};
}

std::uint32_t nearestEntry(const BITMAPINFOHEADER& header, const DibBGRA& color) {
    const auto table = dib::readColorTable(header);
    const std::size_t entries =
        std::min(dib::announcedEntries(header), dib::addressableEntries(header.biBitCount));
    const auto squaredDistance = [&color](const DibBGRA& entry) {
        const int blue = entry.blue - color.blue;
        const int green = entry.green - color.green;
        const int red = entry.red - color.red;
        return blue * blue + green * green + red * red;
    };
    std::uint32_t nearest = 0;
    for (std::uint32_t i = 1; i < entries; ++i) {
        if (squaredDistance(table[i]) < squaredDistance(table[nearest])) nearest = i;
    }
    return nearest;
}

// A number for pixels of fewer bits than it has would be cut.
std::uint32_t checkedFill(const DibParameter& parameter, const Value& fill, int bitCount) {
    const auto number = static_cast<std::uint32_t>(fill.first.number);
    const std::uint32_t largest = bitCount >= 32 ? UINT32_MAX : (1U << bitCount) - 1;
    if (number <= largest) return number;
    throw Refusal{DIB_ERROR_MISMATCH,
                  std::string(parameter.name) + ": " + quoted(fill.text) + " is outside 0 to " +
                      std::to_string(largest) + " for a picture of " + bitsText(bitCount),
                  &parameter};
}

}  // namespace

std::size_t Arguments::indexOf(std::string_view name) const {
    const auto parameters = DibList(operation().info.parameters);
    const auto isNamed = [name](const DibParameter* parameter) { return parameter->name == name; };
    const auto found = std::find_if(parameters.begin(), parameters.end(), isNamed);
    if (found == parameters.end()) throw std::logic_error("no parameter '" + std::string(name) + "'");
    return static_cast<std::size_t>(found - parameters.begin());
}

int Arguments::integer(std::string_view name) const { return static_cast<int>(value(name).first.number); }

std::uint32_t Arguments::word(std::string_view name) const { return value(name).word; }

float Arguments::number(std::string_view name) const { return static_cast<float>(value(name).first.number); }

float Arguments::radians(std::string_view name) const { return number(name); }

int Arguments::pixels(std::string_view name, int full) const {
    return toPixels(name, value(name).first, full);
}

float Arguments::position(std::string_view name, int full) const {
    const Measure& measure = value(name).first;
    return static_cast<float>(measure.isPercent ? measure.number * (full - 1) / 100 : measure.number);
}

PixelSize Arguments::size(std::string_view name, const DibStream& image) const {
    const Value& found = value(name);
    // The side that is left out keeps the shape of the picture.
    const auto scaled = [&](int other, int otherFull, int full) {
        return toPixels(name, {100.0 * other / otherFull, true}, full);
    };
    const bool hasWidth = found.first.number != 0;
    const bool hasHeight = found.second.number != 0;
    PixelSize size{hasWidth ? toPixels(name, found.first, width(image)) : 0,
                   hasHeight ? toPixels(name, found.second, height(image)) : 0};
    if (!hasWidth) size.width = scaled(size.height, height(image), width(image));
    if (!hasHeight) size.height = scaled(size.width, width(image), height(image));
    return {std::max(1, size.width), std::max(1, size.height)};
}

DibBGRA Arguments::color(std::string_view name) const { return value(name).color; }

std::optional<DibBGRA> Arguments::colorIfAny(std::string_view name) const {
    const Value& found = value(name);
    return found.isColor ? std::optional(found.color) : std::nullopt;
}

std::uint32_t Arguments::fill(std::string_view name, const DibStream& image) const {
    const Value& found = value(name);
    if (!found.isColor) {
        return checkedFill(*operation().info.parameters[indexOf(name)], found, image.Header->biBitCount);
    }
    const DibBGRA& color = found.color;
    if (image.Header->biBitCount <= 8) return nearestEntry(*image.Header, color);
    if (image.Header->biBitCount == 16) {
        return static_cast<std::uint32_t>(color.red >> 3 << 10 | color.green >> 3 << 5 | color.blue >> 3);
    }
    return std::uint32_t{color.alpha} << 24 | std::uint32_t{color.red} << 16 |
           std::uint32_t{color.green} << 8 | color.blue;
}

const char* Arguments::path(std::string_view name) const { return value(name).text.c_str(); }

}  // namespace operations
