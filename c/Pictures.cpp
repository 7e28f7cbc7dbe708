#include <DibHandle.h>
#include <DibPictures.h>

#include "c/Call.h"
#include "dib/Bytes.h"

using c_interface::call;
using c_interface::imageOf;
using c_interface::refuse;
using c_interface::refuseWithoutMemory;

namespace {

// 0xAARRGGBB.
DibBGRA colorOf(uint32_t word) {
    return {dib::byteOf(word), dib::byteOf(word >> 8), dib::byteOf(word >> 16), dib::byteOf(word >> 24)};
}

uint32_t wordOf(const DibBGRA& color) {
    return uint32_t{color.alpha} << 24 | uint32_t{color.red} << 16 | uint32_t{color.green} << 8 | color.blue;
}

}  // namespace

dib_code dib_compare(const dib_image* first, const dib_image* second, dib_difference* difference,
                     dib_image** shown, int gain, dib_result* result, dib_progress progress, void* user) {
    if (shown != nullptr) *shown = nullptr;
    return call<DibOperationResult>(result, [&](DibOperationResult& out) {
        if (difference == nullptr || !c_interface::isSized(*difference))
            return refuse(out, DIB_ERROR_INVALID, "there is no structure of the right size to fill");
        DibHandle made(shown != nullptr ? DibHandle::make() : DibHandle());
        if (shown != nullptr && !made) return refuseWithoutMemory(out);
        DibDifference found;
        if (!DibCompare(imageOf(first), imageOf(second), &found, made.get(), gain, &out, progress, user))
            return false;
        c_interface::fillDifference(*difference, found);
        if (shown != nullptr) *shown = c_interface::handleOf(made.release());
        return true;
    });
}

dib_code dib_parse_color(const char* text, uint32_t* color, dib_result* result) {
    return call<DibOperationResult>(result, [&](DibOperationResult& out) {
        DibBGRA parsed{};
        const bool isParsed = DibParseColor(text, color != nullptr ? &parsed : nullptr, &out);
        if (!isParsed || color == nullptr) return false;
        *color = wordOf(parsed);
        return true;
    });
}

dib_code dib_montage(const dib_image* const* images, int count, dib_image** sheet,
                     const dib_montage_options* options, dib_result* result, dib_progress progress,
                     void* user) {
    if (sheet != nullptr) *sheet = nullptr;
    return call<DibOperationResult>(result, [&](DibOperationResult& out) {
        if (sheet == nullptr) return refuse(out, DIB_ERROR_INVALID, "there is no pointer for the sheet");
        dib_montage_options from = DIB_C_MONTAGE_OPTIONS_INIT;
        if (!c_interface::accept(out, c_interface::readOptions(options, from))) return false;
        DibMontageOptions how;
        how.columns = from.columns;
        how.gap = from.gap;
        how.mostWidth = from.most_width;
        how.mostHeight = from.most_height;
        how.background = colorOf(from.background);
        how.labels = from.labels;
        how.labelSize = from.label_size;
        how.labelFont = from.label_font;
        how.labelColor = colorOf(from.label_color);
        DibHandle made = DibHandle::make();
        if (!made) return refuseWithoutMemory(out);
        const auto* pictures = reinterpret_cast<const DibStream* const*>(images);
        if (!DibMontage(pictures, count, made.get(), &how, &out, progress, user)) return false;
        *sheet = c_interface::handleOf(made.release());
        return true;
    });
}
