// What a call notes, and why it fails.
#include <cstdarg>

#include "formats/door/Request.h"

namespace formats {

void note(DibFileResult& result, DibNoteKind kind, const char* text, ...) {
    if (result.noteCount == DibFileResult::kMostNotes) return;
    DibNote& note = result.notes[result.noteCount++];
    note.kind = kind;
    std::va_list values;
    va_start(values, text);
    std::vsnprintf(note.text, sizeof note.text, text, values);
    va_end(values);
}

bool refuse(DibFileResult& result, DibErrorCode code, const char* reason, ...) {
    if (result.reason[0] != '\0') return false;
    result.code = code;
    std::va_list values;
    va_start(values, reason);
    std::vsnprintf(result.reason, sizeof result.reason, reason, values);
    va_end(values);
    return false;
}

}  // namespace formats
