// What the functions of dibstream.h do around the call of a C++ function: arguments in, results out.
#ifndef C_CALL_H
#define C_CALL_H

#include <DibFile.h>

#include <cstdlib>
#include <utility>

#include "c/Structures.h"

namespace c_interface {

inline DibStream* imageOf(dib_image* image) { return reinterpret_cast<DibStream*>(image); }
inline const DibStream* imageOf(const dib_image* image) { return reinterpret_cast<const DibStream*>(image); }
inline dib_image* handleOf(DibStream* image) { return reinterpret_cast<dib_image*>(image); }

inline dib_code codeOf(int code) { return static_cast<dib_code>(code); }

// Stores why a call fails. Returns false.
bool refuse(DibFileResult& result, DibErrorCode code, const char* reason);
// The same for options that cannot be read, unless the code is 0. Returns whether it is.
bool accept(DibFileResult& result, DibErrorCode code);

// Whether the program's structures for results have a size that they can have.
bool canFill(const dib_result* result);
// Gives the program its result, metadata too if the call read a file.
void fillResult(dib_result* to, DibFileResult& from, bool hasMetadata);

// Runs the work of a call, which gets a `DibFileResult` and returns whether it succeeded.
template <class Work>
dib_code call(dib_result* result, bool hasMetadata, const Work& work) {
    if (!canFill(result)) return DIB_C_ERROR_INVALID;
    DibFileResult out;
    const bool isDone = work(out);
    if (!isDone && out.code == DIB_OK) out.code = DIB_ERROR_GENERAL;
    fillResult(result, out, hasMetadata);
    return codeOf(out.code);
}

// The options of a load, for the C++ functions.
bool readLoadOptions(const dib_load_options* given, DibLoadOptions& options, DibFileResult& result);

}  // namespace c_interface

#endif
