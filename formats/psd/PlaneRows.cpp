#include "formats/psd/PlaneRows.h"

#include <algorithm>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/PackBits.h"

namespace formats::psd {

std::uint64_t PlaneBlock::fewestBytes(std::size_t shown) const {
    constexpr std::uint64_t kLongestRun = 128;
    const auto count = static_cast<std::uint64_t>(rows) * shown;
    switch (packing) {
        case Packing::kRaw: return count * rowBytes;
        case Packing::kPackBits:
            return count * ((isLarge ? 4 : 2) + (rowBytes + kLongestRun - 1) / kLongestRun * 2);
        default: return 0;
    }
}

bool openPlanes(ByteReader& file, const PlaneBlock& block, std::span<PlaneRows> planes) {
    std::int64_t start = block.data.start;
    if (block.packing == Packing::kPackBits) start += block.planes * block.rows * (block.isLarge ? 4 : 2);
    std::int64_t number = 0;
    for (PlaneRows& plane : planes) {
        if (!plane.open(file, block, number++, start)) return false;
    }
    return true;
}

bool PlaneRows::open(ByteReader& file, const PlaneBlock& block, std::int64_t plane, std::int64_t& start) {
    block_ = block;
    if (block.packing != Packing::kRaw) {
        line_ = dib::allocateArray<unsigned char>(block.rowBytes + 1);
        if (line_ == nullptr) return false;
    }
    if (block.packing == Packing::kPackBits) return openPacked(file, plane, start);
    if (isZip(block.packing)) return openZip(plane);
    const std::int64_t end = start + block.rows * dib::asOffset(block.rowBytes);
    const std::int64_t there = std::min(end, block.data.end);
    const bool isOpen = window_.prepare(std::min(start, there), there, block.rowBytes);
    start = end;
    return isOpen;
}

// Reads the plane's part of the table of lengths.
bool PlaneRows::openPacked(ByteReader& file, std::int64_t plane, std::int64_t& start) {
    const std::int64_t tableBytes = block_.rows * (block_.isLarge ? 4 : 2);
    const std::int64_t table = block_.data.start + plane * tableBytes;
    isDamaged_ = table + tableBytes > block_.data.end;
    if (isDamaged_) return true;
    lengths_ = dib::allocateArray<unsigned char>(tableBytes + 1);
    if (lengths_ == nullptr) return false;
    file.seek(table);
    isDamaged_ = !file.read(lengths_.get(), dib::asSize(tableBytes));
    std::size_t longest = 0;
    std::int64_t end = start;
    for (std::int64_t row = 0; row < block_.rows; ++row) {
        longest = std::max(longest, packedBytes(row));
        end += dib::asOffset(packedBytes(row));
    }
    const std::int64_t there = std::min(end, block_.data.end);
    const bool isOpen = window_.prepare(std::min(start, there), there, longest);
    start = end;
    return isOpen;
}

bool PlaneRows::openZip(std::int64_t plane) {
    rowsBefore_ = plane * block_.rows;
    if (block_.packing == Packing::kZipPredicted && block_.depth == 32) {
        whole_ = dib::allocateArray<unsigned char>(block_.rowBytes + 1);
        if (whole_ == nullptr) return false;
    }
    return window_.prepare(block_.data.start, block_.data.end, 1) && inflater_.start();
}

std::size_t PlaneRows::packedBytes(std::int64_t row) const {
    return block_.isLarge ? dib::readBe32(lengths_.get() + 4 * row) : dib::readBe16(lengths_.get() + 2 * row);
}

const unsigned char* PlaneRows::next(ByteReader& file) {
    const unsigned char* row = isDamaged_ ? nullptr : read(file);
    isDamaged_ = row == nullptr;
    ++row_;
    return row;
}

const unsigned char* PlaneRows::read(ByteReader& file) {
    if (block_.packing == Packing::kRaw) return window_.row(file, block_.rowBytes);
    if (block_.packing == Packing::kPackBits) return unpackedRow(file);
    for (; rowsBefore_ > 0; --rowsBefore_) {
        if (inflatedRow(file) == nullptr) return nullptr;
    }
    const unsigned char* row = inflatedRow(file);
    return row != nullptr && block_.packing == Packing::kZipPredicted ? undoPrediction() : row;
}

const unsigned char* PlaneRows::unpackedRow(ByteReader& file) {
    const std::size_t bytes = packedBytes(row_);
    const unsigned char* packed = window_.row(file, bytes);
    if (packed == nullptr) return nullptr;
    if (unpackRow(packed, bytes, line_.get(), block_.rowBytes)) return line_.get();
    // Some writers fill their rows with bytes that are no pixels.
    ByteReader row(packed, bytes);
    PackBits packets(row);
    packets.unpack({line_.get(), block_.rowBytes});
    return packets.unpacked() == block_.rowBytes ? line_.get() : nullptr;
}

const unsigned char* PlaneRows::inflatedRow(ByteReader& file) {
    std::size_t done = 0;
    while (true) {
        done += inflater_.unpack(line_.get() + done, block_.rowBytes - done);
        if (done == block_.rowBytes) return line_.get();
        if (inflater_.isDamaged()) return nullptr;
        if (inflater_.left() == 0) {
            const ByteReader::Bytes packed = window_.some(file);
            if (packed.size == 0) return nullptr;
            inflater_.feed(packed.data, packed.size);
        }
        // The next plane may be a stream of its own.
        if (inflater_.isAtEnd() && !inflater_.start()) return nullptr;
    }
}

// Samples are differences from the one on their left. Floats are differences of bytes, the highest bytes of
// all samples first.
const unsigned char* PlaneRows::undoPrediction() {
    unsigned char* line = line_.get();
    const std::size_t bytes = block_.rowBytes;
    if (block_.depth == 16) {
        unsigned sample = 0;
        for (std::size_t i = 0; i + 1 < bytes; i += 2) {
            sample += static_cast<unsigned>(line[i] << 8 | line[i + 1]);
            line[i] = dib::byteOf(sample >> 8 & 255);
            line[i + 1] = dib::byteOf(sample & 255);
        }
        return line;
    }
    for (std::size_t i = 1; i < bytes; ++i) line[i] = dib::byteOf(line[i] + line[i - 1]);
    if (block_.depth != 32) return line;
    const std::size_t width = bytes / 4;
    for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t k = 0; k < 4; ++k) whole_[4 * x + k] = line[k * width + x];
    }
    return whole_.get();
}

}  // namespace formats::psd
