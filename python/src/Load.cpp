// Opening and probing: the functions of DibFile.h.
#include <DibOperation.h>

#include <memory>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "python/src/Failure.h"
#include "python/src/Image.h"
#include "python/src/Places.h"
#include "python/src/Watch.h"

namespace python {

using py::literals::operator""_a;

namespace {

constexpr const char* kAlphas[] = {"guess", "stored"};
constexpr const char* kParts[] = {"pixels", "mask", "second-mask"};

py::object bytesOrNone(const DibBytes& block) {
    if (block.data == nullptr) return py::none();
    return py::bytes(viewOf(block));
}

py::object metadataOf(const DibMetadata& from) {
    py::object resolution = py::none();
    if (from.xResolution > 0 || from.yResolution > 0)
        resolution = py::make_tuple(from.xResolution, from.yResolution);
    return record("Metadata")(
        "resolution"_a = resolution, "orientation"_a = from.orientation,
        "color_profile"_a = bytesOrNone(from.colorProfile), "exif"_a = bytesOrNone(from.exif),
        "palette_alpha"_a = bytesOrNone(from.paletteAlpha), "tim_frame"_a = bytesOrNone(from.timFrame),
        "texts"_a = bytesOrNone(from.texts), "xmp"_a = bytesOrNone(from.xmp));
}

// A page or a layer: its number from 0 or its name.
using Chosen = std::variant<int, std::string>;

// Options of a load with the texts that they point to.
struct LoadOptions {
    DibLoadOptions options;
    std::vector<std::string> formats;
    std::vector<const char*> list;
    std::optional<std::string> format;
    std::optional<std::string> name;
    std::string pageName = {};
    std::string layerName = {};

