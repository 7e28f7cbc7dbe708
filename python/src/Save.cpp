// Saving: the functions of DibFile.h.
#include <cstring>

#include "python/src/Failure.h"
#include "python/src/Image.h"
#include "python/src/Places.h"
#include "python/src/Watch.h"

namespace python {

using py::literals::operator""_a;

namespace {

constexpr const char* kTiffs[] = {"deflate", "lzw", "packbits", "none"};

void readBlock(const py::object& from, DibBytes& to) {
    if (from.is_none()) return;
    const auto text = from.cast<std::string_view>();
    to.data = static_cast<unsigned char*>(std::malloc(text.size() + 1));
    if (to.data == nullptr) failWithoutMemory();
    std::memcpy(to.data, text.data(), text.size());
    to.size = text.size();
}

void readMetadata(const py::object& from, DibMetadata& to) {
    const py::object resolution = from.attr("resolution");
    if (!resolution.is_none())
        std::tie(to.xResolution, to.yResolution) = resolution.cast<std::pair<double, double>>();
    to.orientation = from.attr("orientation").cast<int>();
    readBlock(from.attr("color_profile"), to.colorProfile);
    readBlock(from.attr("exif"), to.exif);
    readBlock(from.attr("palette_alpha"), to.paletteAlpha);
    readBlock(from.attr("tim_frame"), to.timFrame);
    readBlock(from.attr("texts"), to.texts);
    readBlock(from.attr("xmp"), to.xmp);
}

// Options of a save with what they point to.
class SaveOptions {
public:
    SaveOptions(const Image& image, const std::optional<std::string>& format,
                const std::optional<int>& quality, int compression, bool isStrict, bool runLengths,
                const std::string& tiff, const py::object& metadata)
        : format_(format) {
        options_.quality = quality.value_or(options_.quality);
        options_.isLossy = quality.has_value();
        options_.compressionLevel = compression;
        options_.refusesLosses = isStrict;
        options_.runLengths = runLengths;
        options_.tiffCompression = choice<DibTiffCompression>("tiff_compression", tiff, kTiffs);
        const py::object& used = metadata.is(py::ellipsis()) ? image.origin.metadata : metadata;
        if (used.is_none()) return;
        readMetadata(used, metadata_);
        options_.metadata = &metadata_;
    }
    SaveOptions(const SaveOptions&) = delete;
    SaveOptions& operator=(const SaveOptions&) = delete;

    void setFormat(std::string format) { format_ = std::move(format); }
    void setKeepsExisting(bool keepsExisting) { options_.keepsExisting = keepsExisting; }
    const DibSaveOptions* get() {
        options_.format = format_ ? format_->c_str() : nullptr;
        return &options_;
    }

private:
    DibSaveOptions options_;
    std::optional<std::string> format_;
    DibMetadata metadata_;
};

py::tuple save(const Image& image, const py::object& target, const std::optional<std::string>& format,
               const std::optional<int>& quality, int compression, bool isStrict, bool runLengths,
               const std::string& tiff, const py::object& metadata, bool keepsExisting,
               const py::object& progress) {
    SaveOptions given(image, format, quality, compression, isStrict, runLengths, tiff, metadata);
    given.setKeepsExisting(keepsExisting);
    const bool toPath = isPathToSave(target);
    if (!toPath && !format) given.setFormat(formatOfStream(target));
    const std::string path = toPath ? encoded(target) : std::string();
    const DibSaveOptions* options = given.get();
    DibFileResult result;
    Watch watch(progress);
    Stream stream(target, "write");
    const bool isDone = [&] {
        const py::gil_scoped_release unlocked;
        return toPath
                   ? DibSaveFile(path.c_str(), image.get(), options, &result, watch.callback(), &watch)
                   : DibSaveStream(stream.writer(), image.get(), options, &result, watch.callback(), &watch);
    }();
    watch.rethrow();
    stream.rethrow();
    if (!isDone) fail(result, toPath ? target : py::none());
    return notesOf(result.notes, result.noteCount);
}

py::bytes encode(const Image& image, const std::string& format, const std::optional<int>& quality,
                 int compression, bool isStrict, bool runLengths, const std::string& tiff,
                 const py::object& metadata, const py::object& progress) {
    SaveOptions given(image, format, quality, compression, isStrict, runLengths, tiff, metadata);
    const DibSaveOptions* options = given.get();
    DibFileResult result;
    DibBytes block;
    Watch watch(progress);
    const bool isDone = [&] {
        const py::gil_scoped_release unlocked;
        return DibSaveMemory(&block, image.get(), options, &result, watch.callback(), &watch);
    }();
    watch.rethrow();
    if (!isDone) fail(result, py::none());
    return py::bytes(viewOf(block));
}

py::tuple losses(const Image& image, const std::string& format, const py::object& metadata) {
    SaveOptions given(image, format, {}, -1, false, true, "deflate", metadata);
    DibFileResult result;
    DibSaveLosses(image.get(), format.c_str(), given.get(), &result);
    if (result.code != DIB_OK) fail(result, py::none());
    return notesOf(result.notes, result.noteCount);
}

}  // namespace

void bindSave(py::class_<Image>& image) {
    image.def(
        "save", &save, py::arg("target"), py::kw_only(), "format"_a = py::none(), "quality"_a = py::none(),
        "compression"_a = -1, "strict"_a = false, "run_lengths"_a = true, "tiff_compression"_a = kTiffs[0],
        "metadata"_a = py::ellipsis(), "keep_existing"_a = false, "progress"_a = py::none(),
        R"(save(self, target, *, format=None, quality=None, compression=-1, strict=False, run_lengths=True,
tiff_compression='deflate', metadata=..., keep_existing=False, progress=None)
--

Saves the picture, whole or not at all, and returns notes about what the file does not hold.

target: a path, whose extension says the format, or a binary file
format: the name or an extension of a format
quality: of JPEG, 1 to 100, None is 90; of WebP, where None keeps every pixel
compression: of PNG, TIFF and WebP, 0 (fast) to 9 (small); -1 is a good compromise
strict: fails where the file cannot hold all of the picture
run_lengths: uses run lengths where a format has them as an option
tiff_compression: 'deflate', 'lzw', 'packbits' or 'none'
metadata: resolution, colour profile and EXIF; those of the picture unless given; None saves none
keep_existing: raises FileError where the path has a file already
progress: is called with the fraction that is done; False cancels. Also a tqdm bar.)");
    image.def("encode", &encode, py::arg("format"), py::kw_only(), "quality"_a = py::none(),
              "compression"_a = -1, "strict"_a = false, "run_lengths"_a = true,
              "tiff_compression"_a = kTiffs[0], "metadata"_a = py::ellipsis(), "progress"_a = py::none(),
              R"(encode(self, format, *, quality=None, compression=-1, strict=False, run_lengths=True,
tiff_compression='deflate', metadata=..., progress=None)
--

The bytes of a file. The options are those of save().)");
    image.def("losses", &losses, py::arg("format"), py::kw_only(), "metadata"_a = py::ellipsis(),
              R"(losses(self, format, *, metadata=...)
--

What a file of that format cannot hold of the picture, as notes.)");
    image.def("_repr_png_", [](const Image& self) {
        return encode(self, "png", {}, 1, false, true, "deflate", py::ellipsis(), py::none());
    });
}

}  // namespace python
