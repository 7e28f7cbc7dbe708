#include <DibOperation.h>

#include "c/Call.h"

using c_interface::call;
using c_interface::imageOf;
using c_interface::refuse;

namespace {

static_assert(DIB_C_OPERATION_SCHEMA == kDibOperationSchema);
static_assert(int{DIB_C_DESCRIBE_SYNOPSIS} == DIB_DESCRIBE_SYNOPSIS &&
              int{DIB_C_DESCRIBE_HELP} == DIB_DESCRIBE_HELP && int{DIB_C_DESCRIBE_JSON} == DIB_DESCRIBE_JSON);

// Moves the blocks of an image that the program opened.
void takeBlocks(dib_image* opened, DibStream& image) {
    DibStream* from = imageOf(opened);
    image.SetDib(from->Header, from->HeaderOwner, from->Buffer, from->BufferOwner);
    from->HeaderOwner = from->BufferOwner = 0;
    dib_image_release(opened);
}

// `DibApplyOptions::open` for a program that opens pictures itself; its context is the program's options.
bool openByProgram(void* context, const char* name, DibStream* image, DibFileResult* result,
                   DibProgressCallback /*callback*/, void* /*user*/) {
    const auto& options = *static_cast<const dib_apply_options*>(context);
    dib_image* opened = nullptr;
    const dib_code code = options.open(options.context, name, &opened);
    if (code != DIB_C_OK) {
        dib_image_release(opened);
        const bool isCode = code > DIB_C_OK && code <= DIB_C_ERROR_INTERRUPTED;
        return refuse(*result, isCode ? static_cast<DibErrorCode>(code) : DIB_ERROR_GENERAL,
                      "the program did not open it");
    }
    if (dib_image_width(opened) == 0) {
        dib_image_release(opened);
        return refuse(*result, DIB_ERROR_INVALID, "the program opened no picture");
    }
    takeBlocks(opened, *image);
    return true;
}

}  // namespace

int dib_operation_count(void) {
    std::size_t count = 0;
    DibGetOperations(&count);
    return static_cast<int>(count);
}

const char* dib_operation_name(int index) {
    return index >= 0 && index < dib_operation_count() ? DibGetOperations()[index]->name : nullptr;
}

dib_code dib_describe_operation(const char* name, int description, char** text) {
    if (text == nullptr) return DIB_C_ERROR_INVALID;
    *text = nullptr;
    DibDescription form{};
    if (!c_interface::readChoice(description, DIB_DESCRIBE_JSON, form)) return DIB_C_ERROR_INVALID;
    const DibOperation* operation = name != nullptr ? DibFindOperation(name) : nullptr;
    if (name != nullptr && operation == nullptr) return DIB_C_ERROR_UNSUPPORTED;
    DibBytes block;
    const bool isDone = operation != nullptr ? DibDescribeOperation(operation, form, &block)
                                             : DibDescribeOperations(form, &block);
    if (!isDone) return DIB_C_ERROR_MEMORY;
    *text = reinterpret_cast<char*>(std::exchange(block.data, nullptr));
    return DIB_C_OK;
}

dib_code dib_check_chain(const char* chain, dib_result* result) {
    return call<DibOperationResult>(result, [&](DibOperationResult& out) {
        DibChain parsed;
        return DibParseChain(chain, &parsed, &out);
    });
}

dib_code dib_apply(dib_image* image, const char* chain, const dib_apply_options* options, dib_result* result,
                   dib_progress progress, void* user) {
    return call<DibOperationResult>(result, [&](DibOperationResult& out) {
        dib_apply_options from = DIB_C_APPLY_OPTIONS_INIT;
        DibLoadOptions load;
        if (!c_interface::accept(out, c_interface::readOptions(options, from))) return false;
        if (!c_interface::readLoadOptions(from.load, load, out)) return false;
        DibApplyOptions how;
        how.load = &load;
        how.inPlace = from.in_place != 0;
        how.classic = from.classic != 0;
        if (from.open != nullptr) {
            how.open = openByProgram;
            how.context = &from;
        }
        return DibApply(imageOf(image), chain, &how, &out, progress, user);
    });
}
