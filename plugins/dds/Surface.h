// The pictures of a DDS file, as its headers describe them: faces, array elements or slices of a volume, each
// in levels of which every one has half the sides of the one before.
#ifndef PLUGINS_DDS_SURFACE_H
#define PLUGINS_DDS_SURFACE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "plugins/Job.h"
#include "plugins/dds/Format.h"

namespace plugins::dds {

struct Surface {
    Format format;
    bool isOpaque = false;    // the alpha channel is ignored
    std::uint64_t start = 0;  // of the first picture in the file, after the palette

    std::uint32_t width = 0;  // of the largest level
    std::uint32_t height = 0;
    std::uint32_t depth = 1;     // slices of a volume
    std::uint64_t elements = 1;  // faces and array elements
    int levels = 1;

    // At a level.
    std::uint32_t widthAt(int level) const { return std::max(width >> level, 1U); }
    std::uint32_t heightAt(int level) const { return std::max(height >> level, 1U); }
    std::uint64_t pagesAt(int level) const { return depth > 1 ? std::max(depth >> level, 1U) : elements; }
    std::uint64_t unitsPerRow(int level) const {
        return (std::uint64_t{widthAt(level)} + format.columns - 1) / format.columns;
    }
    std::uint64_t unitRows(int level) const {
        return (std::uint64_t{heightAt(level)} + format.rows - 1) / format.rows;
    }
    std::uint64_t rowBytes(int level) const { return unitsPerRow(level) * format.unitBytes; }
    // Where a page of a level begins; UINT64_MAX when no file is as long.
    std::uint64_t positionOf(std::uint64_t page, int level) const;

private:
    std::uint64_t pageBytes(int level) const;
};

// Reads the headers. False when they are short or not DDS, or name an unknown format, with a reason.
bool readSurface(Job& job, const Dialect& dialect, Surface& surface);

}  // namespace plugins::dds

#endif
