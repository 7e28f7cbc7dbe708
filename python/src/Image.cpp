#include "python/src/Image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "python/src/Failure.h"
#include "python/src/Places.h"

namespace python {

namespace {

// Replaces the header block by one with room for all entries. Setting a palette then never moves the table,
// which other threads may read meanwhile.
void makeRoomForPalette(DibStream& image) {
    const BITMAPINFOHEADER& old = *image.Header;
    const std::uint32_t entries = old.biBitCount <= 8 ? 1U << old.biBitCount : 0;
    const std::uint32_t announced = old.biClrUsed != 0 ? std::min(old.biClrUsed, entries) : entries;
    auto* header = static_cast<BITMAPINFOHEADER*>(std::calloc(1, sizeof old + entries * sizeof(DibBGRA)));
    if (header == nullptr) failWithoutMemory();
    *header = old;
    header->biSize = sizeof old;
    header->biClrUsed = announced;
    const auto* table =
        reinterpret_cast<const unsigned char*>(&old) + std::max<std::size_t>(old.biSize, sizeof old);
    std::memcpy(header + 1, table, announced * sizeof(DibBGRA));
    image.HeaderFree();
    image.Header = header;
    image.HeaderOwner = 6;
}

}  // namespace

Image::Image(DibHandle pixels, Origin from)
    : origin(std::move(from)), base(py::none()), pixels_(std::move(pixels)) {
    makeRoomForPalette(*pixels_);
}

Image::Image(DibHandle pixels, Origin from, py::object owner, py::object memory, bool isReadOnly)
    : origin(std::move(from)),
      base(std::move(owner)),
      pixels_(std::move(pixels)),
      memory_(std::move(memory)),
      isReadOnly_(isReadOnly) {}

DibHandle Image::clone() const { return pixels_.clone(); }

void Image::lendTo(DibStream& borrower) const { borrower.SetDib(get()->Header, 0, get()->Buffer, 0); }

std::uint32_t Image::paletteSize() const { return bitCount() <= 8 ? get()->Header->biClrUsed : 0; }

DibBGRA* Image::palette() const { return reinterpret_cast<DibBGRA*>(get()->Header + 1); }

int Image::fillView(PyObject* self, Py_buffer* view, int flags) const {
    const auto refuse = [view](const char* why) {
        view->obj = nullptr;
        PyErr_SetString(PyExc_BufferError, why);
        return -1;
    };
    const int bits = bitCount();
    if (bits < 8)
        return refuse("pixels of 1 and 4 bits have no bytes of their own; numpy.asarray copies them");
    const Py_ssize_t itemBytes = bits == 16 ? 2 : 1;
    const Py_ssize_t pitch = get()->GetPitch();
    const Py_ssize_t shape[] = {height(), width(), bits / 8 / itemBytes};
    const Py_ssize_t strides[] = {isTopDown() ? pitch : -pitch, bits / 8, itemBytes};
    std::copy(std::begin(shape), std::end(shape), shape_);
    std::copy(std::begin(strides), std::end(strides), strides_);

    const bool isContiguous = strides[0] == shape[1] * strides[1] || shape[0] == 1;
    const auto asksFor = [flags](int flag) { return (flags & flag) == flag; };
    const bool wantsFortran = asksFor(PyBUF_F_CONTIGUOUS);
    const bool wantsContiguous = asksFor(PyBUF_C_CONTIGUOUS) || asksFor(PyBUF_ANY_CONTIGUOUS);
    const bool hasStrides = asksFor(PyBUF_STRIDES);
    if (wantsFortran || (!isContiguous && (wantsContiguous || !hasStrides)))
        return refuse("the rows are padded, or the last one comes first; use numpy.ascontiguousarray");
    if (asksFor(PyBUF_WRITABLE) && isReadOnly_) return refuse("the array is read-only");

    view->obj = Py_NewRef(self);
    view->buf = const_cast<unsigned char*>(row(0));
    view->itemsize = itemBytes;
    view->len = shape[0] * shape[1] * (bits / 8);
    view->readonly = isReadOnly_ ? 1 : 0;
    view->ndim = bits > 16 ? 3 : 2;
    view->format = nullptr;
    static char word[] = "H";
    static char byte[] = "B";
    if (asksFor(PyBUF_FORMAT)) view->format = bits == 16 ? word : byte;
    view->shape = asksFor(PyBUF_ND) ? shape_ : nullptr;
    view->strides = hasStrides ? strides_ : nullptr;
    if (view->shape == nullptr) view->ndim = 1;
    view->suboffsets = nullptr;
    view->internal = nullptr;
    return 0;
}

py::object wrap(DibHandle pixels, Origin origin) {
    return py::cast(std::make_unique<Image>(std::move(pixels), std::move(origin)));
}

namespace {

py::object paletteOf(const Image& image) {
    if (image.bitCount() > 8) return py::none();
    py::list colors;
    const DibBGRA* table = image.palette();
    for (std::uint32_t i = 0; i < image.paletteSize(); ++i)
        colors.append(py::make_tuple(table[i].red, table[i].green, table[i].blue));
    return colors;
}

void setPalette(const Image& image, const py::iterable& colors) {
    if (image.bitCount() > 8)
        throw py::value_error("pictures of " + std::to_string(image.bitCount()) + " bits have no palette");
    std::vector<DibBGRA> table;
    for (const py::handle color : colors) {
        const auto wrong = [&] {
            return py::value_error("colours of a palette are (red, green, blue) from 0 to 255, not " +
                                   py::repr(color).cast<std::string>());
        };
        if (PySequence_Check(color.ptr()) == 0 || py::len(color) != 3) throw wrong();
        const auto channels = py::reinterpret_borrow<py::sequence>(color);
        std::uint8_t values[3];
        for (std::size_t i = 0; i < 3; ++i) {
            const std::optional<std::uint8_t> channel = channelOf(channels[i]);
            if (!channel) throw wrong();
            values[i] = *channel;
        }
        table.push_back({.blue = values[2], .green = values[1], .red = values[0], .alpha = 0});
    }
    const std::size_t most = std::size_t{1} << image.bitCount();
    if (table.empty() || table.size() > most)
        throw py::value_error("a palette of " + std::to_string(image.bitCount()) + " bits has 1 to " +
                              std::to_string(most) + " colours, not " + std::to_string(table.size()));
    image.setPaletteSize(static_cast<std::uint32_t>(table.size()));
    table.resize(most);
    std::copy(table.begin(), table.end(), image.palette());
}

py::object blank(int width, int height, int bits) {
    constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};
    if (std::find(std::begin(kDepths), std::end(kDepths), bits) == std::end(kDepths))
        throw py::value_error("bits must be 1, 4, 8, 16, 24 or 32, not " + std::to_string(bits));
    if (width < 1 || height < 1)
        throw py::value_error("width and height must be 1 or more, not " + std::to_string(width) + " and " +
                              std::to_string(height));
    DibHandle made = DibHandle::make();
    if (!made || !made->Create(width, height, bits)) failWithoutMemory();
    made->SetMonoPalette();
    std::fill_n(made->Buffer, made->GetImageSize(), '\0');
    return wrap(std::move(made), Origin(record("Metadata")()));
}

py::object alphaOf(const Image& image) {
    if (image.bitCount() != 32) return py::none();
    DibStream lent;
    image.lendTo(lent);
    DibHandle alpha(lent.CreateAlphaDib());
    if (!alpha) failWithoutMemory();
    return wrap(std::move(alpha), Origin(record("Metadata")()));
}

py::object withAlpha(const Image& image, const Image& alpha) {
    DibHandle made = image.clone();
    if (!made.hasPixels()) failWithoutMemory();
    if (image.bitCount() != 32 && !made->ChangeTo32Bit(0)) failWithoutMemory();
    const bool hasSameOrder = image.isTopDown() == alpha.isTopDown();
    DibHandle plane = alpha.clone();
    if (!plane.hasPixels() || (!hasSameOrder && !plane->UpDown(image.isTopDown()))) failWithoutMemory();
    if (!made->SetAlphaPlane(plane.get()))
        throw py::value_error("alpha must be a picture of 8 bits and of the same size");
    return wrap(std::move(made), image.origin);
}

std::string describe(const Image& image) {
    std::string text = "<dibstream.Image " + std::to_string(image.width()) + "x" +
                       std::to_string(image.height()) + ", " + std::to_string(image.bitCount()) + " bits";
    if (!image.origin.format.is_none()) text += ", " + image.origin.format.cast<std::string>();
    return text + ">";
}

int getBuffer(PyObject* self, Py_buffer* view, int flags) {
    return py::cast<const Image&>(py::handle(self)).fillView(self, view, flags);
}

// An object that no function of the module made would have no picture.
PyObject* refuseNew(PyTypeObject* /*type*/, PyObject* /*arguments*/, PyObject* /*names*/) {
    PyErr_SetString(PyExc_TypeError,
                    "pictures are made by dibstream.open, dibstream.new and dibstream.from_array");
    return nullptr;
}

}  // namespace

