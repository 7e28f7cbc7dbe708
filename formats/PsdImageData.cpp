// The picture data of a PSD document, merged or of one layer channel: a compression word, then whole planes,
// one channel after the other, as raw rows or as PackBits rows behind a table of their packed lengths.
#include <DibPSDLoader.h>

#include <algorithm>
#include <new>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "formats/CallbackGuard.h"
#include "formats/CodecFrame.h"
#include "formats/PsdPackBits.h"
#include "formats/PsdPixels.h"
#include "formats/PsdPlanes.h"
#include "formats/PsdReader.h"

namespace {

enum Compression : std::uint16_t { kRaw = 0, kPackBits = 1 };

// Bytes of one row of one channel; negative for a depth that does not exist.
std::int64_t planeRowBytes(int depth, std::int64_t width) {
    switch (depth) {
        case 1: return (width + 7) / 8;
        case 8: return width;
        case 16: return width * 2;
        case 32: return width * 4;
        default: return -1;
    }
}

// The table of packed lengths, two bytes per row; false without memory for it. A file too short for the table has
// no rows either: it stays null, and the first row then fails at the end of the file.
bool readPackedLengths(formats::PsdReader& reader, std::int64_t rows,
                       dib::MallocPtr<unsigned char>& packedLengths) {
    if (2 * rows > reader.remaining()) {
        reader.seek(reader.size());
        return true;
    }
    const std::size_t bytes = static_cast<std::size_t>(2 * rows);
    packedLengths = dib::allocateArray<unsigned char>(bytes + 1);
    return packedLengths != nullptr && reader.read(packedLengths.get(), bytes);
}

// A raw row where the reader has it, or read into `line`; null when the file ends inside.
const unsigned char* rawRow(formats::PsdReader& reader, unsigned char* line, std::size_t bytes) {
    if (bytes > formats::PsdReader::kBufferBytes) return reader.read(line, bytes) ? line : nullptr;
    const formats::PsdReader::Bytes ahead = reader.ahead(bytes);
    reader.consume(std::min(ahead.size, bytes));
    return ahead.size >= bytes ? ahead.data : nullptr;
}

// Reports the next channel of a picture, which need not be the target.
bool reportChannel(DibPSDLoader& loader, DibStream* dib) {
    if (dib == nullptr) return loader.DoCallback();
    const formats::CallbackGuard guard(*dib);
    return loader.DoCallback() && guard.isIntact();
}

// How many of the first channels make up the pixels of the image, one byte each; 0 when they do not.
std::size_t interleavedChannels(const DibStream& image, int mode, int depth,
                                const std::vector<PSD_CHANNEL_ID>& ids) {
    constexpr PSD_CHANNEL_ID kOrder[] = {PSD_CHANNEL_RED, PSD_CHANNEL_GREEN, PSD_CHANNEL_BLUE,
                                         PSD_CHANNEL_TRANSPARENCY};
    const bool colours = mode == formats::kPsdRgb || mode == formats::kPsdCmyk;
    const std::size_t channels = image.Header->biBitCount / 8;
    if (depth != 8 || ids.size() < channels || !(channels == 1 || (colours && channels >= 3))) return 0;
    return std::equal(kOrder, kOrder + channels, ids.begin()) ? channels : 0;
}

}  // namespace

bool DibPSDLoader::DecodeRLE(unsigned char* out, int count, int packedSize) {
    if (reader_ == nullptr) return false;
    const std::size_t wanted = static_cast<std::size_t>(std::max(count, 0));
    const std::size_t packedBytes = static_cast<std::size_t>(std::max(packedSize, 0));
    if (packedBytes <= formats::PsdReader::kBufferBytes) {
        const formats::PsdReader::Bytes row = reader_->ahead(packedBytes);
        if (row.size >= packedBytes && formats::unpackRow(row.data, packedBytes, out, wanted)) {
            reader_->consume(packedBytes);
            return true;
        }
    }
    // Packet by packet, so that the log can say what is wrong.
    const std::int64_t start = reader_->position();
    const std::size_t produced = formats::unpackBits(*reader_, out, wanted);
    if (produced != wanted) {
        Log("invalid load bytes %d/%d\n", static_cast<int>(produced), count);
        return false;
    }
    const std::int64_t consumed = reader_->position() - start;
    if (consumed != packedSize) {
        Log("invalid posotion %ld/%d\n", static_cast<long>(consumed), packedSize);
        return false;
    }
    return true;
}

