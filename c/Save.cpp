#include <DibPalette.h>

#include "c/Call.h"

using c_interface::call;
using c_interface::imageOf;
using c_interface::refuse;

namespace {

static_assert(int{DIB_C_TIFF_DEFLATE} == DIB_TIFF_DEFLATE && int{DIB_C_TIFF_LZW} == DIB_TIFF_LZW &&
              int{DIB_C_TIFF_PACKBITS} == DIB_TIFF_PACKBITS && int{DIB_C_TIFF_NONE} == DIB_TIFF_NONE);

// Metadata that borrows the blocks of the program.
class BorrowedMetadata : public DibMetadata {
public:
    void borrow(const dib_metadata& from) {
        borrow(colorProfile, from.color_profile, from.color_profile_size);
        borrow(exif, from.exif, from.exif_size);
        borrow(paletteAlpha, from.palette_alpha, from.palette_alpha_size);
        borrow(timFrame, from.tim_frame, from.tim_frame_size);
        borrow(texts, from.texts, from.texts_size);
        borrow(xmp, from.xmp, from.xmp_size);
        xResolution = from.x_resolution;
        yResolution = from.y_resolution;
        orientation = from.orientation;
    }
    BorrowedMetadata() = default;
    ~BorrowedMetadata() {
        colorProfile.data = exif.data = paletteAlpha.data = timFrame.data = texts.data = xmp.data = nullptr;
    }
    BorrowedMetadata(const BorrowedMetadata&) = delete;
    BorrowedMetadata& operator=(const BorrowedMetadata&) = delete;

private:
    static void borrow(DibBytes& to, unsigned char* data, std::size_t size) {
        to.data = data;
        to.size = data != nullptr ? size : 0;
    }
};

bool readSaveOptions(const dib_save_options* given, DibSaveOptions& options, BorrowedMetadata& metadata,
                     DibFileResult& result) {
    dib_save_options from = DIB_C_SAVE_OPTIONS_INIT;
    if (!c_interface::accept(result, c_interface::readOptions(given, from))) return false;
    if (!c_interface::readChoice(from.tiff_compression, DIB_TIFF_NONE, options.tiffCompression))
        return refuse(result, DIB_ERROR_INVALID, "the option tiff_compression has no such value");
    if (from.metadata != nullptr) {
        dib_metadata held = DIB_C_METADATA_INIT;
        if (!c_interface::accept(result, c_interface::readOptions(from.metadata, held))) return false;
        metadata.borrow(held);
        options.metadata = &metadata;
    }
    options.format = from.format;
    options.refusesLosses = from.refuses_losses != 0;
    options.quality = from.quality;
    options.isLossy = from.is_lossy != 0;
    options.compressionLevel = from.compression_level;
    options.keepsExisting = from.keeps_existing != 0;
    options.runLengths = from.run_lengths != 0;
    return true;
}

template <class Save>
dib_code save(const dib_save_options* given, dib_result* result, const Save& saveBy) {
    return call<DibFileResult>(result, [&](DibFileResult& out) {
        BorrowedMetadata metadata;
        DibSaveOptions options;
        return readSaveOptions(given, options, metadata, out) && saveBy(options, out);
    });
}

// Makes a block and gives it to the program.
template <class Save>
bool saveBlock(void** bytes, size_t* size, DibFileResult& result, const Save& saveTo) {
    if (bytes == nullptr || size == nullptr)
        return refuse(result, DIB_ERROR_INVALID, "there is no pointer for the block or its size");
    DibBytes block;
    if (!saveTo(&block)) return false;
    *size = block.size;
    *bytes = std::exchange(block.data, nullptr);
    return true;
}

void clearBlock(void** bytes, size_t* size) {
    if (bytes != nullptr) *bytes = nullptr;
    if (size != nullptr) *size = 0;
}

}  // namespace

dib_code dib_save_losses(const dib_image* image, const char* format, const dib_save_options* options,
                         int* count, dib_result* result) {
    int losses = 0;
    const dib_code code = save(options, result, [&](const DibSaveOptions& how, DibFileResult& out) {
        losses = DibSaveLosses(imageOf(image), format, &how, &out);
        return out.code == DIB_OK;
    });
    if (count != nullptr) *count = losses;
    return code;
}

dib_code dib_save_file(const char* path, const dib_image* image, const dib_save_options* options,
                       dib_result* result, dib_progress progress, void* user) {
    return save(options, result, [&](const DibSaveOptions& how, DibFileResult& out) {
        return DibSaveFile(path, imageOf(image), &how, &out, progress, user);
    });
}

dib_code dib_save_memory(void** bytes, size_t* size, const dib_image* image, const dib_save_options* options,
                         dib_result* result, dib_progress progress, void* user) {
    clearBlock(bytes, size);
    return save(options, result, [&](const DibSaveOptions& how, DibFileResult& out) {
        return saveBlock(bytes, size, out, [&](DibBytes* block) {
            return DibSaveMemory(block, imageOf(image), &how, &out, progress, user);
        });
    });
}

dib_code dib_save_stream(FILE* file, const dib_image* image, const dib_save_options* options,
                         dib_result* result, dib_progress progress, void* user) {
    return save(options, result, [&](const DibSaveOptions& how, DibFileResult& out) {
        return DibSaveStream(file, imageOf(image), &how, &out, progress, user);
    });
}

dib_code dib_save_function(dib_write_function write, void* context, const dib_image* image,
                           const dib_save_options* options, dib_result* result, dib_progress progress,
                           void* user) {
    return save(options, result, [&](const DibSaveOptions& how, DibFileResult& out) {
        return DibSaveStream(DibWriter{write, context}, imageOf(image), &how, &out, progress, user);
    });
}

dib_code dib_save_palette(const char* path, const dib_image* image, const char* format, dib_result* result) {
    return call<DibFileResult>(
        result, [&](DibFileResult& out) { return DibSavePalette(path, imageOf(image), format, &out); });
}

dib_code dib_save_palette_memory(void** bytes, size_t* size, const dib_image* image, const char* format,
                                 dib_result* result) {
    clearBlock(bytes, size);
    return call<DibFileResult>(result, [&](DibFileResult& out) {
        return saveBlock(bytes, size, out, [&](DibBytes* block) {
            return DibSavePaletteMemory(block, imageOf(image), format, &out);
        });
    });
}
