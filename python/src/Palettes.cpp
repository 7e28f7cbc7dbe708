// Palette files (DibPalette.h).
#include <DibPalette.h>

#include <cstring>

#include "python/src/Failure.h"
#include "python/src/Image.h"
#include "python/src/Places.h"

namespace python {

using py::literals::operator""_a;

namespace {

py::object openPalette(const py::object& given) {
    const py::object source = wholeSource(given);
    const Place place = sourceOf(source);
    DibHandle image = DibHandle::make();
    if (!image) failWithoutMemory();
    DibFileResult result;
    const bool isDone = place.kind == Place::kPath
                            ? DibLoadPalette(place.path.c_str(), image.get(), &result)
                            : DibLoadPaletteMemory(place.data(), place.size(), image.get(), &result);
    if (!isDone) fail(result, place.kind == Place::kPath ? source : py::none());
    return wrap(std::move(image), Origin(record("Metadata")())).attr("palette");
}

void savePalette(const Image& image, const py::object& target, const std::optional<std::string>& format) {
    DibFileResult result;
    if (isPathToSave(target)) {
        const char* name = format ? format->c_str() : nullptr;
        if (!DibSavePalette(encoded(target).c_str(), image.get(), name, &result)) fail(result, target);
        return;
    }
    DibBytes block;
    const std::string name = format ? *format : formatOfStream(target);
    if (!DibSavePaletteMemory(&block, image.get(), name.c_str(), &result)) fail(result, py::none());
    Stream stream(target, "write");
    const DibWriter writer = stream.writer();
    const bool isWritten = writer.write(writer.context, block.data, block.size);
    stream.rethrow();
    if (isWritten) return;
    result.code = DIB_ERROR_WRITE;
    std::strcpy(result.reason, "the stream cannot be written");
    fail(result, py::none());
}

}  // namespace

void bindPalettes(py::module_& module, py::class_<Image>& image) {
    module.def("open_palette", &openPalette, py::arg("source"), R"(open_palette(source)
--

The colours of a palette file of GIMP (.gpl), JASC (.pal) or Adobe (.act), as Image.palette has them.

source: a path, the bytes of a file, or a binary file)");
    image.def("save_palette", &savePalette, py::arg("target"), py::kw_only(), "format"_a = py::none(),
              R"(save_palette(self, target, *, format=None)
--

Saves the palette of a picture of 1 to 8 bits as a file of its own, whole or not at all.

target: a path, whose extension says the format, or a binary file
format: 'gpl', 'pal' or 'act')");
}

}  // namespace python
