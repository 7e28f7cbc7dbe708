#include "c/Call.h"

#include <cstdio>

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
static_assert(DIB_C_MOST_NOTES == DibFileResult::kMostNotes);
static_assert(DIB_C_NOTE_BYTES == sizeof DibNote::text);
static_assert(sizeof dib_result::reason >= sizeof DibFileResult::reason);

bool refuse(DibFileResult& result, DibErrorCode code, const char* reason) {
    result.code = code;
    std::snprintf(result.reason, sizeof result.reason, "%s", reason);
    return false;
}

bool accept(DibFileResult& result, DibErrorCode code) {
    if (code == DIB_OK) return true;
    return refuse(result, code,
                  code == DIB_ERROR_MISMATCH ? "the options have members that this library does not know"
                                             : "the size of the options is wrong");
}

bool canFill(const dib_result* result) {
    if (result == nullptr) return true;
    return isSized(*result) && (result->metadata == nullptr || isSized(*result->metadata));
}

namespace {

void fillMetadata(dib_metadata& to, DibMetadata& from) {
    dib_metadata_clear(&to);
    dib_metadata metadata = DIB_C_METADATA_INIT;
    metadata.color_profile = std::exchange(from.colorProfile.data, nullptr);
    metadata.color_profile_size = from.colorProfile.size;
    metadata.exif = std::exchange(from.exif.data, nullptr);
    metadata.exif_size = from.exif.size;
    metadata.x_resolution = from.xResolution;
    metadata.y_resolution = from.yResolution;
    metadata.orientation = from.orientation;
    fill(to, metadata);
}

}  // namespace

void fillResult(dib_result* to, DibFileResult& from, bool hasMetadata) {
    if (to == nullptr) return;
    dib_result result = DIB_C_RESULT_INIT;
    result.format = from.format != nullptr ? from.format->name : nullptr;
    result.metadata = to->metadata;
    result.code = from.code;
    std::memcpy(result.reason, from.reason, sizeof from.reason);
    result.note_count = from.noteCount;
    for (int i = 0; i < from.noteCount; ++i) {
        result.note_kinds[i] = from.notes[i].kind;
        std::memcpy(result.notes[i], from.notes[i].text, sizeof result.notes[i]);
    }
    if (hasMetadata && result.metadata != nullptr) fillMetadata(*result.metadata, from.metadata);
    fill(*to, result);
}

}  // namespace c_interface

const char* dib_code_text(dib_code code) { return DibStream::GetErrorString(code); }

void dib_metadata_clear(dib_metadata* metadata) {
    if (metadata == nullptr || !c_interface::isSized(*metadata)) return;
    std::free(metadata->color_profile);
    std::free(metadata->exif);
    c_interface::fill(*metadata, dib_metadata DIB_C_METADATA_INIT);
}

void dib_free(void* block) { std::free(block); }