// Stores the planes of a picture together. When that fails the reader is where it was, for reading in file order to
// find out what is wrong and how far the rows are good.
bool DibPSDLoader::StorePlanes(DibStream& image, std::size_t channels, const unsigned char* packedLengths) {
    const std::int64_t start = reader_->position();
    formats::PsdPlanes planes(*reader_, image, channels, packedLengths);
    if (planes.prepare() && planes.storeRows()) {
        fillPending_ = false;
        reader_->seek(planes.end());
        return true;
    }
    fillPending_ = true;
    reader_->seek(start);
    return false;
}

bool DibPSDLoader::LoadImageData(DibStream* dib, std::vector<DibStream*>* extra,
                                 const std::vector<PSD_CHANNEL_ID>& ids) try {
    if (reader_ == nullptr) return false;
    const bool sized = dib != nullptr && dib->Header != nullptr;
    const int width = sized ? dib->Header->biWidth : 0;
    const std::int64_t height = sized ? dib::rowCount(dib->Header->biHeight) : 0;

    std::uint16_t compression = 0;
    if (!reader_->read16(compression) || compression > kPackBits) {
        if (dib != nullptr) dib->ErrorCode = DIB_ERROR_INVALID;
        return false;
    }
    dib::MallocPtr<unsigned char> packedLengths;
    if (compression == kPackBits &&
        !readPackedLengths(*reader_, height * static_cast<std::int64_t>(ids.size()), packedLengths)) {
        return false;
    }

    const std::int64_t rowBytes = planeRowBytes(header_.depth, width);
    if (rowBytes < 0) return false;
    const auto line = dib::allocateArray<unsigned char>(static_cast<std::size_t>(rowBytes) + 1);
    if (line == nullptr) return false;

    // Only a callback can see the picture before it is whole; it finds the channels stored one by one.
    std::size_t stored = 0;
    const bool together = callback_ == nullptr && (compression == kRaw || packedLengths != nullptr);
    if (together && dib != nullptr && dib == target_ && dib::hasRows(*dib)) {
        const std::size_t channels = interleavedChannels(*dib, header_.mode, header_.depth, ids);
        if (channels > 0 && StorePlanes(*dib, channels, packedLengths.get())) stored = channels;
    }
    if (dib == target_) FillTarget();

    for (std::size_t channel = stored; channel < ids.size(); ++channel) {
        if (!reportChannel(*this, dib)) return false;
        DibStream* destination = dib;
        PSD_CHANNEL_ID id = ids[channel];
        if (id == PSD_CHANNEL_MASK && extra != nullptr) {
            formats::ImagePtr mask(new DibStream);
            if (!formats::createWhite(*mask, width, height, 8, *reader_)) return false;
            extra->push_back(mask.get());
            destination = mask.release();
            id = PSD_CHANNEL_RED;
        }
        const unsigned char* packed = packedLengths.get();
        if (packed != nullptr) packed += 2 * static_cast<std::size_t>(height) * channel;
        for (std::int64_t row = 0; row < height; ++row) {
            const int packedSize = packed != nullptr ? dib::readBe16(packed + 2 * row) : 0;
            if (!reader_->admitWork(rowBytes + packedSize)) return false;
            const unsigned char* samples = line.get();
            if (compression == kRaw) {
                samples = rawRow(*reader_, line.get(), static_cast<std::size_t>(rowBytes));
            } else if (!DecodeRLE(line.get(), static_cast<int>(rowBytes), packedSize)) {
                return false;
            }
            if (samples == nullptr) return false;
            if (destination == nullptr) continue;
            if (!StoreLineToDib(destination, static_cast<int>(row), id, samples)) return false;
        }
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}
