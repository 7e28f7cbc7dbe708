#include <algorithm>
#include <climits>
#include <cmath>
#include <filesystem>
#include <stdexcept>

#include "tools/io/Images.h"
#include "tools/operations/Operations.h"

namespace tool {

namespace {

int toPixels(const Measure& measure, int full) {
    const double pixels = measure.isPercent ? std::round(measure.number * full / 100) : measure.number;
    return static_cast<int>(std::clamp<double>(pixels, INT_MIN, INT_MAX));
}

std::uint32_t nearestEntry(const BITMAPINFOHEADER& header, const DibBGRA& color) {
    const auto* table =
        reinterpret_cast<const DibBGRA*>(reinterpret_cast<const char*>(&header) + header.biSize);
    const std::uint32_t addressable = 1U << header.biBitCount;
    const std::uint32_t entries =
        header.biClrUsed == 0 ? addressable : std::min(header.biClrUsed, addressable);
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

}  // namespace

const Value& Arguments::value(std::string_view name) const {
    const std::span<const Parameter> parameters = operation().parameters;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (parameters[i].name == name) return values_[i];
    }
    throw std::logic_error("no parameter '" + std::string(name) + "'");
}

int Arguments::integer(std::string_view name) const { return static_cast<int>(value(name).first.number); }

std::uint32_t Arguments::word(std::string_view name) const { return value(name).word; }

float Arguments::number(std::string_view name) const { return static_cast<float>(value(name).first.number); }

float Arguments::radians(std::string_view name) const { return number(name); }

int Arguments::pixels(std::string_view name, int full) const { return toPixels(value(name).first, full); }

float Arguments::position(std::string_view name, int full) const {
    const Measure& measure = value(name).first;
    return static_cast<float>(measure.isPercent ? measure.number * (full - 1) / 100 : measure.number);
}

PixelSize Arguments::size(std::string_view name, const DibStream& image) const {
    const Value& found = value(name);
    return {std::max(1, toPixels(found.first, width(image))),
            std::max(1, toPixels(found.second, height(image)))};
}

DibBGRA Arguments::color(std::string_view name) const { return value(name).color; }

std::uint32_t Arguments::fill(std::string_view name, const DibStream& image) const {
    const Value& found = value(name);
    if (!found.isColor) return static_cast<std::uint32_t>(found.first.number);
    const DibBGRA& color = found.color;
    if (image.Header->biBitCount <= 8) return nearestEntry(*image.Header, color);
    if (image.Header->biBitCount == 16) {
        return static_cast<std::uint32_t>(color.red >> 3 << 10 | color.green >> 3 << 5 | color.blue >> 3);
    }
    return static_cast<std::uint32_t>(color.alpha) << 24 | static_cast<std::uint32_t>(color.red) << 16 |
           static_cast<std::uint32_t>(color.green) << 8 | color.blue;
}

const char* Arguments::path(std::string_view name) const { return value(name).text.c_str(); }

void Arguments::placePaths(const std::string& folder) {
    for (std::size_t i = 0; i < values_.size(); ++i) {
        if (operation().parameters[i].kind == ParameterKind::Path)
            values_[i].text = std::filesystem::path(folder) / values_[i].text;
    }
}

}  // namespace tool
