#include <DibHandle.h>
#include <DibPictures.h>

#include "c/Call.h"

using c_interface::imageOf;
using c_interface::refuse;

dib_code dib_compare(const dib_image* first, const dib_image* second, dib_difference* difference,
                     dib_image** shown, int gain, dib_result* result, dib_progress progress, void* user) {
    if (shown != nullptr) *shown = nullptr;
    return c_interface::call<DibOperationResult>(result, [&](DibOperationResult& out) {
        if (difference == nullptr || !c_interface::isSized(*difference))
            return refuse(out, DIB_ERROR_INVALID, "there is no structure of the right size to fill");
        DibHandle made(shown != nullptr ? DibHandle::make() : DibHandle());
        if (shown != nullptr && !made) return refuse(out, DIB_ERROR_MEMORY, "there is not enough memory");
        DibDifference found;
        if (!DibCompare(imageOf(first), imageOf(second), &found, made.get(), gain, &out, progress, user))
            return false;
        c_interface::fillDifference(*difference, found);
        if (shown != nullptr) *shown = c_interface::handleOf(made.release());
        return true;
    });
}