    void choose(const Chosen& page, const std::optional<Chosen>& layer) {
        read(page, "page", options.page, pageName, options.pageName);
        if (layer) read(*layer, "layer", options.layer, layerName, options.layerName);
    }
    const DibLoadOptions* complete() {
        for (const std::string& each : formats) list.push_back(each.c_str());
        list.push_back(nullptr);
        if (!formats.empty()) options.formats = list.data();
        if (format) options.format = format->c_str();
        if (name) options.name = name->c_str();
        return &options;
    }

private:
    static void read(const Chosen& chosen, const char* what, int& number, std::string& text,
                     const char*& name) {
        if (const auto* given = std::get_if<std::string>(&chosen)) {
            text = *given;
            name = text.c_str();
            return;
        }
        number = std::get<int>(chosen);
        if (number < 0) throw py::value_error(std::string(what) + " counts from 0");
    }
};

// Opens the place: `load` is called with a path, a block or a stream.
template <class Load>
void readFrom(const py::object& source, DibFileResult& result, Watch& watch, const Load& load) {
    const Place place = sourceOf(source);
    Stream stream(source, "read");
    bool isDone = false;
    {
        const py::gil_scoped_release unlocked;
        isDone = load(place, stream);
    }
    watch.rethrow();
    stream.rethrow();
    if (!isDone) fail(result, place.kind == Place::kPath ? source : py::none());
}

py::object open(const py::object& source, const std::optional<std::vector<std::string>>& formats,
                const std::optional<std::string>& format, const std::optional<std::string>& name,
                std::uint64_t mostPixels, std::uint64_t mostBytes, int mostLayers, bool keepsDamaged,
                const std::string& alpha, const Chosen& page, const std::optional<Chosen>& layer,
                const std::string& part, int level, bool appliesOrientation, bool keepsPalette,
                const std::optional<std::pair<int, int>>& leastSize, const py::object& progress) {
    LoadOptions given{{}, formats.value_or(std::vector<std::string>()), {}, format, name};
    given.options.mostPixels = mostPixels;
    given.options.mostBytes = mostBytes;
    given.options.mostLayers = mostLayers;
    given.options.damage = keepsDamaged ? DIB_DAMAGE_KEEP : DIB_DAMAGE_REFUSE;
    given.options.alpha = choice<DibAlphaPolicy>("alpha", alpha, kAlphas);
    given.choose(page, layer);
    given.options.part = choice<DibLayerPart>("part", part, kParts);
    given.options.level = level;
    given.options.appliesOrientation = appliesOrientation;
    given.options.keepsPalette = keepsPalette;
    std::tie(given.options.atLeastWidth, given.options.atLeastHeight) = leastSize.value_or(std::pair(0, 0));
    const DibLoadOptions* options = given.complete();

    DibHandle image = DibHandle::make();
    if (!image) failWithoutMemory();
    DibFileResult result;
    Watch watch(progress);
    readFrom(source, result, watch, [&](const Place& place, Stream& stream) {
        if (place.kind == Place::kPath)
            return DibLoadFile(place.path.c_str(), image.get(), options, &result, watch.callback(), &watch);
        if (place.kind == Place::kBytes)
            return DibLoadMemory(place.data(), place.size(), image.get(), options, &result, watch.callback(),
                                 &watch);
        return DibLoadStream(stream.reader(), image.get(), options, &result, watch.callback(), &watch);
    });
    if (!image.hasPixels()) {
        result.code = DIB_ERROR_INVALID;
        std::strcpy(result.reason, "the picture has no pixels");
        fail(result, py::none());
    }
    return wrap(std::move(image), Origin(py::str(result.format->name), metadataOf(result.metadata),
                                         notesOf(result.notes, result.noteCount)));
}

// Reads headers by one of the probing functions, which differ in what they fill.
template <class Probe>
void look(const py::object& given, DibFileResult& result, const Probe& probe) {
    const py::object source = wholeSource(given);
    const Place place = sourceOf(source);
    const bool isDone = [&] {
        const py::gil_scoped_release unlocked;
        return probe(place);
    }();
    if (!isDone) fail(result, place.kind == Place::kPath ? source : py::none());
}

py::object placeOf(int x, int y) {
    if (x < 0) return py::none();
    return py::make_tuple(x, y);
}

py::object probe(const py::object& source, const std::optional<std::vector<std::string>>& formats,
                 const std::optional<std::string>& format, const std::optional<std::string>& name,
                 const Chosen& page, const std::optional<Chosen>& layer, int level, bool keepsPalette) {
    LoadOptions given{{}, formats.value_or(std::vector<std::string>()), {}, format, name};
    given.choose(page, layer);
    given.options.level = level;
    given.options.keepsPalette = keepsPalette;
    const DibLoadOptions* options = given.complete();
    DibFileInfo info;
    DibFileResult result;
    look(source, result, [&](const Place& place) {
        return place.kind == Place::kPath
                   ? DibProbeFile(place.path.c_str(), &info, options, &result)
                   : DibProbeMemory(place.data(), place.size(), &info, options, &result);
    });
    return record("FileInfo")(
        "format"_a = info.format->name, "width"_a = info.width, "height"_a = info.height,
        "bits"_a = info.bitCount, "stored_bits"_a = info.storedBits, "pages"_a = info.pages,
        "layers"_a = info.layers, "levels"_a = info.levels, "has_alpha"_a = info.hasAlpha,
        "compression"_a = info.compression, "palette_size"_a = info.paletteSize,
        "row_order"_a = info.isTopDown ? "top-down" : "bottom-up", "colors"_a = info.colors,
        "channels"_a = info.channels, "channel_bits"_a = info.channelBits, "page_name"_a = info.pageName,
        "video_place"_a = placeOf(info.videoX, info.videoY),
        "palette_place"_a = placeOf(info.paletteX, info.paletteY), "metadata"_a = metadataOf(result.metadata),
        "notes"_a = notesOf(result.notes, result.noteCount));
}

py::object maskOf(const DibLayerMask& mask) {
    if (!mask.exists) return py::none();
    return record("LayerMask")("left"_a = mask.left, "top"_a = mask.top, "width"_a = mask.width,
                               "height"_a = mask.height, "outside"_a = mask.outside,
                               "is_disabled"_a = mask.isDisabled);
}

py::object probeLayers(const py::object& source, const std::optional<std::string>& format,
                       const std::optional<std::string>& name, const Chosen& page) {
    constexpr const char* kKinds[] = {"plain", "group", "group-end"};
    LoadOptions given{{}, {}, {}, format, name};
    given.choose(page, {});
    const DibLoadOptions* options = given.complete();
    DibLayers layers;
    DibFileResult result;
    look(source, result, [&](const Place& place) {
        return place.kind == Place::kPath
                   ? DibProbeLayers(place.path.c_str(), &layers, options, &result)
                   : DibProbeLayers(place.data(), place.size(), &layers, options, &result);
    });
    py::list list;
    for (std::size_t i = 0; i < layers.count; ++i) {
        const DibLayer& layer = layers.items[i];
        list.append(record("Layer")(
            "index"_a = i, "name"_a = layer.name, "kind"_a = kKinds[layer.kind],
            "group"_a = layer.group < 0 ? py::object(py::none()) : py::int_(layer.group),
            "left"_a = layer.left, "top"_a = layer.top, "width"_a = layer.width, "height"_a = layer.height,
            "opacity"_a = layer.opacity, "is_visible"_a = layer.isVisible, "is_clipped"_a = layer.isClipped,
            "blend_mode"_a = layer.blendMode, "mask"_a = maskOf(layer.masks[0]),
            "second_mask"_a = maskOf(layer.masks[1])));
    }
    return list;
}

py::object formats() {
    const auto words = [](const char* const* list) {
        py::list found;
        for (; list != nullptr && *list != nullptr; ++list) found.append(*list);
        return py::tuple(found);
    };
    const auto depths = [](unsigned int set) {
        constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};
        py::list found;
        for (int i = 0; i < 6; ++i) {
            if ((set >> i & 1U) != 0) found.append(kDepths[i]);
        }
        return py::tuple(found);
    };
    py::list list;
    for (const DibFormat* format : DibList(DibGetFormats())) {
        list.append(record("Format")(
            "name"_a = format->name, "title"_a = format->title, "extensions"_a = words(format->extensions),
            "mime_types"_a = words(format->mimeTypes), "read_depths"_a = depths(format->readDepths),
            "write_depths"_a = depths(format->writeDepths), "has_layers"_a = format->hasLayers,
            "has_pages"_a = format->hasPages, "has_palette_alpha"_a = format->hasPaletteAlpha,
            "is_available"_a = DibIsFormatAvailable(format), "library"_a = DibGetFormatLibrary(format)));
    }
    return list;
}

void bindOpening(py::module_& module) {
    const DibLoadOptions standard;
    module.def(
        "open", &open, py::arg("source"), py::kw_only(), "formats"_a = py::none(), "format"_a = py::none(),
        "name"_a = py::none(), "max_pixels"_a = standard.mostPixels, "max_bytes"_a = standard.mostBytes,
        "max_layers"_a = standard.mostLayers, "keep_damaged"_a = false, "alpha"_a = kAlphas[0],
        "page"_a = Chosen(0), "layer"_a = py::none(), "part"_a = kParts[0], "level"_a = 0,
        "apply_orientation"_a = true, "keep_palette"_a = false, "at_least"_a = py::none(),
        "progress"_a = py::none(),
        R"(open(source, *, formats=None, format=None, name=None, max_pixels=2147483648, max_bytes=8589934592,
max_layers=65536, keep_damaged=False, alpha='guess', page=0, layer=None, part='pixels', level=0,
apply_orientation=True, keep_palette=False, at_least=None, progress=None)
--

Opens a picture. Its content says which format it has.

source: a path, the bytes of a file, or a binary file
formats: names of the accepted formats; None accepts all
format: the format that the file has for certain
name: a file name that says the format where the content does not
max_pixels, max_bytes, max_layers: larger pictures are refused before memory is taken
keep_damaged: keeps the rows of a damaged file that could be read, with a note
alpha: 'guess' makes alpha that is 0 everywhere opaque, 'stored' keeps it
page: of a file with several pictures, from 0; of an EXR file also the name of the part
layer: of a document, from 0, or its name; None is the merged picture
part: of the layer: 'pixels', 'mask' or 'second-mask'
level: of a file with several sizes of a picture, from 0, which is the largest
apply_orientation: turns the picture as the file asks
keep_palette: keeps the palette of a PNG file with transparent colours, whose alpha is then in the metadata
at_least: width and height in pixels that are enough: JPEG files are decoded at a half, a quarter or an
    eighth of their size where that has as many, with a note; 0 demands nothing of a side. thumbnail() uses it
progress: is called with the fraction that is done; False cancels. Also a tqdm bar.

Raises MissingFileError, FileError, FormatError, RefusedError, OutOfMemoryError or Cancelled.)");
}

