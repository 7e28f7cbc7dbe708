// Sheets of pictures (DibPictures.h).
#include <DibOperation.h>
#include <DibPictures.h>

#include <vector>

#include "python/src/Failure.h"
#include "python/src/Image.h"
#include "python/src/Places.h"
#include "python/src/Watch.h"

namespace python {

using py::literals::operator""_a;

namespace {

DibBGRA colorOf(const char* option, const py::object& value) {
    const bool isText = py::isinstance<py::str>(value);
    if (!isText && !py::isinstance<py::sequence>(value))
        throw py::type_error(std::string(option) + " cannot be " + py::repr(value).cast<std::string>());
    const std::string text = isText ? value.cast<std::string>() : colorText(value.cast<py::sequence>());
    DibBGRA color{};
    DibOperationResult result;
    if (!DibParseColor(wholeText(text).c_str(), &color, &result))
        throw py::value_error(std::string(option) + ": " + result.reason);
    return color;
}

// The labels of all pictures; none without any.
std::vector<std::optional<std::string>> labelsOf(const py::object& labels, std::size_t count) {
    std::vector<std::optional<std::string>> texts;
    if (labels.is_none()) return texts;
    for (const py::handle label : labels) {
        texts.emplace_back();
        if (!label.is_none()) texts.back() = wholeText(label.cast<std::string>());
    }
    if (texts.size() != count)
        throw py::value_error("there are " + std::to_string(texts.size()) + " labels for " +
                              std::to_string(count) + " pictures");
    return texts;
}

py::object montage(const py::iterable& images, int columns, int gap, std::pair<int, int> most,
                   const py::object& background, const py::object& labels, int labelSize,
                   const py::object& labelColor, const py::object& labelFont, const py::object& progress) {
    const py::list held(images);
    std::vector<const DibStream*> pictures;
    for (const py::handle image : held) {
        if (!py::isinstance<Image>(image))
            throw py::type_error("a sheet has pictures on it, not " + py::repr(image).cast<std::string>());
        pictures.push_back(image.cast<const Image&>().get());
    }
    const auto texts = labelsOf(labels, pictures.size());
    std::vector<const char*> words;
    for (const auto& text : texts) words.push_back(text ? text->c_str() : nullptr);

    DibMontageOptions options;
    options.columns = columns;
    options.gap = gap;
    options.mostWidth = most.first;
    options.mostHeight = most.second;
    options.background = colorOf("background", background);
    if (!words.empty()) options.labels = words.data();
    options.labelSize = labelSize;
    if (!labelColor.is_none()) options.labelColor = colorOf("label_color", labelColor);
    const std::string font = labelFont.is_none() ? "" : encoded(labelFont);
    if (!labelFont.is_none()) options.labelFont = font.c_str();

    Watch watch(progress);
    DibOperationResult result;
    DibHandle sheet = DibHandle::make();
    if (!sheet) failWithoutMemory();
    const bool isDone = [&] {
        const py::gil_scoped_release unlocked;
        return DibMontage(pictures.data(), static_cast<int>(pictures.size()), sheet.get(), &options, &result,
                          watch.callback(), &watch);
    }();
    watch.rethrow();
    if (!isDone) fail(result);
    return wrap(std::move(sheet), Origin(record("Metadata")()));
}

}  // namespace

void bindMontage(py::module_& module) {
    module.def(
        "montage", &montage, py::arg("images"), py::kw_only(), "columns"_a = 0, "gap"_a = 0,
        "fit"_a = std::pair(0, 0), "background"_a = "#ffffff", "labels"_a = py::none(),
        "label_size"_a = DibMontageOptions().labelSize, "label_color"_a = py::none(),
        "label_font"_a = py::none(), "progress"_a = py::none(),
        R"(montage(images, *, columns=0, gap=0, fit=(0, 0), background='#ffffff', labels=None, label_size=14,
label_color=None, label_font=None, progress=None)
--

Puts pictures of any depth on a sheet, row by row: contact sheets and sprite sheets. Each lies in the middle
of a cell as large as the largest of them. The sheet has 8 bits where everything on it is grey, else 32.

images: one or more pictures
columns: pictures in a row; 0: about as many as there are rows
gap: pixels between the cells and around them
fit: pictures are shrunk until they lie inside this width and height; 0 is no limit
background: '#rrggbb', '#rrggbbaa' or (red, green, blue[, alpha])
labels: a text or None for each picture, written below it and shortened where the cell is too narrow
label_size: the height of their font in pixels
label_color: as background; None is black or white, as the background shows better
label_font: the file of their font; None is the built-in letters, which hold ASCII
progress: is called with the fraction that is done; False cancels. Also a tqdm bar.

Raises ParameterError, OutOfMemoryError, Cancelled, or for the font FileError or FormatError.)");
}

}  // namespace python
