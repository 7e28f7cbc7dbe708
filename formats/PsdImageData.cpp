// The picture data of a PSD document, merged or of one layer channel: a compression word, then whole planes,
// one channel after the other, as raw rows or as PackBits rows behind a table of their packed lengths.
#include <DibPSDLoader.h>

#include <cstring>
#include <new>

#include "dib/Bytes.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "formats/CodecFrame.h"
#include "formats/PsdPixels.h"
#include "formats/PsdReader.h"

namespace {

enum Compression : std::uint16_t { kRaw = 0, kPackBits = 1 };

// Bytes of one row of one channel; 0 for a depth that does not exist.
std::int64_t planeRowBytes(int depth, std::int64_t width) {
    switch (depth) {
        case 1: return (width + 7) / 8;
        case 8: return width;
        case 16: return width * 2;
        case 32: return width * 4;
        default: return -1;
    }
}

// The longest packet: a header and 128 literal bytes.
constexpr std::size_t kLongestRun = 128;
constexpr std::size_t kLongestPacket = 1 + kLongestRun;

// Most packets are short, so they are moved in blocks of fixed size wherever both sides have room for the
// longest one: what is written too much is overwritten by the next packet.
inline void copyRun(unsigned char* to, const unsigned char* from, std::size_t length) {
    constexpr std::size_t kBlock = 16;
    for (std::size_t i = 0; i < length; i += kBlock) std::memcpy(to + i, from + i, kBlock);
}

// Unpacks bytes until `count` are there or the file ends. Returns how many the packets asked for, which a
// last packet may take beyond `count`; nothing is written there.
std::size_t unpackBits(formats::PsdReader& reader, unsigned char* out, std::size_t count) {
    std::size_t produced = 0;
    while (produced < count) {
        const formats::PsdReader::Bytes packet = reader.ahead(kLongestPacket);
        if (packet.size < 2) {
            // Not even the smallest packet is left; a lone no-operation is consumed like any other.
            reader.consume(packet.size);
            break;
        }
        const int code = static_cast<signed char>(packet.data[0]);
        const std::size_t room = count - produced;
        const bool roomy = room >= kLongestRun && packet.size >= kLongestPacket;
        if (code >= 0) {
            const std::size_t length = static_cast<std::size_t>(code) + 1;
            if (packet.size < 1 + length) {
                reader.consume(packet.size);
                break;
            }
            if (roomy) {
                copyRun(out + produced, packet.data + 1, length);
            } else {
                std::memcpy(out + produced, packet.data + 1, std::min(length, room));
            }
            produced += length;
            reader.consume(1 + length);
        } else if (code != -128) {
            const std::size_t length = static_cast<std::size_t>(1 - code);
            std::memset(out + produced, packet.data[1], roomy ? kLongestRun : std::min(length, room));
            produced += length;
            reader.consume(2);
        } else {
            reader.consume(1);
        }
    }
    return produced;
}

}  // namespace

bool DibPSDLoader::DecodeRLE(unsigned char* out, int count, int packedSize) {
    const std::int64_t start = reader_->position();
    const std::size_t produced = unpackBits(*reader_, out, static_cast<std::size_t>(std::max(count, 0)));
    if (produced != static_cast<std::size_t>(std::max(count, 0))) {
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

bool DibPSDLoader::LoadImageData(DibStream* dib, std::vector<DibStream*>* extra,
                                 const std::vector<PSD_CHANNEL_ID>& ids) {
    const bool sized = dib != nullptr && dib->Header != nullptr;
    const int width = sized ? dib->Header->biWidth : 0;
    const std::int64_t height = sized ? dib::rowCount(dib->Header->biHeight) : 0;

    std::uint16_t compression = 0;
    if (!reader_->read16(compression) || compression > kPackBits) {
        if (dib != nullptr) dib->ErrorCode = DIB_ERROR_INVALID;
        return false;
    }
    // The table of packed lengths, two bytes per row. A file too short for it has no rows either: the first
    // one fails at the end of the file.
    dib::MallocPtr<unsigned char> packedLengths;
    if (compression == kPackBits) {
        const std::int64_t tableBytes = 2 * height * static_cast<std::int64_t>(ids.size());
        if (tableBytes <= reader_->remaining()) {
            packedLengths = dib::allocateArray<unsigned char>(static_cast<std::size_t>(tableBytes) + 1);
            if (packedLengths == nullptr) return false;
            if (!reader_->read(packedLengths.get(), static_cast<std::size_t>(tableBytes))) return false;
        } else {
            reader_->seek(reader_->size());
        }
    }

    const std::int64_t rowBytes = planeRowBytes(header_.depth, width);
    if (rowBytes < 0) return false;
    const auto line = dib::allocateArray<unsigned char>(static_cast<std::size_t>(rowBytes) + 1);
    if (line == nullptr) return false;

    for (std::size_t channel = 0; channel < ids.size(); ++channel) {
        if (!DoCallback()) return false;
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
            const bool decoded = compression == kPackBits
                                     ? DecodeRLE(line.get(), static_cast<int>(rowBytes), packedSize)
                                     : reader_->read(line.get(), static_cast<std::size_t>(rowBytes));
            if (!decoded) return false;
            if (destination == nullptr) continue;
            if (!StoreLineToDib(destination, static_cast<int>(row), id, line.get())) return false;
        }
    }
    return true;
}