void bindProbing(py::module_& module) {
    module.def("probe", &probe, py::arg("source"), py::kw_only(), "formats"_a = py::none(),
               "format"_a = py::none(), "name"_a = py::none(), "page"_a = Chosen(0), "layer"_a = py::none(),
               "level"_a = 0, "keep_palette"_a = false,
               R"(probe(source, *, formats=None, format=None, name=None, page=0, layer=None, level=0,
keep_palette=False)
--

Reads what the headers of a file say, without decoding its pixels. The options are those of open().)");
    module.def("probe_layers", &probeLayers, py::arg("source"), py::kw_only(), "format"_a = py::none(),
               "name"_a = py::none(), "page"_a = Chosen(0),
               R"(probe_layers(source, *, format=None, name=None, page=0)
--

Lists the layers of a document, from the lowest to the highest. Files of formats without layers have none.)");
}

void bindFormats(py::module_& module) {
    module.def("formats", &formats, R"(formats()
--

All formats, in the order of the documentation.)");
    module.def("plugin_folder", [] {
        char path[4096] = "";
        DibStream::GetDllFilePath(path);
        return py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(path));
    });
    module.def(
        "set_plugin_folder",
        [](const py::object& path) {
            const std::string folder = encoded(path);
            if (folder.size() >= 1024) throw py::value_error("a plug-in folder has at most 1023 bytes");
            DibStream::SetDllFilePath(folder.c_str());
        },
        py::arg("path"), R"(set_plugin_folder(path)
--

Sets the folder of the plug-ins that read EXR, DDS, WebP and GIF files. The package finds its own.)");
}

}  // namespace

void bindLoad(py::module_& module) {
    bindOpening(module);
    bindProbing(module);
    bindFormats(module);
}

}  // namespace python
