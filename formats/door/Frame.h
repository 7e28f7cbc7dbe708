// What every function of DibFile.h does around its work.
#ifndef FORMATS_DOOR_FRAME_H
#define FORMATS_DOOR_FRAME_H

#include <DibFile.h>

#include <new>
#include <stdexcept>

#include "formats/Formats.h"

namespace formats {

// Runs the work of a call, whose result starts anew; no exception leaves it.
template <class Work>
auto runCall(DibFileResult& result, const Work& work) -> decltype(work()) {
    result = DibFileResult();
    try {
        return work();
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {
    }
    result.reason[0] = '\0';
    result.noteCount = 0;
    refuseForMemory(result);
    return {};
}

// A failed call keeps its reason and drops the notes.
inline bool end(DibFileResult& result, bool isDone) {
    if (!isDone) result.noteCount = 0;
    return isDone;
}

// Whether the plug-in of the format can be used, or none is needed; the reason why not goes to `result`
// unless it is null.
bool isAvailable(const FileFormat& format, DibFileResult* result);

}  // namespace formats

#endif
