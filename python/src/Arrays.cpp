// Arrays as images: without a copy where their layout is that of an image.
#include <cstring>

#include "python/src/Failure.h"
#include "python/src/Image.h"

namespace python {

namespace {

// The pixels of a buffer with rows, columns and channels.
struct Pixels {
    const unsigned char* first;
    int height;
    int width;
    int itemBytes;
    int channels;
    Py_ssize_t rowStride;
    Py_ssize_t columnStride;
    Py_ssize_t channelStride;
    bool isBool;

    int pixelBytes() const { return itemBytes * channels; }
    int bitCount() const { return isBool ? 1 : 8 * pixelBytes(); }
    Py_ssize_t rowBytes() const { return Py_ssize_t{width} * pixelBytes(); }
    const unsigned char* at(Py_ssize_t y, Py_ssize_t x) const {
        return first + y * rowStride + x * columnStride;
    }
};

std::string shapeText(const Py_buffer& view) {
    std::string text = "(";
    for (int i = 0; i < view.ndim; ++i) text += (i > 0 ? ", " : "") + std::to_string(view.shape[i]);
    return text + ")";
}

Pixels pixelsOf(const Py_buffer& view) {
    const std::string_view format = view.format != nullptr ? view.format : "B";
    const bool isBool = format == "?";
    const bool isWord = format == "H" || format == "<H";
    const Py_ssize_t channels = view.ndim == 3 ? view.shape[2] : 1;
    const bool isKnown = view.ndim == 2 || (view.ndim == 3 && !isBool && !isWord);
    if (!isKnown || (!isBool && !isWord && format != "B") ||
        (channels != 1 && channels != 3 && channels != 4) || view.suboffsets != nullptr)
        throw py::type_error(
            "an array of shape " + shapeText(view) + " and type '" + std::string(format) +
            "' is not a picture: (height, width), (height, width, 3) and (height, width, 4) of uint8 "
            "are, and (height, width) of uint16 or bool");
    if (view.shape[0] < 1 || view.shape[1] < 1) throw py::value_error("the array is empty");
    if (view.shape[0] > INT32_MAX || view.shape[1] > INT32_MAX) failWithoutMemory();
    return {.first = static_cast<const unsigned char*>(view.buf),
            .height = static_cast<int>(view.shape[0]),
            .width = static_cast<int>(view.shape[1]),
            .itemBytes = isWord ? 2 : 1,
            .channels = static_cast<int>(channels),
            .rowStride = view.strides[0],
            .columnStride = view.strides[1],
            .channelStride = view.ndim == 3 ? view.strides[2] : 0,
            .isBool = isBool};
}

// Why an image cannot use the memory of the array; null when it can. There must be no gaps between rows:
// functions may write to the fill bytes of rows, which could be pixels of a larger array.
const char* reasonToCopy(const Pixels& pixels) {
    const Py_ssize_t rowBytes = pixels.rowBytes();
    const Py_ssize_t stride = pixels.height == 1 ? rowBytes : std::abs(pixels.rowStride);
    if (pixels.isBool) return "pixels of 1 bit are packed";
    if (pixels.columnStride != pixels.pixelBytes() || (pixels.channels > 1 && pixels.channelStride != 1))
        return "the pixels of a row do not follow each other";
    if (stride != rowBytes) return "there are gaps between the rows";
    if (rowBytes % 4 != 0) return "the bytes of a row are not a multiple of 4";
    const unsigned char* lowest = pixels.rowStride < 0 ? pixels.at(pixels.height - 1, 0) : pixels.first;
    if (reinterpret_cast<std::uintptr_t>(lowest) % 4 != 0) return "the address is not a multiple of 4";
    return nullptr;
}

DibHandle imageOf(const Pixels& pixels) {
    DibHandle made = DibHandle::make();
    if (!made || !made->Create(pixels.width, -pixels.height, pixels.bitCount())) failWithoutMemory();
    return made;
}

DibHandle copyOf(const Pixels& pixels) {
    DibHandle made = imageOf(pixels);
    for (int y = 0; y < pixels.height; ++y) {
        unsigned char* out = made->ScanLine(y);
        std::memset(out, 0, made->GetPitch());
        for (Py_ssize_t x = 0; x < pixels.width; ++x) {
            const unsigned char* from = pixels.at(y, x);
            if (pixels.isBool) {
                out[x / 8] = static_cast<unsigned char>(out[x / 8] | (*from != 0 ? 0x80 >> x % 8 : 0));
                continue;
            }
            for (Py_ssize_t channel = 0; channel < pixels.channels; ++channel) {
                std::memcpy(out, from + channel * pixels.channelStride,
                            static_cast<std::size_t>(pixels.itemBytes));
                out += pixels.itemBytes;
            }
        }
    }
    return made;
}

DibHandle lend(const Pixels& pixels) {
    if (pixels.height * pixels.rowBytes() > INT32_MAX) failWithoutMemory();
    const bool isTopDown = pixels.rowStride > 0 || pixels.height == 1;
    const unsigned char* lowest = isTopDown ? pixels.first : pixels.at(pixels.height - 1, 0);
    DibHandle made = DibHandle::make();
    const int height = isTopDown ? -pixels.height : pixels.height;
    BITMAPINFOHEADER* header = made ? made->CreateHeader(pixels.width, height, pixels.bitCount()) : nullptr;
    if (header == nullptr) failWithoutMemory();
    made->SetDib(header, 6, const_cast<unsigned char*>(lowest), 0);
    return made;
}

py::object fromArray(const py::object& array, const std::optional<bool>& copy) {
    Py_buffer view;
    const bool isWritable =
        PyObject_GetBuffer(array.ptr(), &view, PyBUF_STRIDES | PyBUF_FORMAT | PyBUF_WRITABLE) == 0;
    if (!isWritable) {
        PyErr_Clear();
        if (PyObject_GetBuffer(array.ptr(), &view, PyBUF_STRIDES | PyBUF_FORMAT) != 0)
            throw py::error_already_set();
    }
    const std::unique_ptr<Py_buffer, void (*)(Py_buffer*)> release(&view, &PyBuffer_Release);
    const Pixels pixels = pixelsOf(view);
    const char* reason = reasonToCopy(pixels);
    if (reason != nullptr && copy.has_value() && !*copy)
        throw py::value_error(std::string("the array cannot be used without a copy: ") + reason);
    const py::object metadata = record("Metadata")();
    if (reason != nullptr || copy.value_or(false)) return wrap(copyOf(pixels), Origin(metadata));
    // The view ends with this call; this one lasts as long as the image.
    py::object memory = py::reinterpret_steal<py::object>(PyMemoryView_FromObject(array.ptr()));
    if (!memory) throw py::error_already_set();
    auto image =
        std::make_unique<Image>(lend(pixels), Origin(metadata), array, std::move(memory), !isWritable);
    return py::cast(std::move(image));
}

// The indices of an image of 1 or 4 bits, a byte each.
py::bytearray indices(const Image& image) {
    const int bits = image.bitCount();
    const auto width = static_cast<std::size_t>(image.width());
    std::string bytes(width * static_cast<std::size_t>(image.height()), '\0');
    auto out = bytes.begin();
    for (int y = 0; y < image.height(); ++y) {
        const unsigned char* row = image.row(y);
        for (std::size_t x = 0; x < width; ++x) {
            *out++ = static_cast<char>(bits == 1 ? row[x / 8] >> (7 - x % 8) & 1
                                                 : row[x / 2] >> (x % 2 != 0 ? 0 : 4) & 15);
        }
    }
    return {bytes.data(), bytes.size()};
}

// What numpy calls where there is no view.
py::object arrayOf(const py::object& self, const py::object& type, const py::object& /*copy*/) {
    const auto& image = self.cast<const Image&>();
    const py::module_ numpy = py::module_::import("numpy");
    if (image.bitCount() >= 8) return numpy.attr("asarray")(py::memoryview(self), type);
    const py::object flat = numpy.attr("frombuffer")(indices(image), "uint8");
    return numpy.attr("asarray")(flat.attr("reshape")(image.height(), image.width()), type);
}

}  // namespace

void bindArrays(py::module_& module, py::class_<Image>& image) {
    module.def("from_array", &fromArray, py::arg("array"), py::kw_only(), py::arg("copy") = py::none(),
               R"(from_array(array, *, copy=None)
--

Makes a picture of an array, or of anything else with the buffer protocol.

uint8 of shape (height, width) is grey, of (height, width, 3) blue, green, red, of (height, width, 4) blue,
green, red, alpha. uint16 of shape (height, width) is 5 bits for each colour, bool black and white.

The picture uses the memory of the array, which is its `base` then. Where the layout does not allow that,
the pixels are copied, and `base` is None. copy=False raises ValueError instead, which says why; copy=True
always copies.)");
    image.def("__array__", &arrayOf, py::arg("dtype") = py::none(), py::arg("copy") = py::none(),
              R"(__array__(self, dtype=None, copy=None)
--

The pixels as an array: of 1 and 4 bits a copy of the indices, a byte each; else a view.)");
}

}  // namespace python
