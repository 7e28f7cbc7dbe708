#include "formats/PsdPlanes.h"

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Kernels.h"
#include "formats/PsdPackBits.h"
#include "formats/Rows.h"

namespace formats {

namespace {

// Reading in larger parts costs fewer calls; the windows of four planes still stay in the cache (measured).
constexpr std::size_t kWindowBytes = 1 << 18;
constexpr std::size_t kWidestRow = 1 << 20;

DIB_ALWAYS_INLINE void interleave3(unsigned char* __restrict to, const unsigned char* __restrict red,
                                   const unsigned char* __restrict green,
                                   const unsigned char* __restrict blue, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        to[3 * x] = blue[x];
        to[3 * x + 1] = green[x];
        to[3 * x + 2] = red[x];
    }
}

DIB_ALWAYS_INLINE void interleave4(unsigned char* __restrict to, const unsigned char* __restrict red,
                                   const unsigned char* __restrict green,
                                   const unsigned char* __restrict blue,
                                   const unsigned char* __restrict alpha, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        to[4 * x] = blue[x];
        to[4 * x + 1] = green[x];
        to[4 * x + 2] = red[x];
        to[4 * x + 3] = alpha[x];
    }
}

}  // namespace

PsdPlanes::PsdPlanes(PsdReader& reader, DibStream& image, std::size_t channels,
                     const unsigned char* packedLengths)
    : reader_(reader),
      image_(image),
      channels_(channels),
      packedLengths_(packedLengths),
      width_(static_cast<std::size_t>(image.Header->biWidth)),
      rows_(dib::admitSize(*image.Header).rows) {}

std::size_t PsdPlanes::packedBytes(std::size_t channel, std::size_t row) const {
    if (packedLengths_ == nullptr) return width_;
    return dib::readBe16(packedLengths_ + 2 * (channel * rows_ + row));
}

bool PsdPlanes::prepare() {
    if (width_ > kWidestRow) return false;
    starts_[0] = reader_.position();
    windowBytes_ = kWindowBytes;
    for (std::size_t channel = 0; channel < channels_; ++channel) {
        std::int64_t bytes = 0;
        for (std::size_t row = 0; row < rows_; ++row) {
            const std::size_t part = packedBytes(channel, row);
            windowBytes_ = std::max(windowBytes_, part);
            bytes += static_cast<std::int64_t>(part);
        }
        starts_[channel + 1] = starts_[channel] + bytes;
    }
    if (starts_[channels_] > reader_.size()) return false;
    const std::int64_t unpacked = static_cast<std::int64_t>(width_ * rows_ * channels_);
    if (!reader_.admitWork(unpacked + starts_[channels_] - starts_[0])) return false;

    if (isOnlyRawPlane()) return true;
    for (std::size_t channel = 0; channel < channels_; ++channel) {
        windows_[channel].filePosition = starts_[channel];
        windows_[channel].bytes = dib::allocateArray<unsigned char>(windowBytes_);
        if (windows_[channel].bytes == nullptr) return false;
        if (packedLengths_ == nullptr) continue;
        lines_[channel] = dib::allocateArray<unsigned char>(width_);
        if (lines_[channel] == nullptr) return false;
    }
    return true;
}

bool PsdPlanes::slide(Window& window, std::size_t channel, std::size_t wanted) {
    std::memmove(window.bytes.get(), window.bytes.get() + window.next, window.filled - window.next);
    window.filled -= window.next;
    window.next = 0;
    const std::int64_t planeRest = starts_[channel + 1] - window.filePosition;
    const std::size_t part = static_cast<std::size_t>(
        std::min(planeRest, static_cast<std::int64_t>(windowBytes_ - window.filled)));
    reader_.seek(window.filePosition);
    if (!reader_.read(window.bytes.get() + window.filled, part)) return false;
    window.filled += part;
    window.filePosition += static_cast<std::int64_t>(part);
    return window.filled >= wanted;
}

const unsigned char* PsdPlanes::bytesOf(std::size_t channel, std::size_t row) {
    Window& window = windows_[channel];
    const std::size_t bytes = packedBytes(channel, row);
    if (window.filled - window.next < bytes && !slide(window, channel, bytes)) return nullptr;
    const unsigned char* start = window.bytes.get() + window.next;
    window.next += bytes;
    return start;
}

const unsigned char* PsdPlanes::rowOf(std::size_t channel, std::size_t row) {
    const unsigned char* packed = bytesOf(channel, row);
    if (packed == nullptr || packedLengths_ == nullptr) return packed;
    unsigned char* line = lines_[channel].get();
    return unpackRow(packed, packedBytes(channel, row), line, width_) ? line : nullptr;
}

// The rows of a single raw plane are those of the picture, which has them the other way round.
bool PsdPlanes::storeOnlyPlane() {
    const std::size_t pitch = image_.GetPitch();
    reader_.seek(starts_[0]);
    if (!reader_.readRows(image_.ScanLine(0), -static_cast<std::ptrdiff_t>(pitch), width_, rows_))
        return false;
    for (std::size_t row = 0; row < rows_; ++row)
        std::memset(image_.ScanLine(static_cast<int>(row)) + width_, 0xFF, pitch - width_);
    return true;
}

bool PsdPlanes::storeRows() {
    if (isOnlyRawPlane()) return storeOnlyPlane();
    const std::size_t used = width_ * channels_;
    const std::size_t fill = image_.GetPitch() - used;
    for (std::size_t row = 0; row < rows_; ++row) {
        const unsigned char* planes[4] = {};
        for (std::size_t channel = 0; channel < channels_; ++channel) {
            planes[channel] = rowOf(channel, row);
            if (planes[channel] == nullptr) return false;
        }
        unsigned char* to = image_.ScanLine(static_cast<int>(row));
        if (channels_ == 1) {
            std::memcpy(to, planes[0], width_);
        } else if (channels_ == 3) {
            dib::runKernel<interleave3>(to, planes[0], planes[1], planes[2], width_);
        } else if (channels_ == 4) {
            dib::runKernel<interleave4>(to, planes[0], planes[1], planes[2], planes[3], width_);
        }
        std::memset(to + used, 0xFF, fill);
    }
    return true;
}

}  // namespace formats
