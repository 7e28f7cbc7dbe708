// Copies and pickles of images.
#include <algorithm>
#include <cstring>

#include "python/src/Failure.h"
#include "python/src/Image.h"

namespace python {

namespace {

std::size_t usedBytesOf(const Image& image) {
    const auto bits = static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.bitCount());
    return (bits + 7) / 8;
}

// The rows from the top without the bytes that fill them.
py::bytes packedRows(const Image& image) {
    const std::size_t used = usedBytesOf(image);
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

std::unique_ptr<Image> restored(const py::tuple& state) {
    const auto wrong = [] { return py::value_error("this is no pickled picture"); };
    if (state.size() != 10 || !py::isinstance(state[8], record("Metadata"))) throw wrong();
    DibHandle made = DibHandle::make();
    if (!made) failWithoutMemory();
    const int bits = state[2].cast<int>();
    if (!made->Create(state[0].cast<int>(), state[1].cast<int>(), bits)) throw wrong();
    if (made.width() < 1 || made.height() < 1) throw wrong();
    made->Header->biXPelsPerMeter = state[3].cast<std::int32_t>();
    made->Header->biYPelsPerMeter = state[4].cast<std::int32_t>();
    std::fill_n(made->Buffer, made->GetImageSize(), '\0');

    auto image = std::make_unique<Image>(std::move(made), Origin(state[7], state[8], state[9]));
    const auto table = state[5].cast<std::string_view>();
    const auto rows = state[6].cast<std::string_view>();
    const std::size_t used = usedBytesOf(*image);
    const std::size_t entries = table.size() / sizeof(DibBGRA);
    const std::size_t most = bits <= 8 ? std::size_t{1} << bits : 0;
    if (rows.size() != used * static_cast<std::size_t>(image->height()) || entries > most) throw wrong();
    for (int y = 0; y < image->height(); ++y)
        std::memcpy(const_cast<unsigned char*>(image->row(y)),
                    rows.data() + static_cast<std::size_t>(y) * used, used);
    if (entries > 0) {
        image->setPaletteSize(static_cast<std::uint32_t>(entries));
        std::memcpy(image->palette(), table.data(), entries * sizeof(DibBGRA));
    }
    return image;
}

}  // namespace

void bindPickling(py::class_<Image>& image) {
    const auto copy = [](const Image& self) {
        DibHandle made = self.clone();
        if (!made.hasPixels()) failWithoutMemory();
        return wrap(std::move(made), self.origin);
    };
    image.def("copy", copy)
        .def("__copy__", copy)
        .def("__deepcopy__", [copy](const Image& self, const py::dict& /*memo*/) { return copy(self); })
        .def("__sizeof__",
             [](const Image& self) {
                 return sizeof self + static_cast<std::size_t>(self.get()->GetImageSize());
             })
        .def(py::pickle(&pickledState, &restored));
}

}  // namespace python
