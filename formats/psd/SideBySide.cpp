#include "formats/psd/SideBySide.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "dib/Numbers.h"
#include "formats/BitPlanes.h"
#include "formats/PackBits.h"
#include "formats/psd/PlaneWindow.h"

namespace formats::psd {

namespace {

constexpr std::int64_t kWidestRow = 1 << 20;

// One plane, whose rows may be packed.
struct Plane {
    PlaneWindow window;
    dib::MallocPtr<unsigned char> line;

    bool prepare(std::int64_t start, std::int64_t end, std::size_t longestRow, std::size_t unpackedBytes) {
        line = dib::allocateArray<unsigned char>(unpackedBytes);
        return line != nullptr && window.prepare(start, end, longestRow);
    }
    // The next row, unpacked; null when it cannot be read, and when unpacking fails.
    const unsigned char* unpackedRow(Reader& file, std::size_t packedBytes, std::size_t bytes) {
        const unsigned char* packed = window.row(file.bytes(), packedBytes);
        return packed != nullptr && unpackRow(packed, packedBytes, line.get(), bytes) ? line.get() : nullptr;
    }
};

void fillRowEnd(DibStream& image, int row, std::size_t usedBytes) {
    std::memset(image.ScanLine(row) + usedBytes, 0xFF, image.GetPitch() - usedBytes);
}

// A single raw plane has the rows of the picture in reverse order.
std::int64_t storeOnlyPlane(Reader& file, DibStream& image, const Planes& planes) {
    const auto width = dib::asSize(planes.width);
    const auto step = -dib::asOffset(image.GetPitch());
    const auto rows = dib::asSize(planes.rows);
    if (file.bytes().readRows(image.ScanLine(0), step, width, rows) != width * rows) return 0;
    for (int row = 0; row < planes.rows; ++row) fillRowEnd(image, row, width);
    return planes.rows;
}

std::int64_t storePlanes(Reader& file, DibStream& image, std::size_t channels, const Planes& planes) {
    std::array<Plane, 4> readers;
    std::int64_t start = file.position();
    const auto width = dib::asSize(planes.width);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const std::int64_t end = start + planes.bytesInFileUpTo(channel, planes.rows);
        std::int64_t longest = 0;
        for (std::int64_t row = 0; row < planes.rows; ++row)
            longest = std::max(longest, planes.bytesInFile(channel, row));
        if (!readers[channel].prepare(start, end, dib::asSize(longest), width)) return 0;
        start = end;
    }
    for (int row = 0; row < planes.rows; ++row) {
        std::array<const unsigned char*, 4> rows = {};
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const auto bytes = dib::asSize(planes.bytesInFile(channel, row));
            rows[channel] = planes.packed ? readers[channel].unpackedRow(file, bytes, width)
                                          : readers[channel].window.row(file.bytes(), bytes);
            if (rows[channel] == nullptr) return row;
        }
        if (channels == 1) {
            std::memcpy(image.ScanLine(row), rows[0], width);
        } else {
            joinColors({rows.data(), channels}, image.ScanLine(row), width);
        }
        fillRowEnd(image, row, width * channels);
    }
    return planes.rows;
}

}  // namespace

std::int64_t storeSideBySide(Reader& file, DibStream& image, std::size_t channels, const Planes& planes) {
    if (planes.width > kWidestRow || (planes.packed && planes.packedLengths == nullptr)) return 0;
    const std::int64_t start = file.position();
    // Work is admitted for rows that are stored; when it might not suffice, each row is admitted in file
    // order.
    const auto workUpTo = [&](std::int64_t rows) {
        std::int64_t work = 0;
        for (std::size_t channel = 0; channel < channels; ++channel)
            work += planes.rowBytes * rows + (planes.packed ? planes.bytesInFileUpTo(channel, rows) : 0);
        return work;
    };
    std::int64_t bytes = 0;
    for (std::size_t channel = 0; channel < channels; ++channel)
        bytes += planes.bytesInFileUpTo(channel, planes.rows);
    if (bytes > file.remaining() || workUpTo(planes.rows) > file.workLeft()) return 0;

    const bool isOnlyRawPlane = channels == 1 && !planes.packed;
    const std::int64_t rows =
        isOnlyRawPlane ? storeOnlyPlane(file, image, planes) : storePlanes(file, image, channels, planes);
    file.seek(start);
    file.admitWork(workUpTo(rows));
    return rows;
}

}  // namespace formats::psd
