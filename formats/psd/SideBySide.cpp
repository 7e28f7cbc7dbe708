#include "formats/psd/SideBySide.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "formats/BitPlanes.h"
#include "formats/PackBits.h"
#include "formats/psd/ChannelBytes.h"

namespace formats::psd {

namespace {

// Reading in larger parts costs fewer calls; the windows of four planes still stay in the cache (measured).
constexpr std::size_t kWindowBytes = 1 << 18;
constexpr std::int64_t kWidestRow = 1 << 20;

// Reads one plane in large parts.
class PlaneReader {
public:
    // Rows of the file have at most `longestRow` bytes.
    bool prepare(std::int64_t start, std::int64_t end, std::size_t longestRow, std::size_t unpackedBytes) {
        position_ = start;
        end_ = end;
        windowBytes_ = std::max(kWindowBytes, longestRow);
        window_ = dib::allocateArray<unsigned char>(windowBytes_);
        line_ = dib::allocateArray<unsigned char>(unpackedBytes);
        return window_ != nullptr && line_ != nullptr;
    }
    // The next row as the file has it; null when it cannot be read.
    const unsigned char* rawRow(Reader& file, std::size_t bytes) {
        if (filled_ - next_ < bytes && !slide(file, bytes)) return nullptr;
        const unsigned char* row = window_.get() + next_;
        next_ += bytes;
        return row;
    }
    // The same unpacked; null also when that fails.
    const unsigned char* unpackedRow(Reader& file, std::size_t packedBytes, std::size_t bytes) {
        const unsigned char* packed = rawRow(file, packedBytes);
        return packed != nullptr && unpackRow(packed, packedBytes, line_.get(), bytes) ? line_.get()
                                                                                       : nullptr;
    }

private:
    bool slide(Reader& file, std::size_t wanted) {
        std::memmove(window_.get(), window_.get() + next_, filled_ - next_);
        filled_ -= next_;
        next_ = 0;
        const auto rest = static_cast<std::size_t>(end_ - position_);
        const std::size_t part = std::min(rest, windowBytes_ - filled_);
        file.seek(position_);
        if (!file.read(window_.get() + filled_, part)) return false;
        filled_ += part;
        position_ += static_cast<std::int64_t>(part);
        return filled_ >= wanted;
    }

    dib::MallocPtr<unsigned char> window_;
    dib::MallocPtr<unsigned char> line_;
    std::size_t windowBytes_ = 0;
    std::size_t next_ = 0;
    std::size_t filled_ = 0;
    std::int64_t position_ = 0;  // of the byte behind the window
    std::int64_t end_ = 0;
};

void fillRowEnd(DibStream& image, int row, std::size_t usedBytes) {
    std::memset(image.ScanLine(row) + usedBytes, 0xFF, image.GetPitch() - usedBytes);
}

// A single raw plane has the rows of the picture in reverse order.
std::int64_t storeOnlyPlane(Reader& file, DibStream& image, const Planes& planes, Progress* progress) {
    constexpr std::size_t kBandBytes = 1 << 20;
    const auto width = static_cast<std::size_t>(planes.width);
    const auto step = -static_cast<std::ptrdiff_t>(image.GetPitch());
    const auto rows = static_cast<std::size_t>(planes.rows);
    const bool isWatched = progress != nullptr && progress->isWatched();
    const std::size_t band =
        isWatched ? std::max(kBandBytes / std::max<std::size_t>(width, 1), std::size_t{1}) : rows;
    for (std::size_t done = 0; done < rows;) {
        const std::size_t part = std::min(band, rows - done);
        unsigned char* first = image.ScanLine(static_cast<int>(done));
        if (file.bytes().readRows(first, step, width, part) != width * part)
            return static_cast<std::int64_t>(done);
        done += part;
        if (progress != nullptr && !progress->rows(done, rows)) return static_cast<std::int64_t>(done);
    }
    for (int row = 0; row < planes.rows; ++row) fillRowEnd(image, row, width);
    return planes.rows;
}

std::int64_t storePlanes(Reader& file, DibStream& image, std::size_t channels, const Planes& planes,
                         Progress* progress) {
    std::array<PlaneReader, 4> readers;
    std::int64_t start = file.position();
    const auto width = static_cast<std::size_t>(planes.width);
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const std::int64_t end = start + planes.bytesInFileUpTo(channel, planes.rows);
        std::int64_t longest = 0;
        for (std::int64_t row = 0; row < planes.rows; ++row)
            longest = std::max(longest, planes.bytesInFile(channel, row));
        if (!readers[channel].prepare(start, end, static_cast<std::size_t>(longest), width)) return 0;
        start = end;
    }
    const std::size_t pixelBytes = image.Header->biBitCount / 8;
    dib::MallocPtr<unsigned char> darkened;
    if (pixelBytes < channels) darkened = dib::allocateArray<unsigned char>(3 * width);
    if (pixelBytes < channels && darkened == nullptr) return 0;
    for (int row = 0; row < planes.rows; ++row) {
        std::array<const unsigned char*, 4> rows = {};
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const auto bytes = static_cast<std::size_t>(planes.bytesInFile(channel, row));
            rows[channel] = planes.packed ? readers[channel].unpackedRow(file, bytes, width)
                                          : readers[channel].rawRow(file, bytes);
            if (rows[channel] == nullptr) return row;
        }
        if (channels == 1) {
            std::memcpy(image.ScanLine(row), rows[0], width);
        } else {
            for (std::size_t color = 0; darkened != nullptr && color < 3; ++color) {
                unsigned char* to = darkened.get() + color * width;
                dib::runKernel<darkenBytes>(rows[color], rows[3], to, width);
                rows[color] = to;
            }
            joinColors({rows.data(), pixelBytes}, image.ScanLine(row), width);
        }
        fillRowEnd(image, row, width * pixelBytes);
        const auto done = static_cast<std::size_t>(row) + 1;
        if (progress != nullptr && !progress->rows(done, static_cast<std::size_t>(planes.rows)))
            return row + 1;
    }
    return planes.rows;
}

}  // namespace

std::int64_t storeSideBySide(Reader& file, DibStream& image, std::size_t channels, const Planes& planes,
                             Progress* progress) {
    if (planes.width > kWidestRow || (planes.packed && planes.packedLengths == nullptr)) return 0;
    const std::int64_t start = file.position();
    // Work is admitted for rows that are stored; when it might not suffice, each row is asked for in file
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
    const std::int64_t rows = isOnlyRawPlane ? storeOnlyPlane(file, image, planes, progress)
                                             : storePlanes(file, image, channels, planes, progress);
    file.seek(start);
    file.admitWork(workUpTo(rows));
    return rows;
}

}  // namespace formats::psd
