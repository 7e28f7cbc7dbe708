#include "c/Call.h"

#include <algorithm>

namespace c_interface {

static_assert(int{DIB_C_OK} == DIB_OK && int{DIB_C_ERROR_GENERAL} == DIB_ERROR_GENERAL &&
              int{DIB_C_ERROR_MEMORY} == DIB_ERROR_MEMORY && int{DIB_C_ERROR_OPEN} == DIB_ERROR_OPEN &&
              int{DIB_C_ERROR_READ} == DIB_ERROR_READ && int{DIB_C_ERROR_WRITE} == DIB_ERROR_WRITE &&
              int{DIB_C_ERROR_INVALID} == DIB_ERROR_INVALID &&
              int{DIB_C_ERROR_UNSUPPORTED} == DIB_ERROR_UNSUPPORTED &&
              int{DIB_C_ERROR_MISMATCH} == DIB_ERROR_MISMATCH &&
              int{DIB_C_ERROR_INTERRUPTED} == DIB_ERROR_INTERRUPTED);
static_assert(int{DIB_C_NOTE_WARNING} == DIB_NOTE_WARNING &&
              int{DIB_C_NOTE_ASSUMPTION} == DIB_NOTE_ASSUMPTION && int{DIB_C_NOTE_LOSS} == DIB_NOTE_LOSS);
static_assert(DIB_C_NOTE_BYTES == sizeof DibNote::text);

namespace {

// What the program's structure has room for, in place of a null.
dib_difference* differenceOf(const dib_result& result) {
    return has(result, result.difference) ? result.difference : nullptr;
}

}  // namespace

bool canFill(const dib_result* result) {
    if (result == nullptr) return true;
    if (!isSized(*result)) return false;
    const dib_difference* difference = differenceOf(*result);
    return (result->metadata == nullptr || isSized(*result->metadata)) &&
           (difference == nullptr || isSized(*difference));
}

void fillDifference(dib_difference& to, const DibDifference& from) {
    const dib_difference difference = {.size = sizeof(dib_difference),
                                       .pixels = from.pixels,
                                       .different_pixels = from.differentPixels,
                                       .mean_square = from.meanSquare,
                                       .psnr = from.psnr,
                                       .largest = from.largest,
                                       .x = from.x,
                                       .y = from.y,
                                       .is_same_size = from.isSameSize ? 1 : 0};
    fill(to, difference);
}

namespace {

// The members that all results of the C++ functions have.
template <class Result>
dib_result resultOf(const dib_result& to, const Result& from) {
    static_assert(sizeof from.reason <= sizeof to.reason && Result::kMostNotes == DIB_C_MOST_NOTES);
    dib_result result = DIB_C_RESULT_INIT;
    result.metadata = to.metadata;
    result.difference = differenceOf(to);
    result.code = from.code;
    std::memcpy(result.reason, from.reason, sizeof from.reason);
    result.note_count = from.noteCount;
    for (int i = 0; i < from.noteCount; ++i) {
        result.note_kinds[i] = from.notes[i].kind;
        std::memcpy(result.notes[i], from.notes[i].text, sizeof result.notes[i]);
    }
    return result;
}

}  // namespace

void fillResult(dib_result* to, const DibFileResult& from) {
    if (to == nullptr) return;
    dib_result result = resultOf(*to, from);
    result.format = from.format != nullptr ? from.format->name : nullptr;
    fill(*to, result);
}

void fillResult(dib_result* to, const DibOperationResult& from) {
    if (to == nullptr) return;
    dib_result result = resultOf(*to, from);
    result.operation = from.operation != nullptr ? from.operation->name : nullptr;
    result.parameter = from.parameter != nullptr ? from.parameter->name : nullptr;
    result.suggestion = from.suggestion;
    result.step = from.step;
    result.exchanges_axes = from.exchangesAxes ? 1 : 0;
    const std::size_t entries = std::min(from.paletteAlpha.size, sizeof result.palette_alpha);
    std::copy_n(from.paletteAlpha.data, entries, result.palette_alpha);
    result.palette_alpha_size = static_cast<int>(entries);
    if (result.difference != nullptr) fillDifference(*result.difference, from.difference);
    fill(*to, result);
}

// Gives a block to the program.
static unsigned char* take(DibBytes& from, std::size_t& size) {
    size = std::exchange(from.size, 0);
    return std::exchange(from.data, nullptr);
}

void fillMetadata(const dib_result* to, DibMetadata& from) {
    if (to == nullptr || to->metadata == nullptr) return;
    dib_metadata_clear(to->metadata);
    dib_metadata metadata = DIB_C_METADATA_INIT;
    metadata.color_profile = take(from.colorProfile, metadata.color_profile_size);
    metadata.exif = take(from.exif, metadata.exif_size);
    metadata.x_resolution = from.xResolution;
    metadata.y_resolution = from.yResolution;
    metadata.orientation = from.orientation;
    if (has(*to->metadata, to->metadata->xmp_size)) {
        metadata.palette_alpha = take(from.paletteAlpha, metadata.palette_alpha_size);
        metadata.tim_frame = take(from.timFrame, metadata.tim_frame_size);
        metadata.texts = take(from.texts, metadata.texts_size);
        metadata.xmp = take(from.xmp, metadata.xmp_size);
    }
    fill(*to->metadata, metadata);
}

}  // namespace c_interface

const char* dib_code_text(dib_code code) { return DibStream::GetErrorString(code); }

void dib_metadata_clear(dib_metadata* metadata) {
    if (metadata == nullptr || !c_interface::isSized(*metadata)) return;
    std::free(metadata->color_profile);
    std::free(metadata->exif);
    if (c_interface::has(*metadata, metadata->xmp_size)) {
        std::free(metadata->palette_alpha);
        std::free(metadata->tim_frame);
        std::free(metadata->texts);
        std::free(metadata->xmp);
    }
    c_interface::fill(*metadata, dib_metadata DIB_C_METADATA_INIT);
}

void dib_free(void* block) { std::free(block); }
