#include <DibFile.h>

#include <cstring>
#include <new>

#include "c/Call.h"

struct dib_layers {
    DibLayers list;
};

namespace {

static_assert(int{DIB_C_LAYER_PLAIN} == DIB_LAYER_PLAIN && int{DIB_C_LAYER_GROUP} == DIB_LAYER_GROUP &&
              int{DIB_C_LAYER_GROUP_END} == DIB_LAYER_GROUP_END);

template <class Probe>
dib_code probeLayers(dib_layers** layers, const dib_load_options* given, dib_result* result,
                     const Probe& probe) {
    if (layers != nullptr) *layers = nullptr;
    return c_interface::call<DibFileResult>(result, [&](DibFileResult& out) {
        DibLoadOptions options;
        if (layers == nullptr)
            return c_interface::refuse(out, DIB_ERROR_INVALID, "there is no pointer for the layers");
        if (!c_interface::readLoadOptions(given, options, out)) return false;
        DibLayers list;
        const bool isRead = probe(&list, options, out);
        c_interface::fillMetadata(result, out.metadata);
        if (!isRead) return false;
        *layers = new (std::nothrow) dib_layers{std::move(list)};
        return *layers != nullptr || c_interface::refuseWithoutMemory(out);
    });
}

}  // namespace

dib_code dib_probe_layers(const char* path, dib_layers** layers, const dib_load_options* options,
                          dib_result* result) {
    return probeLayers(layers, options, result,
                       [&](DibLayers* to, const DibLoadOptions& how, DibFileResult& out) {
                           return DibProbeLayers(path, to, &how, &out);
                       });
}

dib_code dib_probe_layers_memory(const void* bytes, size_t size, dib_layers** layers,
                                 const dib_load_options* options, dib_result* result) {
    return probeLayers(layers, options, result,
                       [&](DibLayers* to, const DibLoadOptions& how, DibFileResult& out) {
                           return DibProbeLayers(bytes, size, to, &how, &out);
                       });
}

int dib_layer_count(const dib_layers* layers) {
    return layers != nullptr ? static_cast<int>(layers->list.count) : 0;
}

dib_code dib_layer_at(const dib_layers* layers, int index, dib_layer* layer) {
    if (layer == nullptr || !c_interface::isSized(*layer)) return DIB_C_ERROR_INVALID;
    if (index < 0 || index >= dib_layer_count(layers)) return DIB_C_ERROR_INVALID;
    const DibLayer& from = layers->list.items[index];
    dib_layer to = DIB_C_LAYER_INIT;
    static_assert(sizeof to.name == sizeof from.name);
    std::memcpy(to.name, from.name, sizeof to.name);
    to.kind = from.kind;
    to.group = from.group;
    to.left = from.left;
    to.top = from.top;
    to.width = from.width;
    to.height = from.height;
    to.opacity = from.opacity;
    to.is_visible = from.isVisible ? 1 : 0;
    to.is_clipped = from.isClipped ? 1 : 0;
    to.blend_mode = from.blendMode;
    c_interface::fill(*layer, to);
    return DIB_C_OK;
}

dib_code dib_layer_mask_at(const dib_layers* layers, int index, int part, dib_layer_mask* mask) {
    if (mask == nullptr || !c_interface::isSized(*mask)) return DIB_C_ERROR_INVALID;
    if (index < 0 || index >= dib_layer_count(layers)) return DIB_C_ERROR_INVALID;
    if (part != DIB_C_LAYER_MASK && part != DIB_C_LAYER_SECOND_MASK) return DIB_C_ERROR_INVALID;
    const DibLayerMask& from = layers->list.items[index].masks[part - DIB_C_LAYER_MASK];
    const dib_layer_mask to = {.size = sizeof(dib_layer_mask),
                               .exists = from.exists ? 1 : 0,
                               .is_disabled = from.isDisabled ? 1 : 0,
                               .left = from.left,
                               .top = from.top,
                               .width = from.width,
                               .height = from.height,
                               .outside = from.outside,
                               .reserved = 0};
    c_interface::fill(*mask, to);
    return DIB_C_OK;
}

void dib_layers_release(dib_layers* layers) { delete layers; }
