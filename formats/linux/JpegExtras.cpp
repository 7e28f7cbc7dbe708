#include "formats/linux/JpegExtras.h"

#include <cstring>
#include <new>
#include <string>

#include "formats/Exif.h"
#include "formats/door/Request.h"
#include "formats/linux/ImageFiles.h"

namespace formats {

namespace {

constexpr std::string_view kXmp(kXmpStart, sizeof kXmpStart);
constexpr int kLastApplication = JPEG_APP0 + 15;
// APP0 has the resolution and APP14 says what colours are: the library reads both.
constexpr int kJfifMarker = JPEG_APP0;
constexpr int kInkMarker = JPEG_APP0 + 14;

// Where a marker that is left out has its name.
constexpr unsigned kNameBytes = 32;

std::string_view bytesOf(const jpeg_marker_struct& marker) {
    return {reinterpret_cast<const char*>(marker.data), marker.data_length};
}

bool isKept(int marker, std::string_view bytes) {
    if (marker == kExifMarker) return bytes.starts_with(std::string_view("Exif\0", 5));
    if (marker == kProfileMarker) return bytes.starts_with("ICC_PROFILE");
    return marker == JPEG_COM;
}

void keepXmp(std::string_view packet, DibMetadata& metadata) {
    if (!copyBytes({reinterpret_cast<const unsigned char*>(packet.data()), packet.size()}, metadata.xmp))
        throw std::bad_alloc();
}

// The word with which a marker begins, as far as it is readable.
std::string nameOf(std::string_view bytes) {
    std::size_t length = 0;
    while (length < bytes.size() && length < kNameBytes && bytes[length] > ' ' && bytes[length] <= '~')
        ++length;
    return std::string(bytes.substr(0, length));
}

}  // namespace

void watchJpegExtras(jpeg_decompress_struct& jpeg) {
    jpeg_save_markers(&jpeg, JPEG_COM, 0xFFFF);
    for (int marker = JPEG_APP0; marker <= kLastApplication; ++marker) {
        const bool isRead = marker == kJfifMarker || marker == kInkMarker || marker == kExifMarker ||
                            marker == kProfileMarker;
        if (!isRead) jpeg_save_markers(&jpeg, marker, kNameBytes);
    }
}

void keepJpegExtras(const jpeg_marker_struct* markers, DibFileResult& result) {
    std::string block;
    bool isNoted = false;
    for (; markers != nullptr; markers = markers->next) {
        const std::string_view bytes = bytesOf(*markers);
        if (markers->marker == JPEG_COM) {
            appendText(block, kCommentKeyword, utf8OfUnknown(bytes));
        } else if (markers->marker == kExifMarker && bytes.starts_with(kXmp)) {
            if (result.metadata.xmp.size == 0) keepXmp(bytes.substr(kXmp.size()), result.metadata);
        } else if (!isNoted && !isKept(markers->marker, bytes)) {
            isNoted = true;
            const std::string name = nameOf(bytes);
            note(result, DIB_NOTE_LOSS, "data of other programs are not kept (APP%d%s%s)",
                 markers->marker - kJfifMarker, name.empty() ? "" : " ", name.c_str());
        }
    }
    if (!copyBytes({reinterpret_cast<const unsigned char*>(block.data()), block.size()},
                   result.metadata.texts))
        throw std::bad_alloc();
}

bool isJpegComment(const Text& text) {
    return text.keyword == kCommentKeyword && text.text.size() <= kMostJpegComment;
}

void writeJpegExtras(jpeg_compress_struct& jpeg, const DibMetadata& metadata) {
    const DibBytes& xmp = metadata.xmp;
    if (xmp.size > 0 && xmp.size <= kMostJpegXmp) {
        jpeg_write_m_header(&jpeg, kExifMarker, static_cast<unsigned>(kXmp.size() + xmp.size));
        for (const char byte : kXmp) jpeg_write_m_byte(&jpeg, static_cast<unsigned char>(byte));
        for (std::size_t i = 0; i < xmp.size; ++i) jpeg_write_m_byte(&jpeg, xmp.data[i]);
    }
    TextList list(metadata.texts);
    for (Text text; list.next(text);) {
        if (!isJpegComment(text)) continue;
        jpeg_write_marker(&jpeg, JPEG_COM, reinterpret_cast<const JOCTET*>(text.text.data()),
                          static_cast<unsigned>(text.text.size()));
    }
}

}  // namespace formats