void bindImage(py::module_& module) {
    py::class_<Image> image(module, "Image", py::custom_type_setup([](PyHeapTypeObject* type) {
                                type->as_buffer.bf_getbuffer = getBuffer;
                                type->ht_type.tp_as_buffer = &type->as_buffer;
                                type->ht_type.tp_new = refuseNew;
                            }));
    image.def_property_readonly("width", &Image::width)
        .def_property_readonly("height", &Image::height)
        .def_property_readonly("size",
                               [](const Image& self) { return py::make_tuple(self.width(), self.height()); })
        .def_property_readonly("bits", &Image::bitCount)
        .def_property_readonly("row_order",
                               [](const Image& self) { return self.isTopDown() ? "top-down" : "bottom-up"; })
        .def_property_readonly("format", [](const Image& self) { return self.origin.format; })
        .def_property_readonly("notes", [](const Image& self) { return self.origin.notes; })
        .def_property(
            "metadata", [](const Image& self) { return self.origin.metadata; },
            [](Image& self, py::object metadata) {
                if (!py::isinstance(metadata, record("Metadata")))
                    throw py::type_error("metadata must be a dibstream.Metadata");
                self.origin.metadata = std::move(metadata);
            })
        .def_property_readonly("base", [](const Image& self) { return self.base; })
        .def_property("palette", &paletteOf, &setPalette)
        .def_property_readonly("alpha", &alphaOf)
        .def("with_alpha", &withAlpha, py::arg("alpha"), R"(with_alpha(self, alpha)
--

The picture with 32 bits and the indices of another one, of 8 bits and the same size, as its alpha.)")
        .def("__repr__", &describe);
    module.def("new", &blank, py::arg("width"), py::arg("height"), py::arg("bits") = 24,
               R"(new(width, height, bits=24)
--

A picture whose bytes are all 0, with the grey ramp as its palette.

width, height: 1 or more
bits: 1, 4, 8, 16, 24 or 32)");
    bindPickling(module, image);
    bindArrays(module, image);
    bindLoad(module);
    bindSave(image);
    bindPalettes(module, image);
    bindOperations(module, image);
    bindMontage(module);
}

}  // namespace python
