// Copies and pickles of images.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "python/src/Failure.h"
#include "python/src/Image.h"

namespace python {

namespace {

std::size_t usedBytes(int width, int bitCount) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitCount) + 7) / 8;
}

// The rows from the top without the bytes that fill them.
py::bytes packedRows(const Image& image) {
    const std::size_t used = usedBytes(image.width(), image.bitCount());
    std::string rows;
    rows.reserve(used * static_cast<std::size_t>(image.height()));
    for (int y = 0; y < image.height(); ++y) rows.append(reinterpret_cast<const char*>(image.row(y)), used);
    return {rows};
}

py::tuple pickledState(const Image& image) {
    const BITMAPINFOHEADER& header = *image.get()->Header;
    const std::size_t tableBytes = image.paletteSize() * sizeof(DibBGRA);
    return py::make_tuple(header.biWidth, header.biHeight, int{header.biBitCount}, header.biXPelsPerMeter,
                          header.biYPelsPerMeter,
                          py::bytes(reinterpret_cast<const char*>(image.palette()), tableBytes),
                          packedRows(image), image.origin.format, image.origin.metadata, image.origin.notes);
}

// The size of the rows is compared with that of the picture before the picture is made.
py::object restored(const py::tuple& state) {
    const auto wrong = [] { return py::value_error("this is no pickled picture"); };
    if (state.size() != 10 || !py::isinstance(state[8], record("Metadata"))) throw wrong();
    const int width = state[0].cast<int>();
    const int height = state[1].cast<int>();
    const int bits = state[2].cast<int>();
    const auto table = state[5].cast<std::string_view>();
    const auto rows = state[6].cast<std::string_view>();
    const std::size_t entries = table.size() / sizeof(DibBGRA);
    const std::size_t most = bits >= 1 && bits <= 8 ? std::size_t{1} << bits : 0;
    if (width < 1 || height == 0 || bits < 1 || bits > 32 || entries > most) throw wrong();
    const std::size_t used = usedBytes(width, bits);
    const auto count = static_cast<std::size_t>(std::abs(std::int64_t{height}));
    if (rows.size() / used != count || rows.size() % used != 0) throw wrong();

    DibHandle made = DibHandle::make();
    if (!made) failWithoutMemory();
    if (!made->Create(width, height, bits)) {
        if (made->ErrorCode == DIB_ERROR_MEMORY) failWithoutMemory();
        throw wrong();
    }
    made->Header->biXPelsPerMeter = state[3].cast<std::int32_t>();
    made->Header->biYPelsPerMeter = state[4].cast<std::int32_t>();
    std::fill_n(made->Buffer, made->GetImageSize(), '\0');
    py::object object = wrap(std::move(made), Origin(state[7], state[8], state[9]));
    auto& image = object.cast<Image&>();
    for (std::size_t y = 0; y < count; ++y)
        std::memcpy(const_cast<unsigned char*>(image.row(static_cast<int>(y))), rows.data() + y * used, used);
    if (entries > 0) {
        image.setPaletteSize(static_cast<std::uint32_t>(entries));
        std::memcpy(image.palette(), table.data(), entries * sizeof(DibBGRA));
    }
    return object;
}

}  // namespace

void bindPickling(py::module_& module, py::class_<Image>& image) {
    const auto copy = [](const Image& self) {
        DibHandle made = self.clone();
        if (!made.hasPixels()) failWithoutMemory();
        return wrap(std::move(made), self.origin);
    };
    module.def("_restored", &restored, py::arg("state"));
    image.def("copy", copy)
        .def("__copy__", copy)
        .def("__deepcopy__", [copy](const Image& self, const py::dict& /*memo*/) { return copy(self); })
        .def("__sizeof__",
             [](const Image& self) {
                 return sizeof self + static_cast<std::size_t>(self.get()->GetImageSize());
             })
        // Pickles name a function of Python: those of this module cannot be found again.
        .def("__reduce_ex__", [](const Image& self, int /*protocol*/) {
            const py::object restore = py::module_::import("dibstream").attr("_restored");
            return py::make_tuple(restore, py::make_tuple(pickledState(self)));
        });
}

}  // namespace python
