// Why a call fails: thrown inside this layer, turned into a DibOperationResult before the library returns.
#ifndef OPERATIONS_REFUSAL_H
#define OPERATIONS_REFUSAL_H

#include <DibOperation.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

namespace operations {

struct Refusal {
    DibErrorCode code;
    std::string reason;
    const DibParameter* parameter = nullptr;
    const char* suggestion = nullptr;
};

inline constexpr const char* kNoMemory = "there is not enough memory, or no image can have that size";

// Text of a user in quotes, cut where it is long.
std::string quoted(std::string_view text);
// "; did you mean 'blur'?", or nothing where there is no suggestion.
std::string didYouMean(const char* suggestion);

// Stores why a call fails, after the name of the operation of the result. Returns false.
bool store(const Refusal& refusal, DibOperationResult& result);

// Runs the work of a call, whose result starts anew, and stores why it fails; no exception leaves it.
template <class Work>
bool runCall(DibOperationResult* result, const Work& work) {
    DibOperationResult own;
    DibOperationResult& out = result != nullptr ? *result : own;
    out = DibOperationResult();
    try {
        return work(out);
    } catch (const Refusal& refusal) {
        try {
            return store(refusal, out);
        } catch (const std::bad_alloc&) {
        }
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) {
    }
    out.code = DIB_ERROR_MEMORY;
    std::strcpy(out.reason, "there is not enough memory");
    return false;
}

}  // namespace operations

#endif
