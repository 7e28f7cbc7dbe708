#include "formats/linux/PngExtras.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "dib/Bytes.h"
#include "formats/Exif.h"
#include "formats/Texts.h"
#include "formats/door/Request.h"
#include "formats/linux/PngChunk.h"

namespace formats {

namespace {

constexpr char kXmpKeyword[] = "XML:com.adobe.xmp";

// Hints for programs that show a file, and the time of its last change, which a new file does not share.
constexpr std::string_view kHints[] = {"bKGD", "hIST", "sBIT", "sPLT", "tIME"};

bool isStandardGamma(const unsigned char* data, std::size_t size) {
    constexpr std::uint32_t kGamma = 45455;
    return size == 4 && dib::readBe32(data) == kGamma;
}

bool arePrimariesStandard(const unsigned char* data, std::size_t size) {
    constexpr std::uint32_t kPrimaries[] = {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
    if (size != sizeof kPrimaries) return false;
    for (std::size_t i = 0; i < std::size(kPrimaries); ++i) {
        if (dib::readBe32(data + 4 * i) != kPrimaries[i]) return false;
    }
    return true;
}

void keepXmp(std::string_view packet, DibMetadata& metadata) {
    if (packet.size() > kMostMetadataBytes) return;
    if (!copyBytes({reinterpret_cast<const unsigned char*>(packet.data()), packet.size()}, metadata.xmp))
        throw std::bad_alloc();
}

void writeInternational(ByteWriter& file, std::string_view keyword, std::string_view text) {
    std::string data(keyword);
    data.append(5, '\0');  // not compressed, without language and translated keyword
    data.append(text);
    writeChunk(file, "iTXt", reinterpret_cast<const unsigned char*>(data.data()), data.size());
}

void writeLatin1(ByteWriter& file, std::string_view keyword, const std::string& text) {
    std::string data(keyword);
    data.append(1, '\0').append(text);
    writeChunk(file, "tEXt", reinterpret_cast<const unsigned char*>(data.data()), data.size());
}

}  // namespace

void LeftOutChunks::watch(png_structp png) { png_set_read_user_chunk_fn(png, this, add); }

int LeftOutChunks::add(png_structp png, png_unknown_chunkp chunk) {
    const auto* name = reinterpret_cast<const char*>(chunk->name);
    static_cast<LeftOutChunks*>(png_get_user_chunk_ptr(png))
        ->add({name, strnlen(name, 4)}, chunk->data, chunk->size);
    return 1;  // not to be kept
}

void LeftOutChunks::add(std::string_view name, const unsigned char* data, std::size_t size) {
    if (std::find(std::begin(kHints), std::end(kHints), name) != std::end(kHints)) return;
    if (name == "sRGB") {
        isStandard_ = true;
    } else if (name == "gAMA") {
        hasGamma_ = !isStandardGamma(data, size);
    } else if (name == "cHRM") {
        hasPrimaries_ = !arePrimariesStandard(data, size);
    } else if (name == "acTL" || name == "fcTL" || name == "fdAT") {
        isAnimated_ = isAnimated_ || name == "acTL";
    } else if (const std::size_t length = std::strlen(names_);
               std::string_view(names_).find(name) == std::string_view::npos && length + 5 < sizeof names_) {
        names_[length] = ' ';
        name.copy(names_ + length + 1, 4);
    }
}

void LeftOutChunks::note(bool hasProfile, DibFileResult& result) {
    const bool countsColors = !hasProfile && !isStandard_;
    if (std::exchange(hasGamma_, false) && countsColors)
        formats::note(result, DIB_NOTE_LOSS, "the gamma of the file is not kept");
    if (std::exchange(hasPrimaries_, false) && countsColors)
        formats::note(result, DIB_NOTE_LOSS, "the primary colours of the file are not kept");
    if (std::exchange(isAnimated_, false))
        formats::note(result, DIB_NOTE_LOSS, "of an animation the first picture is shown");
    if (names_[0] != '\0') formats::note(result, DIB_NOTE_LOSS, "chunks of the file are not kept:%s", names_);
    names_[0] = '\0';
}

void keepPngTexts(png_structp png, png_infop info, DibMetadata& metadata) {
    png_textp texts = nullptr;
    const int count = png_get_text(png, info, &texts, nullptr);
    std::string block;
    for (const png_text* text = texts; text != texts + count; ++text) {
        const bool isInternational = text->compression >= PNG_ITXT_COMPRESSION_NONE;
        const std::string keyword = utf8OfLatin1(text->key);
        const std::string_view value(text->text != nullptr ? text->text : "",
                                     isInternational ? text->itxt_length : text->text_length);
        if (isInternational && keyword == kXmpKeyword) {
            keepXmp(value, metadata);
        } else {
            appendText(block, keyword, isInternational ? utf8OfUnknown(value) : utf8OfLatin1(value));
        }
    }
    if (!copyBytes({reinterpret_cast<const unsigned char*>(block.data()), block.size()}, metadata.texts))
        throw std::bad_alloc();
}

bool isPngKeyword(std::string_view keyword) {
    constexpr std::size_t kMost = 79;
    const auto isPlain = [](char c) { return c >= ' ' && c <= '~'; };
    return !keyword.empty() && keyword.size() <= kMost &&
           std::all_of(keyword.begin(), keyword.end(), isPlain) && keyword.front() != ' ' &&
           keyword.back() != ' ' && keyword.find("  ") == std::string_view::npos;
}

void writePngTexts(ByteWriter& file, const DibMetadata& metadata) {
    TextList list(metadata.texts);
    for (Text text; list.next(text);) {
        if (!isPngKeyword(text.keyword)) continue;
        if (const auto latin1 = latin1OfUtf8(text.text)) {
            writeLatin1(file, text.keyword, *latin1);
        } else {
            writeInternational(file, text.keyword, text.text);
        }
    }
    if (metadata.xmp.size > 0) {
        writeInternational(file, kXmpKeyword,
                           {reinterpret_cast<const char*>(metadata.xmp.data), metadata.xmp.size});
    }
}

}  // namespace formats
